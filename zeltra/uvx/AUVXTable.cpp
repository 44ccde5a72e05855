// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXTable.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>
#include <utility>

#include "zeltra/core/Text.h"
#include "zeltra/fits/AFITSxtbl.h"
#include "zeltra/fits/FITSCards.h"
#include "zeltra/fits/ParseFITSstr.h"
#include "zeltra/fits/TableRowsInternal.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {

template class AArray<AUVXTableKeyWord>;
template class AArray<AUVXTableManual>;

namespace {

constexpr int kCodeBits = 0xFFFF;
constexpr int kLargestKeyWordCount = 32767;

/// Read `n` consecutive elements; if the file does not hold that many, none is read.
template <typename T>
int ReadElements(ABFile& file, int n, AArray<T>& elements) {
  const int64 bytes = int64{n} * static_cast<int64>(sizeof(T));
  if (n < 0 || !HasBytes(file, bytes)) return 0;
  elements.GrowBy(n);
  return ReadWhole(file, elements.lpArray(), bytes);
}

int64 ImageBytes(int64 keyWords, int64 columns, int64 rowData) {
  return 18 + keyWords * static_cast<int64>(sizeof(AUVXTableKeyWord)) +
         columns * static_cast<int64>(sizeof(AUVXTableManual)) + rowData;
}

int KeyWordCount(const AArray<AUVXTableKeyWord>& keywords) {
  return std::min(keywords.count(), kLargestKeyWordCount);
}

bool StartsWith(const std::string& text, std::string_view start) {
  return std::string_view(text).substr(0, start.size()) == start;
}

/// EXTNAME of the FITS-IDI tables that have an AIPS name of their own.
std::string AipsName(const std::string& extname) {
  if (extname == "SYSTEM_TEMPERATURE") return "AIPS TY";
  if (extname == "GAIN_CURVE") return "AIPS GC";
  return extname;
}

std::string CodeOf(const std::string& name) {
  const size_t blank = name.find(' ');
  return blank == std::string::npos ? name.substr(0, 2) : name.substr(blank + 1, 2);
}

template <typename Value>
double Decode(const char* p) {
  Value value;
  std::memcpy(&value, p, sizeof value);
  return value;
}

template <typename Integer>
void StoreRounded(char* to, double value) {
  const double low = std::numeric_limits<Integer>::min();
  const double high = std::numeric_limits<Integer>::max();
  const auto rounded = static_cast<Integer>(std::isnan(value) ? 0.0 : std::clamp(std::round(value), low, high));
  std::memcpy(to, &rounded, sizeof rounded);
}

uint64_t FormatBytes(const AUVXTableManual& column) {
  uint64_t bytes;
  static_assert(sizeof column.format == sizeof bytes);
  std::memcpy(&bytes, column.format, sizeof bytes);
  return bytes;
}

std::string HexText(const char* bytes, int count) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string text = "0x";
  for (int i = count - 1; i >= 0; --i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    text += digits[byte >> 4];
    text += digits[byte & 15];
  }
  return text;
}

}  // namespace

// Bytes of rows, see AUVXTableInternal.h.

double DecodeElement(const char* p, char type) {
  switch (type) {
    case 'D':
      return Decode<double>(p);
    case 'E':
      return Decode<float>(p);
    case 'J':
      return Decode<int32_t>(p);
    default:
      return Decode<int16_t>(p);
  }
}

int RoundedInt(double x) {
  if (std::isnan(x)) return 0;
  return static_cast<int>(std::clamp(x + 0.5, double{INT_MIN}, double{INT_MAX}));
}

std::string PaddedToEight(const std::string& text) {
  return text.size() < 8 ? text + std::string(8 - text.size(), ' ') : text;
}

std::vector<ListColumn> ListColumns(const AUVXTable& table) {
  std::vector<ListColumn> columns;
  int64 offset = 0;
  for (int i = 0; i < table.columnCount(); ++i) {
    const AXTblFormat format = table.ParseFormat(i);
    const int width = ElementBytes(format.type);
    const int count = width > 0 ? std::max<int>(format.count, 0) : 0;
    const int64 room = width > 0 ? std::max<int64>(table.rowBytes() - offset, 0) / width : 0;
    columns.push_back({table.columns()(i).Name(), format.type, static_cast<int>(std::min<int64>(count, room)),
                       static_cast<int>(std::min<int64>(offset, table.rowBytes()))});
    offset += int64{count} * width;
  }
  return columns;
}

