// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>

#include "zeltra/ops/IFColumnsInternal.h"
#include "zeltra/ops/JoinedTablesInternal.h"

namespace zeltra {
namespace {

// More rows would take gigabytes while they are joined.
constexpr int kMostRows = 1 << 22;

double AntennasOf(const AUVXTable& table) {
  for (int i = 0; i < table.keywords().count(); ++i) {
    if (table.keywords()(i).Key() == "NO_ANT") return table.keywords()(i).Number();
  }
  return 0;
}

bool AppendBytes(AUVXTable& table, const std::string& bytes) {
  const int row = table.rows();
  if (row == kMostRows || !table.ResizeRows(row + 1)) return false;
  std::memcpy(table.Row(row), bytes.data(), bytes.size());
  return true;
}

std::string ListOf(const std::set<std::string>& codes) {
  std::string list;
  for (const std::string& code : codes) list += (list.empty() ? "" : ", ") + code;
  return list;
}

// Whether a row concerns any record of an input.
bool Reaches(const AUVXTable& table, int row, const RowNumbers& columns, const RecordReach& reach) {
  for (const RowNumbers::Column& column : columns.columns()) {
    const double stated = table.Number(row, column.place);
    const auto isMissing = [stated](const std::set<int>& numbers) {
      return stated > 0 && !numbers.contains(static_cast<int>(stated));
    };
    if (column.kind == RowNumber::Source && isMissing(reach.sources)) return false;
    if (column.kind == RowNumber::Setup && isMissing(reach.setups)) return false;
    if (column.kind != RowNumber::Times) continue;
    const double last = table.Number(row, column.place, 1);
    if ((stated != 0 || last != 0) && (stated > reach.last || last < reach.first)) return false;
  }
  return true;
}

// Whether a row as it stands concerns records of an input that does not have it.
bool ReachesOthers(const AUVXTable& table, int row, const std::vector<int>& inputs,
                   const std::vector<RecordReach>& reaches) {
  const RowNumbers columns = *RowNumbers::Of(table);
  auto having = inputs.begin();
  for (int i = 0; i < static_cast<int>(reaches.size()); ++i) {
    if (having != inputs.end() && *having == i) {
      ++having;
    } else if (Reaches(table, row, columns, reaches[static_cast<size_t>(i)])) {
      return true;
    }
  }
  return false;
}

// Append a row, narrowed to those of its sources, setups and times that the input has.
// @param one  the table, without rows
bool AppendNarrow(const std::string& row, const RecordReach& reach, const RecordReach& all, AUVXTable one,
                  AUVXTable& table) {
  if (!AppendBytes(one, row)) return false;
  std::vector<std::string> rows = {row};
  const std::optional<RowNumbers> columns = RowNumbers::Of(one);
  for (const RowNumbers::Column& column : columns->columns()) {
    const double stated = one.Number(0, column.place);
    std::set<int> numbers;
    if (column.kind == RowNumber::Source && stated <= 0 && reach.sources != all.sources) numbers = reach.sources;
    if (column.kind == RowNumber::Setup && stated <= 0 && reach.setups != all.setups) numbers = reach.setups;
    const bool isAllTimes = column.kind == RowNumber::Times && stated == 0 && one.Number(0, column.place, 1) == 0 &&
                            reach.first <= reach.last && (reach.first != all.first || reach.last != all.last);
    if (numbers.empty() && !isAllTimes) continue;
    std::vector<std::string> narrow;
    const auto keep = [&] { narrow.emplace_back(one.Row(0), row.size()); };
    for (const std::string& wide : rows) {
      std::memcpy(one.Row(0), wide.data(), wide.size());
      for (const int number : numbers) {
        one.SetNumber(0, column.place, 0, number);
        keep();
      }
      if (!isAllTimes) continue;
      // Rounded outwards, since the column may be in single precision.
      one.SetNumber(0, column.place, 0, std::nextafter(static_cast<float>(reach.first), -HUGE_VALF));
      one.SetNumber(0, column.place, 1, std::nextafter(static_cast<float>(reach.last), HUGE_VALF));
      keep();
    }
    rows = std::move(narrow);
    if (rows.size() > kMostRows) return false;
  }
  return std::all_of(rows.begin(), rows.end(), [&](const std::string& bytes) { return AppendBytes(table, bytes); });
}

}  // namespace

// @return whether the row concerns only what the lists have
bool JoinedTables::Change(AUVXTable& table, int row, const RowNumbers& columns, const JoinedNumbers& numbers,
                          double days) const {
  bool isListed = true;
  const auto translate = [&](RowNumber kind, int number) {
    if (kind == RowNumber::Subarray) return number;
    if (kind == RowNumber::Baseline) {
      const auto first = lists_.NumberOf(numbers, RowNumber::Antenna, number / 256);
      const auto second = lists_.NumberOf(numbers, RowNumber::Antenna, number % 256);
      isListed = isListed && first && second;
      return isListed ? *first * 256 + *second : number;
    }
    const std::optional<int> joined = lists_.NumberOf(numbers, kind, number);
    isListed = isListed && joined;
    return joined.value_or(number);
  };
  columns.Change(table, row, translate, days);
  return isListed;
}

void JoinedTables::Take(int input, AUVXTable table, const JoinedNumbers& numbers, double days) {
  const std::string code = table.Code();
  const std::optional<RowNumbers> columns = RowNumbers::Of(table);
  const auto place = joined_.find(code);
  if (!columns || std::isnan(days) || (place != joined_.end() && !RowCopy(table, place->second.table).IsWhole())) {
    leftOut_.insert(code);
    return;
  }
  Joined& joined = joined_[code];
  if (place == joined_.end()) {
    joined.table = table;
    joined.table.ResizeRows(0);
  }
  joined.antennas = std::max(joined.antennas, AntennasOf(table));
  for (const auto& [old, number] : numbers.antennas) {
    if (old != number) joined.antennas = std::max(joined.antennas, double(number));
  }
  for (int row = 0; row < table.rows(); ++row) {
    if (!Change(table, row, *columns, numbers, days)) {
      ++strayRows_;
      continue;
    }
    const auto entry =
        joined.rows.try_emplace(std::string(table.Row(row), static_cast<size_t>(table.rowBytes()))).first;
    Row& known = entry->second;
    if (known.inputs.empty() || known.inputs.back() != input) {
      known.inputs.push_back(input);
      known.sinceInput = 0;
    }
    if (++known.sinceInput <= known.count) continue;
    ++known.count;
    joined.order.push_back(&entry->first);
  }
}

bool JoinedTables::Make(const std::string& code, const std::vector<RecordReach>& reaches, AUVXTable& table) {
  const auto place = joined_.find(code);
  if (place == joined_.end()) return false;
  const Joined& joined = place->second;
  RecordReach all;
  for (const RecordReach& reach : reaches) {
    all.sources.insert(reach.sources.begin(), reach.sources.end());
    all.setups.insert(reach.setups.begin(), reach.setups.end());
    all.first = std::min(all.first, reach.first);
    all.last = std::max(all.last, reach.last);
  }
  table = joined.table;
  if (joined.antennas > AntennasOf(table))
    SetKeyWord(table, "NO_ANT", std::to_string(static_cast<int>(joined.antennas)));
  bool fits = true;
  for (const std::string* row : joined.order) {
    fits = fits && AppendBytes(table, *row);
    const std::vector<int>& inputs = joined.rows.at(*row).inputs;
    if (!fits || code != "FG" || !ReachesOthers(table, table.rows() - 1, inputs, reaches)) continue;
    table.ResizeRows(table.rows() - 1);
    for (const int input : inputs)
      fits = fits && AppendNarrow(*row, reaches[static_cast<size_t>(input)], all, joined.table, table);
  }
  if (!fits) tooLong_.insert(code);
  return fits;
}

std::vector<std::string> JoinedTables::Codes() const {
  std::vector<std::string> codes;
  for (const auto& [code, joined] : joined_) codes.push_back(code);
  return codes;
}

std::vector<std::string> JoinedTables::Remarks() const {
  std::vector<std::string> remarks;
  if (!leftOut_.empty()) {
    remarks.push_back(
        "tables are left out of inputs where their columns are not understood, are others than those of "
        "inputs before, or have times of an unknown date: " +
        ListOf(leftOut_));
  }
  if (!tooLong_.empty()) remarks.push_back("tables are left out that would have too many rows: " + ListOf(tooLong_));
  if (strayRows_ > 0) {
    remarks.push_back(std::to_string(strayRows_) +
                      " rows of tables are left out that are about sources, antennas or "
                      "setups which their files do not list");
  }
  return remarks;
}

}  // namespace zeltra
