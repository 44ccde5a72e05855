// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>

#include "zeltra/core/Text.h"
#include "zeltra/interchange/SubarraysInternal.h"

namespace zeltra {
namespace {

constexpr double kDaysApart = 5;  // AIPS moves the times of each further subarray ahead by this
constexpr int kLargestAntenna = 255;

std::string KeyText(const AUVXTable& table, const char* key) {
  for (int i = 0; i < table.keywords().count(); ++i) {
    if (table.keywords()(i).Key() == key) return table.keywords()(i).Value();
  }
  return {};
}

double Distance(const double (&a)[3], const double (&b)[3]) {
  return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

int PlaceOf(const AUVXTable& table, const AUVXTableManual& column) {
  for (int i = 0; i < table.columnCount(); ++i) {
    const AUVXTableManual& other = table.columns()(i);
    if (other.Name() == column.Name() && other.Format() == column.Format()) return i;
  }
  return -1;
}

// Bytes of a column in a row; 0 if its place is unknown.
int WidthOf(const AUVXTable& table, int column) {
  const int begin = table.ColumnOffset(column);
  const int end = column + 1 < table.columnCount() ? table.ColumnOffset(column + 1) : table.rowBytes();
  return begin < 0 || end < begin ? 0 : end - begin;
}

}  // namespace

void Subarrays::Count(int subarray, double time) {
  Groups& groups = groups_[static_cast<size_t>(subarray)];
  if (groups.count++ == 0) present_.insert(std::lower_bound(present_.begin(), present_.end(), subarray), subarray);
  groups.first = std::min(groups.first, time);
  groups.last = std::max(groups.last, time);
}

AResult Subarrays::AddArray(int subarray, const AUVXTable& table, std::vector<std::string>& remarks) {
  const std::string label = "the table AN of subarray " + std::to_string(subarray);
  const AUVXAntenns list(table);
  const std::array<double, 3> center = {list.ArrayX(), list.ArrayY(), list.ArrayZ()};
  const std::string frame = KeyText(table, "FRAME"), hand = KeyText(table, "XYZHAND");
  if (arrays_++ == 0) {
    firstArray_ = subarray;
    table_ = table;
    center_ = center;
    frame_ = frame;
    hand_ = hand;
  } else if (!hand.empty() && !hand_.empty() && hand != hand_) {
    return AResult::Fail(label + " is " + hand + "-handed, and that of subarray " + std::to_string(firstArray_) + " " +
                         hand_ + "-handed");
  } else if (!isAbsolute_ && (center != center_ || frame != frame_)) {
    MakeAbsolute();
    remarks.push_back("arrays have different centres or frames: positions of antennas are those of the tables plus " +
                      std::string("the centres of the arrays"));
  }
  auto& numbers = numbers_[static_cast<size_t>(subarray)];
  int renumbered = 0;
  for (int row = 0; row < list.count(); ++row) {
    const AUVXTlscItem& item = list(row);
    if (item.id < 1 || item.id > kLargestAntenna) continue;
    int& number = numbers[static_cast<size_t>(item.id)];
    if (number != 0) continue;  // whoever looks up an antenna takes its first row
    Antenna antenna = {item.Name(), {item.x, item.y, item.z}, item.id, subarray};
    for (size_t i = 0; isAbsolute_ && i < 3; ++i) antenna.position[i] += center[i];
    if (AResult result = AddAntenna(subarray, antenna, table, row, number); !result) return result;
    renumbered += number != item.id;
  }
  if (renumbered > 0) {
    remarks.push_back(std::to_string(renumbered) + " antennas of subarray " + std::to_string(subarray) +
                      " have other numbers in the common list");
  }
  std::string lost;
  for (int i = 0; i < table.columnCount(); ++i) {
    if (PlaceOf(table_, table.columns()(i)) < 0) lost += (lost.empty() ? "" : ", ") + table.columns()(i).Name();
  }
  if (!lost.empty()) remarks.push_back(label + " has columns of its own, which are left out: " + lost);
  return AResult::Ok();
}

/// @param antenna  an antenna with its number in `table`
/// @param number   set to its number in the list
AResult Subarrays::AddAntenna(int subarray, const Antenna& antenna, const AUVXTable& table, int row, int& number) {
  const Antenna* namesake = nullptr;
  for (const Antenna& known : antennas_) {
    if (known.subarray == subarray || known.name != antenna.name) continue;
    namesake = &known;
    if (!(Distance(known.position, antenna.position) <= kSamePlace)) continue;
    number = known.number;
    return AResult::Ok();
  }
  if (namesake && !antenna.name.empty()) {
    return AResult::Fail("the antenna " + antenna.name + " of subarray " + std::to_string(subarray) + " lies " +
                         ReadableNumber(std::round(Distance(namesake->position, antenna.position) * 10) / 10) +
                         " m from that of subarray " + std::to_string(namesake->subarray));
  }
  number = FreeNumber(antenna.number);
  if (number == 0) return AResult::Fail("the subarrays have more than the 255 antennas of a UVX file together");
  antennas_.push_back(antenna);
  antennas_.back().number = number;
  if (arrays_ > 1) AppendRow(antennas_.back(), table, row);
  return AResult::Ok();
}

int Subarrays::FreeNumber(int wanted) const {
  bool taken[kLargestAntenna + 1] = {};
  for (const Antenna& antenna : antennas_) taken[antenna.number] = true;
  if (!taken[wanted]) return wanted;
  const bool* free = std::find(taken + 1, std::end(taken), false);
  return free == std::end(taken) ? 0 : static_cast<int>(free - taken);
}

void Subarrays::AppendRow(const Antenna& antenna, const AUVXTable& table, int row) {
  const int added = table_.rows();
  if (!table_.ResizeRows(added + 1)) return;
  for (int i = 0; i < table_.columnCount(); ++i) {
    const int place = PlaceOf(table, table_.columns()(i)), width = WidthOf(table_, i);
    if (place < 0 || width == 0 || width != WidthOf(table, place)) continue;
    std::memcpy(table_.Row(added) + table_.ColumnOffset(i), table.Row(row) + table.ColumnOffset(place),
                static_cast<size_t>(width));
  }
  table_.SetNumber(added, table_.FindColumn("NOSTA"), 0, antenna.number);
  for (int i = 0; i < 3; ++i) table_.SetNumber(added, table_.FindColumn("STABXYZ"), i, antenna.position[i]);
}

void Subarrays::MakeAbsolute() {
  isAbsolute_ = true;
  for (Antenna& antenna : antennas_) {
    for (size_t i = 0; i < 3; ++i) antenna.position[i] += center_[i];
  }
  const int column = table_.FindColumn("STABXYZ");
  for (int row = 0; row < table_.rows(); ++row) {
    for (int i = 0; i < 3; ++i) {
      table_.SetNumber(row, column, i, table_.Number(row, column, i) + center_[static_cast<size_t>(i)]);
    }
  }
  for (int i = 0; i < table_.keywords().count(); ++i) {
    AUVXTableKeyWord& word = table_.keywords()(i);
    const std::string key = word.Key();
    if (key == "ARRAYX" || key == "ARRAYY" || key == "ARRAYZ") SetFieldText(word.value, sizeof word.value, "0");
  }
}

void Subarrays::Finish(double dateObs, int only, std::vector<std::string>& remarks) {
  int64 without = 0;
  for (const int subarray : present_) {
    auto& numbers = numbers_[static_cast<size_t>(subarray)];
    const bool hasTable = std::any_of(numbers.begin(), numbers.end(), [](int number) { return number != 0; });
    if (!hasTable && arrays_ > 0) numbers = numbers_[static_cast<size_t>(firstArray_)];
    if (!hasTable && subarray > 1 && only == 0) without += groups_[static_cast<size_t>(subarray)].count;
  }
  if (without > 0) {
    remarks.push_back(std::to_string(without) + " groups belong to another subarray than the first and have no table " +
                      "AN of their own: antennas of one number are taken for the same");
  }
  for (const int subarray : present_) {
    Groups& groups = groups_[static_cast<size_t>(subarray)];
    const double days = kDaysApart * (subarray - 1);
    const bool isAhead = dateObs > 0 && subarray > 1 && (only == 0 || subarray == only) &&
                         groups.first >= dateObs + days && Has(1) && groups_[1].last < dateObs + kDaysApart;
    if (!isAhead) continue;
    groups.daysAhead = days;
    remarks.push_back("the times of subarray " + std::to_string(subarray) + " are set back by " + valToStr(days) +
                      " days");
  }
  endScans_ = IsMerged() && AreApart();
}

// Whether no two subarrays observe at the same time.
bool Subarrays::AreApart() const {
  std::vector<std::pair<double, double>> ranges;
  for (const int subarray : present_) {
    const Groups& groups = groups_[static_cast<size_t>(subarray)];
    ranges.emplace_back(groups.first - groups.daysAhead, groups.last - groups.daysAhead);
  }
  std::sort(ranges.begin(), ranges.end());
  for (size_t i = 1; i < ranges.size(); ++i) {
    if (!(ranges[i].first > ranges[i - 1].second)) return false;
  }
  return true;
}

bool Subarrays::IsSetBack() const {
  return std::any_of(present_.begin(), present_.end(), [this](int subarray) { return DaysAhead(subarray) != 0; });
}

void Subarrays::Renumber(AUVXTable& table) const {
  const int column = table.FindColumn("SUBARRAY");
  for (int row = 0; row < table.rows() && column >= 0; ++row) {
    const double subarray = table.Number(row, column);
    if (!(subarray >= 1 && subarray <= kMost) || !Has(static_cast<int>(subarray))) continue;
    for (int i = 0; i < table.columnCount(); ++i) {
      const std::string name = table.columns()(i).Name();
      if (!name.starts_with("ANT") && !name.starts_with("REFANT")) continue;
      for (int element = 0; table.Number(row, i, element) >= 1; ++element) {
        const double antenna = table.Number(row, i, element);
        if (antenna > kLargestAntenna) continue;
        table.SetNumber(row, i, element, NumberOf(static_cast<int>(subarray), static_cast<int>(antenna)));
      }
    }
    table.SetNumber(row, column, 0, 1);
  }
}

void KeepSubarray(AUVXTable& table, int subarray) {
  const int column = table.FindColumn("SUBARRAY");
  AArray<int> others;
  for (int row = 0; row < table.rows() && column >= 0; ++row) {
    const double number = table.Number(row, column);
    if (!(number >= 1)) continue;
    if (number == subarray) {
      table.SetNumber(row, column, 0, 1);
    } else {
      others.Add(row);
    }
  }
  table.DeleteRows(others);
}

}  // namespace zeltra