// AUVXTableKeyWord, AUVXTableManual

std::string AUVXTableKeyWord::Key() const {
  return FieldText(key, sizeof key);
}
std::string AUVXTableKeyWord::Value() const {
  return FieldText(value, sizeof value);
}

double AUVXTableKeyWord::Number() const {
  return ParseNumber(Value());
}

std::string AUVXTableManual::Name() const {
  return FieldText(name, sizeof name);
}
std::string AUVXTableManual::Unit() const {
  return FieldText(unit, sizeof unit);
}
std::string AUVXTableManual::Format() const {
  return FieldText(format, sizeof format);
}

// AUVXTableHeader

AUVXTableHeader::AUVXTableHeader(AUVXFile& uvx) : AUVXTableHeader() {
  ABFile* file = uvx.GetFile();
  const int64 position = uvx.TableDirectoryOffset();
  if (!file || position == 0 || !file->Seek(position) || !HasBytes(*file, kBytes)) return;
  if (!ReadWhole(*file, this, kBytes)) *this = AUVXTableHeader();
  count_ = static_cast<int16_t>(std::clamp<int>(count_, 0, kLargestCount));
}

AUVXFile& AUVXTableHeader::store(AUVXFile& uvx) const {
  uvx.PlaceTableDirectory();
  const int64 position = uvx.TableDirectoryOffset();
  if (position != 0 && uvx.Seek(position)) uvx.Write(static_cast<const void*>(this), kBytes);
  return uvx;
}

int AUVXTableHeader::Add(const AUVXTableItem& item) {
  if (count_ >= kLargestCount) return -1;
  items_[count_] = item;
  return count_++;
}

int AUVXTableHeader::HasTable(int id) const {
  for (int i = 0; i < count_; ++i) {
    if ((items_[i].ID & kCodeBits) == (id & kCodeBits)) return i;
  }
  return -1;
}

int AUVXTableHeader::HasTable(const std::string& name) const {
  return HasTable(AUVXTable::toHash(name, 0));
}

// AUVXTable: from and to files

AUVXTable::~AUVXTable() = default;

AUVXTable::AUVXTable(AUVXTable&& other) noexcept {
  *this = std::move(other);
}

AUVXTable& AUVXTable::operator=(AUVXTable&& other) noexcept {
  if (this == &other) return *this;
  id_ = std::exchange(other.id_, 0);
  keywords_ = std::move(other.keywords_);
  columns_ = std::move(other.columns_);
  rows_ = std::exchange(other.rows_, 0);
  rowBytes_ = std::exchange(other.rowBytes_, 0);
  data_ = std::exchange(other.data_, {});
  places_ = std::exchange(other.places_, {});
  return *this;
}

AUVXTable::AUVXTable(ABFile& file) {
  if (!LoadImage(file)) Create(id_);
}

int AUVXTable::LoadImage(ABFile& file) {
  int32_t id = 0;
  int16_t keyWords = 0;
  int32_t shape[3] = {};
  if (!ReadWhole(file, &id, sizeof id)) return 0;
  id_ = id;
  if (!ReadWhole(file, &keyWords, sizeof keyWords)) return 0;
  if (!ReadElements(file, keyWords, keywords_) || !ReadWhole(file, shape, sizeof shape)) return 0;
  const auto [rows, columnCount, rowBytes] = shape;
  if (rows < 0 || rowBytes < 0 || columnCount > kFITSMaxIndex || !ReadElements(file, columnCount, columns_)) return 0;
  if (!HasBytes(file, int64{rows} * rowBytes)) return 0;
  rowBytes_ = rowBytes;
  places_ = FindPlaces();
  return SetRows(rows) && ReadWhole(file, data(), static_cast<int64>(data_.size()));
}

