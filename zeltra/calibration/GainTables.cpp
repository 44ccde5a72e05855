// SPDX-License-Identifier: MIT
#include "zeltra/calibration/GainTables.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <tuple>

#include "zeltra/core/Units.h"
#include "zeltra/fits/AFITSxtbl.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {
namespace {

// Maximum number of gains of a table that are read into memory: 930 MiB.
constexpr int64 kMostGains = 1 << 24;

// Columns that describe effects of an antenna on the phase other than gain, delay or rate. Files differ in whether the
// phases of the IFs include MBDELAY.
constexpr const char* kNotApplied[] = {"I.FAR.ROT", "NODE NO.", "MBDELAY1", "MBDELAY2",
                                       "DISP 1",    "DISP 2",   "DDISP 1",  "DDISP 2"};
// Columns of "CL" that describe the correlator model, which the visibilities already include.
constexpr const char* kOfTheModel[] = {"GEODELAY", "DOPPOFF", "ATMOS",    "DATMOS",
                                       "CLOCK 1",  "CLOCK 2", "DCLOCK 1", "DCLOCK 2"};

// A name without what differs between programs: blanks, points and underscores removed, in capitals.
std::string Plain(const std::string& name) {
  std::string plain;
  for (const char c : name) {
    if (c == ' ' || c == '.' || c == '_') continue;
    plain += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  }
  return plain;
}

// The position of a column's elements in a row; no elements if the column does not exist.
struct Column {
  int offset = 0;
  int count = 0;
  char type = 0;

  bool Is() const { return count > 0; }
  double At(const AUVXTable& table, int row, int element = 0) const {
    return DecodeElement(table.Row(row) + offset + element * ElementBytes(type), type);
  }
  double Or(const AUVXTable& table, int row, double otherwise) const { return Is() ? At(table, row) : otherwise; }
};

Column FindColumn(const AUVXTable& table, const std::string& name) {
  Column column;
  for (int i = 0; i < table.columnCount(); ++i) {
    if (Plain(table.columns()(i).Name()) != Plain(name)) continue;
    const AXTblFormat format = table.ParseFormat(i);
    const int offset = table.ColumnOffset(i);
    if (offset < 0 || !std::strchr("DEJI", format.type)) return column;
    column.offset = offset;
    column.count = std::max<int>(format.count, 0);
    column.type = format.type;
    return column;
  }
  return column;
}

double KeyWord(const AUVXTable& table, const std::string& key, double otherwise) {
  for (int i = 0; i < table.keywords().count(); ++i) {
    if (table.keywords()(i).Key() == key) return table.keywords()(i).Number();
  }
  return otherwise;
}

// The first row of a table whose element in this column is not 0, from 0; -1 if there is none. A blank is NaN.
int NonZeroRow(const AUVXTable& table, const std::string& name) {
  const Column column = FindColumn(table, name);
  for (int row = 0; row < table.rows() && column.Is(); ++row) {
    for (int element = 0; element < column.count; ++element) {
      const double value = column.At(table, row, element);
      if (value != 0 && !std::isnan(value)) return row;
    }
  }
  return -1;
}

// Reads the rows of a table.
class TableReader {
 public:
  TableReader(const AUVXTable& table, AGains& gains) : table_(table), gains_(gains) {}

  AResult Run(std::vector<std::string>& remarks);

 private:
  // The columns of one polarisation.
  struct Hand {
    Column real, imaginary, weight, delay, rate, reference;
    int number;
  };

  AResult FindColumns();
  AResult FindHands();
  AResult CheckWhatIsApplied(std::vector<std::string>& remarks) const;
  AResult ReadRow(int row);
  void ReadGain(int row, const Hand& hand, int i, AGainArrayItem item);
  AResult Refuse(const std::string& why) const { return AResult::Fail(gains_.label + ": " + why); }

