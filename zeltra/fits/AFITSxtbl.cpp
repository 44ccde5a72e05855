// SPDX-License-Identifier: MIT
#include "zeltra/fits/AFITSxtbl.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "zeltra/core/Text.h"
#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/fits/TableRowsInternal.h"

namespace zeltra {
namespace {

constexpr auto Hash = ParseFITSstr::Hash;
constexpr int kA3DTable = 0x100000;
constexpr int kBinTable = 0x200000;
constexpr int kLongestText = 127;

// Text and bit fields are one full column, whatever their count.
bool IsOneColumn(char type) {
  return type == 'A' || type == 'X';
}

template <typename Float>
std::string FloatAsString(Float value) {
  return std::isnan(value) ? "NaN" : valToStr(value);
}

// A number of type D, E, J or L as it stands in the file.
std::string NumberAsString(char type, const char* raw) {
  switch (type) {
    case 'D': {
      double value;
      Swap64(&value, raw, 1);
      return FloatAsString(value);
    }
    case 'E': {
      float value;
      Swap32(&value, raw, 1);
      return FloatAsString(value);
    }
    case 'J': {
      std::int32_t value;
      Swap32(&value, raw, 1);
      return std::to_string(value);
    }
    default:
      return std::to_string(static_cast<signed char>(raw[0]));
  }
}

}  // namespace

AXTblFormat AXTblFormat::Parse(const std::string& tform) {
  AXTblFormat format;
  if (tform.empty()) return format;
  format.type = tform.back();
  const long count = std::strtol(tform.c_str(), nullptr, 10);
  if (count >= INT16_MIN && count <= INT16_MAX) format.count = static_cast<std::int16_t>(count);
  return format;
}

AFITSxtbl::AFITSxtbl(AFile* file) : AFITSbase(file, true) {}

AFITSxtbl::~AFITSxtbl() = default;

int AFITSxtbl::Dispatch(int hash) {
  switch (hash) {
    case Hash("EXTNAME"):
      return EXTNAME();
    case Hash("TFORM"):
      return TFORM();
    case Hash("TTYPE"):
      return TTYPE();
    case Hash("TUNIT"):
      return TUNIT();
    case Hash("TFIELDS"):
      return TFIELDS();
    case Hash("EXTVER"):
      return EXTVER();
    case Hash("XTENSION"):
      return XTENSION();
    default:
      return AFITSbase::Dispatch(hash);
  }
}

int AFITSxtbl::PCOUNT() {
  AFITSbase::PCOUNT();
  // PCOUNT of a table is the number of bytes in its heap.
  FreeParameters();
  return 1;
}

int AFITSxtbl::EXTNAME() {
  return Take(extname_);
}

int AFITSxtbl::TFORM() {
  return IndexWithin(tform_.size()) ? Take(tform(card().GetNumber() - 1)) : 1;
}

int AFITSxtbl::TTYPE() {
  return IndexWithin(ttype_.size()) ? Take(ttype(card().GetNumber() - 1)) : 1;
}

int AFITSxtbl::TUNIT() {
  return IndexWithin(tunit_.size()) ? Take(tunit(card().GetNumber() - 1)) : 1;
}

int AFITSxtbl::TFIELDS() {
  if (!isReading()) return 1;
  tfields_ = ArraySize();
  for (auto* texts : {&ttype_, &tform_, &tunit_}) texts->assign(static_cast<size_t>(tfields_), std::string());
  return 1;
}

int AFITSxtbl::EXTVER() {
  return 1;
}

int AFITSxtbl::XTENSION() {
  if (!isReading()) return 1;
  const std::string& kind = card().strPar();
  const bool isBinary = kind.find("BIN") != std::string::npos;
  tableKind_ = kind.find("A3D") != std::string::npos ? kA3DTable : isBinary ? kBinTable : 0;
  return 1;
}

AXTblFormat AFITSxtbl::ParseFormat(int field) const {
  return field >= 0 && field < tfields_ ? AXTblFormat::Parse(tform_[static_cast<size_t>(field)]) : AXTblFormat();
}

int AFITSxtbl::GetFullColumns() const {
  if (tableKind_ == 0) return tfields_;
  int columns = 0;
  for (int field = 0; field < tfields_; ++field) {
    const AXTblFormat format = ParseFormat(field);
    if (format.count >= 1) columns += IsOneColumn(format.type) ? 1 : format.count;
  }
  return columns;
}

AFITSxtbl::Cell AFITSxtbl::FindColumn(int column) const {
  Cell cell;
  int before = 0;  // full columns in the preceding fields
  int width = 0;
  for (int field = 0; field < tfields_; ++field) {
    const AXTblFormat format = ParseFormat(field);
    if (format.count < 1) continue;
    cell.field = field;
    const bool isOne = IsOneColumn(format.type);
    // Letters that are not sized here, "I" among them, keep the width used last.
    const int ownWidth = format.type == 'I' ? 0 : ElementBytes(format.type);
    if (!isOne && ownWidth > 0) width = ownWidth;
    const int elements = isOne ? 1 : format.count;
    if (column > before && column <= before + elements) {
      cell.exists = true;
      cell.element = column - before - 1;
      cell.offset += int64{cell.element} * width;
      return cell;
    }
    cell.offset += isOne ? FieldBytes(format) : int64{elements} * width;
    before += elements;
  }
  return cell;
}

int64 AFITSxtbl::RowPosition(int row) const {
  return dataStart() + (int64{row} - 1) * AxisLength(1);
}

int64 AFITSxtbl::GetPosInTable(int row, int column, int& field) const {
  const Cell cell = FindColumn(column);
  field = cell.field;
  return RowPosition(row) + cell.offset;
}

bool AFITSxtbl::ReadCell(int64 position, void* out, int bytes) const {
  return file() && file()->Seek(position) && ReadWhole(*file(), out, bytes);
}

std::string AFITSxtbl::asString(int row, int column) const {
  const Cell cell = FindColumn(column);
  if (!cell.exists || row < 1 || row > GetRows()) return {};
  const AXTblFormat format = ParseFormat(cell.field);
  const int64 position = RowPosition(row) + cell.offset;
  switch (format.type) {
    case 'A':
      return TextAsString(position, format.count);
    case 'X':
      return BitsAsString(position, BitBytes(format.count));
    case 'D':
    case 'E':
    case 'J':
    case 'L': {
      char raw[8];
      return ReadCell(position, raw, ElementBytes(format.type)) ? NumberAsString(format.type, raw) : "";
    }
    default:
      return "Unknow";
  }
}

// A longer text is cut, since no file may stop the program that shows it.
std::string AFITSxtbl::TextAsString(int64 position, int length) const {
  char text[kLongestText + 1] = {};
  if (!ReadCell(position, text, std::min(length, kLongestText))) return {};
  std::string quoted(1, '\'');
  quoted += text;
  quoted += '\'';
  return quoted;
}

// Bit fields whose width is not that of an integer have no text.
std::string AFITSxtbl::BitsAsString(int64 position, int bytes) const {
  unsigned char raw[4];
  if (bytes != 1 && bytes != 2 && bytes != 4) return {};
  if (!ReadCell(position, raw, bytes)) return {};
  unsigned bits = 0;
  for (int i = 0; i < bytes; ++i) bits = bits << 8 | raw[i];
  char text[16];
  std::snprintf(text, sizeof text, "0x%.8X", bits);
  return text;
}

std::string AFITSxtbl::asStringName(int column) const {
  const Cell cell = FindColumn(column);
  if (!cell.exists) return {};
  AXTblFormat counted = ParseFormat(cell.field);
  if (IsOneColumn(counted.type)) {
    // Whether the name of a text or bit field begins with a number depends on the next field that has elements, or else
    // on the last field of the table: names have always been formed this way.
    int next = cell.field + 1;
    while (next < tfields_ && ParseFormat(next).count < 1) ++next;
    counted = ParseFormat(std::min(next, tfields_ - 1));
  }
  std::string name;
  if (counted.count > 1) name.append("(").append(std::to_string(cell.element + 1)).append(")-");
  const auto field = static_cast<size_t>(cell.field);
  return name.append(ttype_[field]).append(" [").append(tform_[field]).append("]");
}

void AFITSxtbl::AllocData() {
  const int64 bytes = DataBytes();
  if (data_ || bytes == 0 || !file() || !file()->Seek(dataStart()) || !HasBytes(*file(), bytes)) return;
  data_.reset(new (std::nothrow) char[static_cast<size_t>(bytes)]);
  if (!data_) return;
  if (!ReadWhole(*file(), data_.get(), bytes)) return FreeData();
  ConvertRows();
}

void AFITSxtbl::FreeData() {
  data_.reset();
}

void AFITSxtbl::ConvertRows() {
  std::vector<AXTblFormat> fields;
  for (int field = 0; field < tfields_; ++field) fields.push_back(ParseFormat(field));
  SwapTableRows(data_.get(), DataBytes(), GetRows(), std::move(fields));
}

}  // namespace zeltra
