// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string_view>

#include "zeltra/fits/TableRowsInternal.h"
#include "zeltra/ops/RowNumbersInternal.h"

namespace zeltra {
namespace {

using enum RowNumber;

struct KnownColumn {
  std::string_view tables;  // codes
  std::string_view name;
  RowNumber kind;
  int count;  // elements; 0: any number of them
  bool isRequired;
};

constexpr KnownColumn kKnown[] = {
    {"AN", "NOSTA", Antenna, 1, true},
    {"SU", "IDNO", Source, 1, false},
    {"SU", "SOURCEID", Source, 1, false},
    {"FG", "SOURCE", Source, 1, true},
    {"FG", "ANTS", Antenna, 2, true},
    {"FG", "TIMERANGE", Times, 2, true},
    {"SN CL TY BP", "TIME", Time, 1, true},
    {"SN CL TY BP", "SOURCEID", Source, 1, true},
    {"SN CL TY", "ANTENNANO", Antenna, 1, true},
    {"BP", "ANTENNA", Antenna, 1, true},
    {"SN CL BP", "REFANT1", Antenna, 0, false},
    {"SN CL BP", "REFANT2", Antenna, 0, false},
    {"FG SN CL TY BP", "FREQID", Setup, 1, false},
    {"FG SN CL TY BP", "SUBARRAY", Subarray, 1, false},
    {"FG SN CL TY BP", "BASELINE", Baseline, 1, false},
};

// Beginnings of names of columns that have numbers of the same kinds.
constexpr std::string_view kSuspects[] = {"SOURCE", "ANT",      "REFANT", "BASELINE",
                                          "FREQID", "SUBARRAY", "ARRAY",  "TIMER"};

std::string PlainName(const std::string& name) {
  std::string plain;
  for (const char c : name) {
    if (c != ' ' && c != '.' && c != '_') plain += c;
  }
  return plain;
}

bool IsAbout(const KnownColumn& known, const std::string& code) {
  return known.tables.find(code) != known.tables.npos;
}

const KnownColumn* Find(const std::string& code, const std::string& name) {
  for (const KnownColumn& known : kKnown) {
    if (IsAbout(known, code) && known.name == name) return &known;
  }
  return nullptr;
}

bool IsNumbered(AXTblFormat format, const KnownColumn& known) {
  const bool isTime = known.kind == Time || known.kind == Times;
  const bool hasType = isTime ? format.type == 'D' || format.type == 'E' : format.type == 'J' || format.type == 'I';
  return hasType && format.count > 0 && (known.count == 0 || format.count == known.count);
}

bool LiesInRows(const AUVXTable& table, int column) {
  const int begin = table.ColumnOffset(column);
  return begin >= 0 && int64{begin} + FieldBytes(table.ParseFormat(column)) <= table.rowBytes();
}

bool IsSuspect(const std::string& name) {
  return std::any_of(std::begin(kSuspects), std::end(kSuspects),
                     [&name](std::string_view beginning) { return name.starts_with(beginning); });
}

bool IsSameColumn(const AUVXTableManual& a, const AUVXTableManual& b) {
  return a.Name() == b.Name() && a.Format() == b.Format();
}

}  // namespace

bool RowNumbers::IsKnown(const std::string& code) {
  return code.size() == 2 && std::string_view("FG SN CL TY BP").find(code) != std::string_view::npos;
}

std::optional<RowNumbers> RowNumbers::Of(const AUVXTable& table) {
  const std::string code = table.Code();
  if (code.size() != 2) return {};
  RowNumbers numbers;
  std::vector<const KnownColumn*> found;
  for (int i = 0; i < table.columnCount(); ++i) {
    const std::string name = PlainName(table.columns()(i).Name());
    const KnownColumn* known = Find(code, name);
    if (!known) {
      if (IsKnown(code) && IsSuspect(name)) return {};
      continue;
    }
    const AXTblFormat format = table.ParseFormat(i);
    const bool isTwice = std::find(found.begin(), found.end(), known) != found.end();
    if (isTwice || !IsNumbered(format, *known) || !LiesInRows(table, i)) return {};
    found.push_back(known);
    numbers.columns_.push_back({known->kind, i, format.count});
  }
  for (const KnownColumn& known : kKnown) {
    const bool isMissing = std::find(found.begin(), found.end(), &known) == found.end();
    if (IsAbout(known, code) && known.isRequired && isMissing) return {};
  }
  if (numbers.columns_.empty()) return {};
  return numbers;
}

bool RowNumbers::Concerns(const AUVXTable& table, int row, RowNumber kind, int number) const {
  for (const Column& column : columns_) {
    if (column.kind != kind) continue;
    const double stated = table.Number(row, column.place);
    if (stated > 0 && stated != number) return false;
  }
  return true;
}

void RowNumbers::Change(AUVXTable& table, int row, const Translate& translate, double days) const {
  for (const Column& column : columns_) {
    const auto number = [&](int element) { return table.Number(row, column.place, element); };
    const bool isAllTimes = column.kind == Times && number(0) == 0 && number(1) == 0;
    for (int i = 0; i < column.count; ++i) {
      const double old = number(i);
      if (column.kind == Time || column.kind == Times) {
        if (days != 0 && !isAllTimes) table.SetNumber(row, column.place, i, old + days);
      } else if (old > 0) {
        table.SetNumber(row, column.place, i, translate(column.kind, static_cast<int>(old)));
      }
    }
  }
}

RowCopy::RowCopy(const AUVXTable& from, const AUVXTable& to)
    : isWhole_(from.columnCount() == to.columnCount() && from.rowBytes() == to.rowBytes()) {
  for (int i = 0; i < to.columnCount(); ++i) {
    isWhole_ = isWhole_ && IsSameColumn(from.columns()(i), to.columns()(i));
    for (int k = 0; k < from.columnCount(); ++k) {
      if (!IsSameColumn(from.columns()(k), to.columns()(i)) || !LiesInRows(from, k) || !LiesInRows(to, i)) continue;
      fields_.push_back({from.ColumnOffset(k), to.ColumnOffset(i), FieldBytes(to.ParseFormat(i))});
      break;
    }
  }
}

bool RowCopy::Append(const AUVXTable& from, int row, AUVXTable& to) const {
  const int added = to.rows();
  if (!to.ResizeRows(added + 1)) return false;
  if (isWhole_) {
    std::memcpy(to.Row(added), from.Row(row), static_cast<size_t>(to.rowBytes()));
    return true;
  }
  for (const Field& field : fields_) {
    std::memcpy(to.Row(added) + field.to, from.Row(row) + field.from, static_cast<size_t>(field.width));
  }
  return true;
}

void KeepRows(AUVXTable& table, const std::function<bool(int row)>& isKept) {
  const size_t bytes = static_cast<size_t>(table.rowBytes());
  int kept = 0;
  for (int row = 0; row < table.rows(); ++row) {
    if (!isKept(row)) continue;
    if (kept != row) std::memcpy(table.Row(kept), table.Row(row), bytes);
    ++kept;
  }
  table.ResizeRows(kept);
}

}  // namespace zeltra
