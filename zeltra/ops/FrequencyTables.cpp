// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "zeltra/core/Text.h"
#include "zeltra/ops/FrequencyTablesInternal.h"
#include "zeltra/ops/IFColumnsInternal.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {
namespace {

using Range = FrequencyChange::Range;

bool IsSame(const AUVXTable& table, int row, int offset, int first, int second, size_t bytes) {
  const char* from = table.Row(row) + offset;
  return std::memcmp(from + static_cast<size_t>(first) * bytes, from + static_cast<size_t>(second) * bytes, bytes) == 0;
}

// Set a range of an entry; a 0, 0 that meant everything and still does is kept.
void SetRange(AUVXTable& flags, int row, int column, Range range, int count) {
  const bool isAll = flags.Number(row, column, 0) <= 0 && flags.Number(row, column, 1) <= 0;
  if (isAll && range == Range{0, count - 1}) return;
  flags.SetNumber(row, column, 0, range.first + 1);
  flags.SetNumber(row, column, 1, range.last + 1);
}

}  // namespace

Range FlaggedRange(const AUVXTable& flags, int row, int column, int count) {
  const int first = RoundedInt(flags.Number(row, column, 0)), last = RoundedInt(flags.Number(row, column, 1));
  return {std::max(first, 1) - 1, (last <= 0 ? count : std::min(last, count)) - 1};
}

bool FindFlagColumns(const AUVXTable& flags, int& ifs, int& channels) {
  ifs = flags.FindColumn("IFS");
  channels = flags.FindColumn("CHANS");
  if (ifs < 0 || channels < 0 || !FillsRows(flags)) return false;
  const auto isPair = [&](int column) {
    const AXTblFormat format = flags.ParseFormat(column);
    return (format.type == 'I' || format.type == 'J') && format.count >= 2 && flags.ColumnOffset(column) >= 0;
  };
  return isPair(ifs) && isPair(channels);
}

FrequencyTables::FrequencyTables(FrequencyChange change, double freq0, const AUVXTable* setups)
    : change_(std::move(change)), freq0_(freq0), shift_(setups ? change_.Shift(*setups) : 0) {}

bool FrequencyTables::Change(AUVXTable& table) {
  if (change_.IsNone()) return true;
  const std::string code = table.Code();
  const bool isKept = code == "FG" ? TranslateFlags(table) : ChangeColumns(table);
  if (code == "AN") FollowReference(table, freq0_, shift_);
  if (!isKept) LeaveOut(table);
  return isKept;
}

bool FrequencyTables::ChangeColumns(AUVXTable& table) {
  const std::string code = table.Code();
  if (!change_.KeepsChannels() && IsAboutChannels(table)) return false;
  if (change_.KeepsIFs() && code != "FQ") return true;
  if (!FillsRows(table)) return false;
  const bool isAboutIFs = HasColumnsOfIFs(table, change_.IFs);
  if (isAboutIFs && !HasKnownColumnsOfIFs(table)) return false;
  const bool canJoin = code == "FQ" || code == "SU" || code == "AN";
  if (isAboutIFs && change_.JoinsIFs() && !canJoin) return false;
  std::vector<int> kept;
  for (const std::vector<int>& part : change_.parts) kept.push_back(part[0]);
  if (code == "AN" && change_.JoinsIFs() && !AreAlike(table)) {
    kept.clear();
    hasEmptied_ = true;
    SetKeyWord(table, "NOPCAL", "0");
  }
  const AUVXTable from = table;
  if (!change_.KeepsIFs()) table = KeepIFs(from, change_.IFs, kept, static_cast<int>(change_.parts.size()));
  if (code == "FQ") MoveFrequencies(from, table);
  if (code == "SU" && change_.JoinsIFs()) FillMeans(from, table);
  return true;
}

void FrequencyTables::MoveFrequencies(const AUVXTable& from, AUVXTable& setups) const {
  if (change_.count == 0) return;
  const SetupFrequencies frequencies(from);
  for (int row = 0; row < setups.rows(); ++row) {
    for (size_t part = 0; part < change_.parts.size(); ++part) {
      const int i = static_cast<int>(part);
      setups.SetNumber(row, frequencies.startColumn, i, change_.NewStart(frequencies, row, part) - shift_);
      setups.SetNumber(row, frequencies.widthColumn, i, change_.NewWidth(frequencies, row, part));
      if (change_.KeepsChannels() && !change_.JoinsIFs()) continue;
      setups.SetNumber(row, frequencies.bandwidthColumn, i, change_.NewBandwidth(frequencies, row, part));
    }
  }
}