AUVXTable::AUVXTable(AFITSxtbl& extension) {
  Create(toHash(CodeOf(AipsName(extension.extname())), 0) | extension.tableKind());
  LoadKeyWords(extension);
  for (int i = 0; i < extension.tfields(); ++i) {
    AUVXTableManual column;
    SetFieldText(column.name, sizeof column.name, extension.ttype(i));
    SetFieldText(column.unit, sizeof column.unit, extension.tunit(i));
    SetFieldText(column.format, sizeof column.format, extension.tform(i));
    columns_.Add(column);
  }
  rowBytes_ = std::max(extension.AxisLength(1), 0);
  places_ = FindPlaces();
  extension.AllocData();
  const char* bytes = extension.data();
  if (bytes && SetRows(extension.GetRows()) && static_cast<int64>(data_.size()) == extension.DataBytes()) {
    std::copy(bytes, bytes + data_.size(), data_.begin());
  } else {
    SetRows(0);
  }
  extension.FreeData();
}

void AUVXTable::LoadKeyWords(AFITSxtbl& extension) {
  bool capture = false;
  // The last card is END.
  for (int i = 0; i < extension.CardCount() - 1; ++i) {
    ParseFITSstr card;
    card.Parse(std::string(extension.CardText(i)));
    if (card.GetNumber() == extension.tfields()) {
      capture = capture || card.strKey() == "TUNIT";
    } else if (capture) {
      const std::string number = card.GetNumber() == -1 ? "" : std::to_string(card.GetNumber());
      AddKeyWord(card.strKey() + number, card.strPar(), !card.IsParString());
    }
  }
}

int AUVXTable::store(ABFile& file) const {
  const auto keyWords = static_cast<int16_t>(KeyWordCount(keywords_));
  const int32_t shape[] = {rows_, columnCount(), rowBytes_};
  return WriteWhole(file, &id_, sizeof id_) && WriteWhole(file, &keyWords, sizeof keyWords) &&
         WriteWhole(file, keywords_.lpArray(), int64{keyWords} * static_cast<int64>(sizeof(AUVXTableKeyWord))) &&
         WriteWhole(file, shape, sizeof shape) &&
         WriteWhole(file, columns_.lpArray(), int64{columnCount()} * static_cast<int64>(sizeof(AUVXTableManual))) &&
         WriteWhole(file, data(), static_cast<int64>(data_.size()));
}

AUVXFile& AUVXTable::store(AUVXFile& uvx) const {
  AUVXTableHeader directory(uvx);
  if (uvx.TableDirectoryOffset() == 0) directory.store(uvx);
  const int place = directory.HasTable(id_);
  if (place < 0) return uvx.AddTable(*this);
  AUVXTableItem& item = directory(place);
  // An entry that points beyond the end of the file is damaged: nothing has been written there.
  if (!uvx.Seek(int64{item.position}) || !HasBytes(*uvx.GetFile(), 0)) return uvx;
  item.ID = id_;
  item.size = GetSize();
  store(*uvx.GetFile());
  return directory.store(uvx);
}

int AUVXTable::GetSize() const {
  return static_cast<int>(ImageBytes(KeyWordCount(keywords_), columnCount(), static_cast<int64>(data_.size())));
}

// AUVXTable: identity

std::string AUVXTable::Code() const {
  const char code[] = {static_cast<char>(id_ & 0xFF), static_cast<char>(id_ >> 8 & 0xFF)};
  return std::string(code, strnlen(code, sizeof code));
}

std::string AUVXTable::IDtoStr() const {
  return ((id_ & kOwnFamily) ? "KVO  " : "FITS ") + Code();
}

int AUVXTable::toHash(const std::string& name, int own) {
  uint32_t sum = 0;
  unsigned shift = 0;
  for (const char c : name) {
    sum += static_cast<uint32_t>(static_cast<unsigned char>(c)) << shift;
    shift = (shift + 8) % 32;
  }
  return static_cast<int>(own ? sum | kOwnFamily : sum);
}

// AUVXTable: building

void AUVXTable::Create(int id) {
  id_ = id;
  keywords_.Free();
  columns_.Free();
  places_.clear();
  rowBytes_ = 0;
  SetRows(0);
}

void AUVXTable::AddColumn(const std::string& name, const std::string& unit, const std::string& format) {
  AUVXTableManual column;
  SetFieldText(column.name, sizeof column.name, name);
  SetFieldText(column.unit, sizeof column.unit, unit);
  SetFieldText(column.format, sizeof column.format, format);
  columns_.Add(column);
  int64 bytes = 0;
  for (int i = 0; i < columnCount(); ++i) bytes += FieldBytes(ParseFormat(i));
  rowBytes_ = static_cast<int32_t>(std::min<int64>(bytes, INT_MAX));
  places_ = FindPlaces();
  SetRows(0);
}