  const AUVXTable& table_;
  AGains& gains_;
  Column time_, interval_, source_, antenna_, subarray_, setup_;
  std::vector<Hand> hands_;
  double modulus_ = 1;
};

AResult TableReader::Run(std::vector<std::string>& remarks) {
  if (!(gains_.header.dateObs > 0))
    return Refuse("the date of the observation, from which its times count, is not known");
  if (AResult result = FindColumns(); !result) return result;
  if (AResult result = FindHands(); !result) return result;
  if (AResult result = CheckWhatIsApplied(remarks); !result) return result;
  modulus_ = KeyWord(table_, "MGMOD", 1);
  if (!(modulus_ > 0) || !std::isfinite(modulus_)) return Refuse("its MGMOD is no positive number");
  const int64 items = int64{table_.rows()} * gains_.header.IFs * static_cast<int64>(hands_.size());
  if (items > kMostGains) return Refuse("has more than " + std::to_string(kMostGains) + " gains");
  gains_.list.Free();
  for (int row = 0; row < table_.rows(); ++row) {
    if (AResult result = ReadRow(row); !result) return result;
  }
  gains_.list.Sort();
  return AResult::Ok();
}

AResult TableReader::FindColumns() {
  for (const auto& [column, name] : {std::pair{&time_, "TIME"}, {&antenna_, "ANTENNA NO."}}) {
    *column = FindColumn(table_, name);
    if (!column->Is()) return Refuse(std::string("has no column ") + name + " of numbers");
  }
  interval_ = FindColumn(table_, "TIME INTERVAL");
  source_ = FindColumn(table_, "SOURCE ID");
  if (!source_.Is()) source_ = FindColumn(table_, "SOURCE");
  subarray_ = FindColumn(table_, "SUBARRAY");
  setup_ = FindColumn(table_, "FREQ ID");
  return AResult::Ok();
}

AResult TableReader::FindHands() {
  for (const char* number : {"1", "2"}) {
    if (*number == '2' && !FindColumn(table_, "REAL2").Is()) break;
    Hand hand;
    for (const auto& [column, name] :
         {std::pair{&hand.real, "REAL"}, {&hand.imaginary, "IMAG"}, {&hand.weight, "WEIGHT"}}) {
      *column = FindColumn(table_, std::string(name) + number);
      if (!column->Is()) return Refuse(std::string("has no column ") + name + number + " of numbers");
    }
    hand.delay = FindColumn(table_, std::string("DELAY") + number);
    hand.rate = FindColumn(table_, std::string("RATE") + number);
    hand.reference = FindColumn(table_, std::string("REFANT") + number);
    for (const Column* column : {&hand.real, &hand.imaginary, &hand.weight, &hand.delay, &hand.rate, &hand.reference}) {
      if (!column->Is() || column->count == gains_.header.IFs) continue;
      return Refuse("has gains of " + std::to_string(column->count) + " IFs, the visibilities have " +
                    std::to_string(int{gains_.header.IFs}));
    }
    hands_.push_back(hand);
  }
  // The only polarisation of a table is the only one of the file, which may be LL.
  for (size_t i = 0; i < hands_.size(); ++i) {
    hands_[i].number = hands_.size() > 1 ? static_cast<int>(i) : HandOf(gains_.header.codes[0]);
  }
  gains_.header.hands = static_cast<int16_t>(hands_.size());
  if (hands_.size() < 2) gains_.header.codes[1] = 0;
  return AResult::Ok();
}

AResult TableReader::CheckWhatIsApplied(std::vector<std::string>& remarks) const {
  for (const char* name : kNotApplied) {
    const int row = NonZeroRow(table_, name);
    if (row < 0) continue;
    return Refuse(std::string("its column ") + name + " is not 0 in row " + std::to_string(row + 1) +
                  ", and what it means for phases is not applied here");
  }
  std::string model;
  for (const char* name : kOfTheModel) {
    if (NonZeroRow(table_, name) >= 0) model += (model.empty() ? "" : ", ") + std::string(name);
  }
  if (!model.empty()) {
    remarks.push_back(gains_.label + ": " + model + " tell of the correlator's model, which is in the visibilities");
  }
  return AResult::Ok();
}

AResult TableReader::ReadRow(int row) {
  const auto refuse = [&](const char* name) {
    return Refuse("row " + std::to_string(row + 1) + " has a " + name + " that is none");
  };
  const auto isIn = [](double value, double low, double high) { return value >= low && value <= high; };
  const double time = time_.At(table_, row), interval = interval_.Or(table_, row, 0);
  const double antenna = antenna_.At(table_, row), source = source_.Or(table_, row, 0);
  const double subarray = subarray_.Or(table_, row, 0), setup = setup_.Or(table_, row, -1);
  if (!isIn(time, -1e6, 1e6)) return refuse("TIME");
  if (!isIn(antenna, 0, 255)) return refuse("number of an antenna");
  if (!isIn(source, INT16_MIN, INT16_MAX)) return refuse("number of a source");
  if (!isIn(subarray, INT16_MIN, INT16_MAX)) return refuse("SUBARRAY");
  if (!isIn(setup, INT32_MIN, INT8_MAX)) return refuse("FREQ ID");
  AGainArrayItem item;
  item.time = gains_.header.dateObs + time;
  item.interval = isIn(interval, 0, 1e6) ? static_cast<float>(interval * kSecondsPerDay) : 0;
  item.source = static_cast<int16_t>(std::max(source, 0.0));
  item.setup = static_cast<int8_t>(std::max(setup, 0.0));
  item.subarray = static_cast<int16_t>(std::max(subarray, 0.0));
  item.antenna = static_cast<uint8_t>(antenna);
  for (const Hand& hand : hands_) {
    for (int i = 0; i < gains_.header.IFs; ++i) ReadGain(row, hand, i, item);
  }
  return AResult::Ok();
}

void TableReader::ReadGain(int row, const Hand& hand, int i, AGainArrayItem item) {
  const std::complex<double> s(hand.real.At(table_, row, i) / modulus_, hand.imaginary.At(table_, row, i) / modulus_);
  const double weight = hand.weight.At(table_, row, i);
  const double delay = hand.delay.Is() ? hand.delay.At(table_, row, i) : 0;
  const double rate = hand.rate.Is() ? hand.rate.At(table_, row, i) : 0;
  const double reference = hand.reference.Is() ? hand.reference.At(table_, row, i) : 0;
  item.ifIndex = static_cast<int16_t>(i);
  item.hand = static_cast<int8_t>(hand.number);
  item.reference = reference >= 0 && reference <= 255 ? static_cast<uint8_t>(reference) : uint8_t{0};
  const bool isSolution = weight > 0 && std::isfinite(weight) && std::isfinite(delay) && std::isfinite(rate) &&
                          std::isfinite(std::norm(s)) && std::norm(s) > 0;
  item.weight = isSolution ? static_cast<float>(weight) : 0;
  item.SetGain(isSolution ? 1.0 / std::conj(s) : 0);
  item.delay = isSolution ? delay : 0;
  item.rate = isSolution ? rate : 0;
  gains_.list.Append(item);
}

// Writes the rows of a table.
class TableWriter {
 public:
  TableWriter(const AGains& gains, AUVXTable& table) : gains_(gains), table_(table) {
    bool hasFirst = false, hasSecond = false;
    for (int i = 0; i < gains.list.count(); ++i) (gains.list(i).hand == 0 ? hasFirst : hasSecond) = true;
    // A file with LL alone has a table of one polarisation too.
    const bool isSecondAlone = !hasFirst && gains.header.hands == 1 && HandOf(gains.header.codes[0]) == 1;
    if (isSecondAlone) hands_ = {1};
    if (!isSecondAlone && (hasSecond || gains.header.hands == 2)) hands_ = {0, 1};
  }