// Whether the table says the same about all joined IFs.
bool FrequencyTables::AreAlike(const AUVXTable& table) const {
  for (int column = 0; column < table.columnCount(); ++column) {
    const int elements = ElementsOfIF(table, column, change_.IFs), offset = table.ColumnOffset(column);
    if (elements == 0) continue;
    const auto bytes =
        static_cast<size_t>(elements) * static_cast<size_t>(ElementBytes(table.ParseFormat(column).type));
    for (int row = 0; row < table.rows(); ++row) {
      for (const std::vector<int>& part : change_.parts) {
        for (const int i : part) {
          if (offset < 0 || !IsSame(table, row, offset, part[0], i, bytes)) return false;
        }
      }
    }
  }
  return true;
}

void FrequencyTables::FillMeans(const AUVXTable& from, AUVXTable& sources) {
  for (int column = 0; column < from.columnCount(); ++column) {
    if (ElementsOfIF(from, column, change_.IFs) != 1) continue;
    bool differs = false;
    for (int row = 0; row < from.rows(); ++row) {
      for (size_t part = 0; part < change_.parts.size(); ++part) {
        double sum = 0;
        for (const int i : change_.parts[part]) {
          sum += from.Number(row, column, i);
          differs |= from.Number(row, column, i) != from.Number(row, column, change_.parts[part][0]);
        }
        sources.SetNumber(row, column, static_cast<int>(part), sum / static_cast<double>(change_.parts[part].size()));
      }
    }
    if (differs) averaged_ += (averaged_.empty() ? "" : ", ") + from.columns()(column).Name();
  }
}

bool FrequencyTables::TranslateFlags(AUVXTable& flags) {
  if (!FindFlagColumns(flags, ifsColumn_, channelsColumn_)) return false;
  AUVXTable to = flags;
  to.SetRows(0);
  for (int row = 0; row < flags.rows(); ++row) {
    if (!TranslateFlag(flags, row, to)) return false;
  }
  flags = to;
  return true;
}

// Append the new form of an entry. @return false if there are too many
bool FrequencyTables::TranslateFlag(AUVXTable& flags, int row, AUVXTable& to) {
  const Range ofIFs = FlaggedRange(flags, row, ifsColumn_, change_.IFs);
  const Range ofChannels = FlaggedRange(flags, row, channelsColumn_, change_.channels);
  const int parts = static_cast<int>(change_.parts.size());
  std::vector<std::vector<Range>> runs(static_cast<size_t>(parts));
  for (size_t part = 0; part < runs.size(); ++part) {
    if (change_.Translate(ofIFs, ofChannels, part, runs[part])) continue;
    ++flagsLeftOut_;
    return true;
  }
  // Consecutive IFs with the same channels share one entry.
  for (int first = 0, end; first < parts; first = end) {
    const std::vector<Range>& same = runs[static_cast<size_t>(first)];
    for (end = first + 1; end < parts && runs[static_cast<size_t>(end)] == same;) ++end;
    for (const Range& run : same) {
      const int made = to.rows();
      if (!to.ResizeRows(made + 1)) return false;
      std::memcpy(to.Row(made), flags.Row(row), static_cast<size_t>(flags.rowBytes()));
      SetRange(to, made, ifsColumn_, {first, end - 1}, parts);
      SetRange(to, made, channelsColumn_, run, change_.count);
    }
  }
  return true;
}

std::vector<std::string> FrequencyTables::Remarks() const {
  std::vector<std::string> remarks;
  if (!leftOut_.empty()) {
    remarks.push_back("tables left out, which are about IFs or channels that are not there any more, or may be: " +
                      leftOut_);
  }
  if (hasEmptied_) remarks.push_back("table AN is left without polarisation terms, which are others for each IF");
  if (!averaged_.empty()) {
    remarks.push_back("columns of table SU that differ between IFs are now the means over them: " + averaged_);
  }
  if (flagsLeftOut_ > 0) {
    remarks.push_back(std::to_string(flagsLeftOut_) + (flagsLeftOut_ == 1 ? " entry" : " entries") +
                      " of table FG left out, for a part of what is one channel now");
  }
  return remarks;
}

void FollowReference(AUVXTable& antennas, double freq0, double shift) {
  for (int i = 0; i < antennas.keywords().count(); ++i) {
    const AUVXTableKeyWord& keyWord = antennas.keywords()(i);
    if (shift == 0 || keyWord.Key() != "FREQ" || std::fabs(keyWord.Number() - freq0) > 0.5) continue;
    std::string number = valToStr(freq0 + shift);
    std::replace(number.begin(), number.end(), 'e', 'E');
    SetKeyWord(antennas, "FREQ", number);
    return;
  }
}

}  // namespace zeltra