void AUVXTable::AddKeyWord(const std::string& key, const std::string& value, bool numeric) {
  if (keywords_.count() >= kLargestKeyWordCount) return;
  AUVXTableKeyWord keyWord;
  SetFieldText(keyWord.key, sizeof keyWord.key, key);
  SetFieldText(keyWord.value, sizeof keyWord.value, value);
  keyWord.numeric = numeric;
  keywords_.Add(keyWord);
}

int AUVXTable::SetRows(int rows) {
  data_.clear();
  return ResizeRows(rows);
}

int AUVXTable::ResizeRows(int rows) {
  const int64 bytes = int64{rows} * rowBytes_;
  const bool possible = rows >= 0 && ImageBytes(KeyWordCount(keywords_), columnCount(), bytes) <= INT_MAX;
  // Rows without bytes count as none, since no size in the file confirms their number.
  rows_ = possible && rowBytes_ > 0 ? rows : 0;
  data_.resize(static_cast<size_t>(rows_) * static_cast<size_t>(rowBytes_));
  return possible;
}

// AUVXTable: columns

AXTblFormat AUVXTable::ParseFormat(int column) const {
  return AXTblFormat::Parse(columns_(column).Format());
}

int AUVXTable::FindColumn(const std::string& name) const {
  for (int i = 0; i < columnCount(); ++i) {
    if (columns_(i).Name() == name) return i;
  }
  return FirstColumnWith(name);
}

int AUVXTable::FirstColumnWith(const std::string& part) const {
  for (int i = 0; i < columnCount(); ++i) {
    if (columns_(i).Name().find(part) != std::string::npos) return i;
  }
  return -1;
}

const AUVXTableKeyWord* AUVXTable::FindKeyWord(const std::string& key) const {
  for (const AUVXTableKeyWord& keyWord : keywords_) {
    if (keyWord.Key() == key) return &keyWord;
  }
  return nullptr;
}

int AUVXTable::ColumnOffset(int column) const {
  return column < 0 || column >= columnCount() ? -1 : PlaceOf(column).offset;
}

std::vector<AUVXTable::Place> AUVXTable::FindPlaces() const {
  std::vector<Place> places;
  int64 end = 0;
  bool isFound = true;
  for (const AUVXTableManual& column : columns_) {
    const AXTblFormat format = AXTblFormat::Parse(column.Format());
    const int64 offset = end;
    end += FieldBytes(format);
    isFound = isFound && (format.type == 'X' || ElementBytes(format.type) > 0) && end <= rowBytes_;
    places.push_back({FormatBytes(column), format.type, format.count, isFound ? static_cast<int32_t>(offset) : -1});
  }
  return places;
}

AUVXTable::Place AUVXTable::PlaceOf(int column) const {
  // Whoever holds columns() can change them, which costs far less to notice than parsing the formats for every cell.
  uint64_t changes = static_cast<size_t>(column) < places_.size() ? 0 : 1;
  for (int i = 0; changes == 0 && i <= column; ++i) {
    changes = FormatBytes(columns_(i)) ^ places_[static_cast<size_t>(i)].formatBytes;
  }
  return changes ? FindPlaces()[static_cast<size_t>(column)] : places_[static_cast<size_t>(column)];
}

/// First byte of an element, of a column of bits as a whole; null if there is no such element.
const char* AUVXTable::Cell(int row, int column, int element, AXTblFormat& format) const {
  if (row < 0 || row >= rows_ || column < 0 || column >= columnCount()) return nullptr;
  const Place place = PlaceOf(column);
  if (place.offset < 0 || element < 0 || element >= place.count) return nullptr;
  format = {place.type, place.count};
  return Row(row) + place.offset + element * ElementBytes(place.type);
}

double AUVXTable::Number(int row, int column, int element) const {
  const double none = std::numeric_limits<double>::quiet_NaN();
  AXTblFormat format;
  const char* p = Cell(row, column, element, format);
  if (!p || format.type == 'A' || format.type == 'X') return none;
  if (format.type == 'L') return *p == 'T' ? 1 : *p == 'F' ? 0 : none;
  return DecodeElement(p, format.type);
}