  AResult Run(const std::string& code);

 private:
  using Row = std::tuple<double, int, int, int, int>;  // time, antenna, source, setup, subarray
  static Row RowOf(const AGainArrayItem& item) {
    return {double{item.time}, int{item.antenna}, int{item.source}, int{item.setup}, int{item.subarray}};
  }

  void AddColumns(bool isCL);
  void AddHand(const std::string& number, bool isCL);
  void AddKeyWords(bool isCL);
  void Put(int row, const std::string& name, int element, double value);
  void PutRow(int row, const AGainArrayItem& item);
  void PutGain(int row, const AGainArrayItem& item);

  const AGains& gains_;
  AUVXTable& table_;
  std::vector<int> hands_ = {0};
  std::map<std::string, Column> columns_;
};

AResult TableWriter::Run(const std::string& code) {
  if (!(gains_.header.dateObs > 0)) {
    return AResult::Fail(gains_.label +
                         ": the date of the observation, from which the times of a table count, is not known");
  }
  table_.Create(AUVXTable::toHash(code, 0));
  AddColumns(code == "CL");
  AddKeyWords(code == "CL");
  std::map<Row, int> rows;
  for (int i = 0; i < gains_.list.count(); ++i) rows.try_emplace(RowOf(gains_.list(i)), 0);
  int next = 0;
  for (auto& [row, number] : rows) number = next++;
  if (!table_.SetRows(next)) return AResult::Fail(gains_.label + ": its gains do not fit a table");
  for (int i = 0; i < table_.columnCount(); ++i) {
    const std::string name = table_.columns()(i).Name();
    columns_[name] = FindColumn(table_, name);
  }
  for (int i = 0; i < gains_.list.count(); ++i) PutRow(rows[RowOf(gains_.list(i))], gains_.list(i));
  for (int i = 0; i < gains_.list.count(); ++i) PutGain(rows[RowOf(gains_.list(i))], gains_.list(i));
  return AResult::Ok();
}

void TableWriter::AddColumns(bool isCL) {
  const std::string perIF = std::to_string(int{gains_.header.IFs});
  table_.AddColumn("TIME", "DAYS", "1D");
  table_.AddColumn("TIME INTERVAL", "DAYS", "1E");
  for (const char* name : {"SOURCE ID", "ANTENNA NO.", "SUBARRAY", "FREQ ID"}) table_.AddColumn(name, "", "1J");
  table_.AddColumn("I.FAR.ROT", "RAD/M**2", "1E");
  if (isCL) {
    table_.AddColumn("GEODELAY", "SECONDS", "1D");
    table_.AddColumn("DOPPOFF", "HZ", perIF + "E");
    table_.AddColumn("ATMOS", "SECONDS", "1E");
    table_.AddColumn("DATMOS", "SEC/SEC", "1E");
  } else {
    table_.AddColumn("NODE NO.", "", "1J");
  }
  for (size_t i = 0; i < hands_.size(); ++i) AddHand(std::to_string(i + 1), isCL);
}

void TableWriter::AddHand(const std::string& number, bool isCL) {
  const std::string perIF = std::to_string(int{gains_.header.IFs});
  table_.AddColumn("MBDELAY" + number, "SECONDS", "1E");
  if (isCL) {
    table_.AddColumn("CLOCK " + number, "SECONDS", "1E");
    table_.AddColumn("DCLOCK " + number, "SEC/SEC", "1E");
  }
  table_.AddColumn("DISP " + number, "SEC/M**2", "1E");
  table_.AddColumn("DDISP " + number, "S/S/M**2", "1E");
  for (const char* name : {"REAL", "IMAG"}) table_.AddColumn(name + number, "", perIF + "E");
  // SN and CL have these two columns in opposite order.
  const std::pair<const char*, const char*> both[] = {{"DELAY ", "SECONDS"}, {"RATE ", "SEC/SEC"}};
  for (const int i : {isCL ? 1 : 0, isCL ? 0 : 1})
    table_.AddColumn(both[i].first + number, both[i].second, perIF + "E");
  table_.AddColumn("WEIGHT " + number, "", perIF + "E");
  table_.AddColumn("REFANT " + number, "", perIF + "J");
}

void TableWriter::AddKeyWords(bool isCL) {
  int largest = 0;
  for (const AGainAntenna& antenna : gains_.antennas) largest = std::max<int>(largest, antenna.number);
  for (int i = 0; i < gains_.list.count(); ++i) largest = std::max<int>(largest, gains_.list(i).antenna);
  table_.AddKeyWord("REVISION", isCL ? "10" : "11", true);
  table_.AddKeyWord("NO_POL", std::to_string(hands_.size()), true);
  table_.AddKeyWord("NO_IF", std::to_string(int{gains_.header.IFs}), true);
  table_.AddKeyWord("NO_ANT", std::to_string(largest), true);
  table_.AddKeyWord(isCL ? "NO_TERM" : "NO_NODES", isCL ? "1" : "0", true);
  table_.AddKeyWord("MGMOD", "1.0", true);
  if (!isCL) table_.AddKeyWord("APPLIED", "F", true);
}

void TableWriter::Put(int row, const std::string& name, int element, double value) {
  const Column& column = columns_[name];
  char* place = table_.Row(row) + column.offset + element * ElementBytes(column.type);
  const auto single = static_cast<float>(value);
  const auto whole = static_cast<int32_t>(column.type == 'J' ? value : 0);
  if (column.type == 'D') std::memcpy(place, &value, sizeof value);
  if (column.type == 'E') std::memcpy(place, &single, sizeof single);
  if (column.type == 'J') std::memcpy(place, &whole, sizeof whole);
}

// The fields of a row for all IFs and hands, which have no solution at first.
void TableWriter::PutRow(int row, const AGainArrayItem& item) {
  Put(row, "TIME", 0, item.time - gains_.header.dateObs);
  Put(row, "TIME INTERVAL", 0, double{item.interval} / kSecondsPerDay);
  Put(row, "SOURCE ID", 0, item.source);
  Put(row, "ANTENNA NO.", 0, item.antenna);
  Put(row, "SUBARRAY", 0, item.subarray);
  Put(row, "FREQ ID", 0, item.setup > 0 ? item.setup : -1);
  const double none = std::numeric_limits<double>::quiet_NaN();
  for (size_t hand = 0; hand < hands_.size(); ++hand) {
    const std::string number = std::to_string(hand + 1);
    for (int i = 0; i < gains_.header.IFs; ++i) {
      for (const char* name : {"REAL", "IMAG", "DELAY ", "RATE "}) Put(row, name + number, i, none);
    }
  }
}

void TableWriter::PutGain(int row, const AGainArrayItem& item) {
  const auto place = std::find(hands_.begin(), hands_.end(), int{item.hand});
  if (!item.isValid() || place == hands_.end()) return;
  const std::string number = std::to_string(place - hands_.begin() + 1);
  const std::complex<double> s = 1.0 / std::conj(item.gain());
  Put(row, "REAL" + number, item.ifIndex, s.real());
  Put(row, "IMAG" + number, item.ifIndex, s.imag());
  Put(row, "DELAY " + number, item.ifIndex, item.delay);
  Put(row, "RATE " + number, item.ifIndex, item.rate);
  Put(row, "WEIGHT " + number, item.ifIndex, double{item.weight});
  Put(row, "REFANT " + number, item.ifIndex, item.reference);
}

}  // namespace

AResult GainsOfTable(const AUVXTable& table, AGains& gains, std::vector<std::string>& remarks) {
  return TableReader(table, gains).Run(remarks);
}

AResult TableOfGains(const AGains& gains, const std::string& code, AUVXTable& table) {
  return TableWriter(gains, table).Run(code);
}

}  // namespace zeltra