int AUVXTable::SetNumber(int row, int column, int element, double value) {
  AXTblFormat format;
  char* p = const_cast<char*>(Cell(row, column, element, format));
  if (!p) return 0;
  const auto single = static_cast<float>(value);
  switch (format.type) {
    case 'D':
      std::memcpy(p, &value, sizeof value);
      return 1;
    case 'E':
      std::memcpy(p, &single, sizeof single);
      return 1;
    case 'J':
      StoreRounded<int32_t>(p, value);
      return 1;
    case 'I':
      StoreRounded<int16_t>(p, value);
      return 1;
    default:
      return 0;
  }
}

std::string AUVXTable::Text(int row, int column) const {
  AXTblFormat format;
  const char* p = Cell(row, column, 0, format);
  if (!p) return {};
  switch (format.type) {
    case 'A':
      return FieldText(p, format.count);
    case 'L':
      return *p == 'T' || *p == 'F' ? std::string(1, *p) : std::string();
    case 'X':
      return HexText(p, FieldBytes(format));
    case 'E':
      return valToStr(static_cast<float>(DecodeElement(p, format.type)));
    default:
      return valToStr(DecodeElement(p, format.type));
  }
}

int AUVXTable::SetText(int row, int column, const std::string& text) {
  AXTblFormat format;
  char* p = const_cast<char*>(Cell(row, column, 0, format));
  if (!p || format.type != 'A') return 0;
  const auto width = static_cast<size_t>(format.count);
  std::fill(p, p + width, ' ');
  std::copy_n(text.data(), std::min(text.size(), width), p);
  return 1;
}

// AUVXTable: changes

void AUVXTable::Data_PC_UNIX() {
  std::vector<AXTblFormat> formats;
  for (int i = 0; i < columnCount(); ++i) formats.push_back(ParseFormat(i));
  SwapTableRows(data(), static_cast<int64>(data_.size()), rows_, std::move(formats));
}

void AUVXTable::DeleteRows(const AArray<int>& rowList) {
  if (rowList.count() < 1 || rows_ < 1 || rowList(0) < 0) return;
  const int first = rowList(0);
  int deleted = 1;
  if (first < rows_ - 1) {
    for (int row = first + 1; row < rows_; ++row) {
      if (deleted < rowList.count() && row == rowList(deleted)) {
        ++deleted;
      } else {
        std::copy_n(Row(row), rowBytes_, Row(row - deleted));
      }
    }
  }
  rows_ -= deleted;
  data_.resize(static_cast<size_t>(rows_) * static_cast<size_t>(rowBytes_));
}

void AUVXTable::CheckSources(const AArray<short>* sourceList) {
  const int column = FirstColumnWith("SOURCE");
  if (column < 0 || ColumnOffset(column) < 0) return;
  const AXTblFormat format = ParseFormat(column);
  const bool numeric = format.type == 'D' || format.type == 'E' || format.type == 'I' || format.type == 'J';
  if (!numeric || format.count < 1) return;
  const short* begin = sourceList->lpArray();
  const short* end = begin + sourceList->count();
  const int offset = ColumnOffset(column);
  AArray<int> absent;
  for (int row = 0; row < rows_; ++row) {
    const int source = RoundedInt(DecodeElement(Row(row) + offset, format.type));
    if (!std::binary_search(begin, end, source)) absent.Add(row);
  }
  DeleteRows(absent);
}

int AUVXTable::CorrectIDI_FTS() {
  static constexpr std::pair<const char*, const char*> kNames[] = {
      {"FREQID", "FRQSEL"}, {"BANDFREQ", "IF FREQ"}, {"CH_WIDTH", "CH WIDTH"}, {"TOTAL_BANDWIDTH", "TOTAL BANDWIDTH"},
      {"ID_NO", "ID.NO."},  {"SYSVEL", "LSRVEL"},
  };
  for (int i = 0; i < columnCount(); ++i) {
    AUVXTableManual& column = columns_(i);
    const std::string name = column.Name();
    for (const auto& [idi, aips] : kNames) {
      if (StartsWith(name, idi)) SetFieldText(column.name, sizeof column.name, aips);
    }
  }
  for (int i = 0; i < keywords_.count(); ++i) {
    AUVXTableKeyWord& keyWord = keywords_(i);
    if (keyWord.Key().find("NO_BAND") != std::string::npos) SetFieldText(keyWord.key, sizeof keyWord.key, "NO_IF");
  }
  return 1;
}

}  // namespace zeltra
