// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>

#include "zeltra/core/Dates.h"
#include "zeltra/fits/TableRowsInternal.h"
#include "zeltra/ops/FlagEntriesInternal.h"

namespace zeltra {
namespace {

// The columns of a table of flags, found by the beginnings of their names; -1 if absent.
struct FlagColumns {
  int source, subarray, setup, antennas, times, IFs, channels, polarisations;

  explicit FlagColumns(const AUVXTable& table) {
    const auto find = [&](std::string_view name) {
      for (int i = 0; i < table.columnCount(); ++i) {
        if (table.columns()(i).Name().starts_with(name)) return i;
      }
      return -1;
    };
    source = find("SOURCE");
    subarray = find("SUBARRAY");
    setup = find("FREQ");
    antennas = find("ANTS");
    times = find("TIME");
    IFs = find("IFS");
    channels = find("CHANS");
    polarisations = find("PFLAGS");
  }
};

// Reads the rows of a table into entries.
class FlagTableReader {
 public:
  FlagTableReader(const AUVXContents& contents, const AUVXTable& table)
      : contents_(contents), table_(table), columns_(table), date_(contents.header().info.dateObs) {}

  AResult Check(const std::string& path) const;
  /// @return whether the row flags anything
  bool Read(int row, FlagEntry& entry) const;

 private:
  int Whole(int row, int column, int element, int otherwise) const;
  bool ReadTimes(int row, FlagEntry& entry) const;
  unsigned Polarisations(int row) const;

  const AUVXContents& contents_;
  const AUVXTable& table_;
  const FlagColumns columns_;
  const double date_;
};

AResult FlagTableReader::Check(const std::string& path) const {
  const auto lacks = [&](int column, int elements) {
    return column < 0 || table_.ColumnOffset(column) < 0 || table_.ParseFormat(column).count < elements;
  };
  const std::pair<const char*, bool> needed[] = {{"TIME RANGE", lacks(columns_.times, 2)},
                                                 {"ANTS", lacks(columns_.antennas, 2)},
                                                 {"IFS", lacks(columns_.IFs, 2)},
                                                 {"CHANS", lacks(columns_.channels, 2)},
                                                 {"PFLAGS", lacks(columns_.polarisations, 1)}};
  for (const auto& [name, isMissing] : needed) {
    if (!isMissing) continue;
    return AResult::Fail(path + ": its table " + table_.Code() + " is no table of flags: it lacks a column " + name +
                         " of enough elements");
  }
  if (table_.rows() == 0 || CalendarDate(date_).year > 0) return AResult::Ok();
  return AResult::Fail(path + ": the times of its table " + table_.Code() +
                       " count from an observation date that is not known");
}

// An element above 0, otherwise the default.
int FlagTableReader::Whole(int row, int column, int element, int otherwise) const {
  const double number = table_.Number(row, column, element);
  return number > 0 ? static_cast<int>(std::min(number, 1e9)) : otherwise;
}

bool FlagTableReader::ReadTimes(int row, FlagEntry& entry) const {
  const double begin = table_.Number(row, columns_.times, 0), end = table_.Number(row, columns_.times, 1);
  if (begin == 0 && end == 0) return true;
  // Days in single precision are accurate to a few ms.
  const double rounding = table_.ParseFormat(columns_.times).type == 'E' ? 0x1p-24 : 0;
  entry.begin = date_ + begin - std::fabs(begin) * rounding - FlagEntry::kTimeTolerance;
  entry.end = date_ + end + std::fabs(end) * rounding + FlagEntry::kTimeTolerance;
  return entry.begin <= entry.end;
}

// Bits of a row, the first of which are in the last byte, or numbers that stand for bits.
unsigned FlagTableReader::Polarisations(int row) const {
  const AXTblFormat format = table_.ParseFormat(columns_.polarisations);
  const auto* bytes = reinterpret_cast<const uint8_t*>(table_.Row(row) + table_.ColumnOffset(columns_.polarisations));
  unsigned mask = 0;
  for (int i = 0; i < std::min<int>(format.count, AUVXStokes::kLargestCount); ++i) {
    const bool isSet = format.type == 'X' ? bytes[(format.count + 7) / 8 - 1 - i / 8] >> (7 - i % 8) & 1
                                          : table_.Number(row, columns_.polarisations, i) > 0;
    if (isSet) mask |= 1u << i;
  }
  return mask;
}

bool FlagTableReader::Read(int row, FlagEntry& entry) const {
  entry = FlagEntry();
  entry.source = Whole(row, columns_.source, 0, FlagEntry::kAll);
  entry.subarray = Whole(row, columns_.subarray, 0, FlagEntry::kAll);
  // No setup has the number 0, which many writers use for all of them, like -1.
  entry.setup = Whole(row, columns_.setup, 0, FlagEntry::kAll);
  entry.antenna = Whole(row, columns_.antennas, 0, FlagEntry::kAll);
  entry.partner = Whole(row, columns_.antennas, 1, FlagEntry::kAll);
  if (entry.antenna == FlagEntry::kAll) std::swap(entry.antenna, entry.partner);
  entry.firstIF = Whole(row, columns_.IFs, 0, 1) - 1;
  entry.lastIF = Whole(row, columns_.IFs, 1, std::numeric_limits<int>::max()) - 1;
  entry.firstChannel = Whole(row, columns_.channels, 0, 1) - 1;
  entry.lastChannel = Whole(row, columns_.channels, 1, std::numeric_limits<int>::max()) - 1;
  entry.polarisations = Polarisations(row);
  const AUVXHeader& header = contents_.header();
  const unsigned stored = (1u << header.stokes.count()) - 1;
  return ReadTimes(row, entry) && (entry.polarisations & stored) && entry.antenna <= 255 && entry.partner <= 255 &&
         entry.firstIF <= std::min(entry.lastIF, std::max(int{header.IFs}, 1) - 1) &&
         entry.firstChannel <= std::min<int>(entry.lastChannel, header.channels - 1);
}

}  // namespace

// FlagEntry

bool FlagEntry::IsAbout(const AUVXGroup& group, int subarrayOfRecord) const {
  if (source != kAll && source != group.sourceNo()) return false;
  if (setup != kAll && setup != group.freqSel()) return false;
  if (subarray != kAll && subarray != subarrayOfRecord) return false;
  const int one = static_cast<uint8_t>(group.ant1), two = static_cast<uint8_t>(group.ant2);
  if (partner == kAll) return antenna == kAll || antenna == one || antenna == two;
  return (antenna == one && partner == two) || (antenna == two && partner == one);
}

// FlagEntries

void FlagEntries::Settle() {
  std::stable_sort(entries_.begin(), entries_.end(),
                   [](const FlagEntry& a, const FlagEntry& b) { return a.begin < b.begin; });
  latest_.resize(entries_.size());
  SetLatest(0, entries_.size());
  for (const FlagEntry& entry : entries_) {
    ends_.push_back(entry.end);
    needsSubarrays_ |= entry.subarray != FlagEntry::kAll;
  }
  std::sort(ends_.begin(), ends_.end());
}

double FlagEntries::SetLatest(size_t begin, size_t end) {
  if (begin == end) return std::numeric_limits<double>::lowest();
  const size_t middle = begin + (end - begin) / 2;
  const double sides = std::max(SetLatest(begin, middle), SetLatest(middle + 1, end));
  return latest_[middle] = std::max(sides, entries_[middle].end);
}

void FlagEntries::MoveTo(double time) {
  const auto begins = std::upper_bound(entries_.begin(), entries_.end(), time,
                                       [](double at, const FlagEntry& entry) { return at < entry.begin; });
  const auto ends = std::lower_bound(ends_.begin(), ends_.end(), time);
  const std::pair<size_t, size_t> passed = {begins - entries_.begin(), ends - ends_.begin()};
  if (passed == std::exchange(passed_, passed)) return;
  for (auto& list : current_) list.clear();
  Collect(0, entries_.size(), time);
}

// Collect the entries that apply at a time, in the tree of the entries from `begin` up to, but not including, `end`.
void FlagEntries::Collect(size_t begin, size_t end, double time) {
  const size_t middle = begin + (end - begin) / 2;
  if (begin == end || latest_[middle] < time) return;
  Collect(begin, middle, time);
  const FlagEntry& entry = entries_[middle];
  if (entry.begin > time) return;
  if (entry.end >= time) current_[static_cast<size_t>(entry.antenna + 1)].push_back(&entry);
  Collect(middle + 1, end, time);
}

AResult ReadFlagTable(const std::string& path, const AUVXContents& contents, const AUVXTable& table,
                      FlagEntries& entries, FlagListNotes& notes) {
  const FlagTableReader reader(contents, table);
  if (AResult result = reader.Check(path); !result) return result;
  if (static_cast<size_t>(table.rows()) > FlagEntries::kMost) {
    return AResult::Fail(path + ": its table " + table.Code() + " has more than " + std::to_string(FlagEntries::kMost) +
                         " rows");
  }
  FlagEntry entry;
  for (int row = 0; row < table.rows(); ++row) {
    if (reader.Read(row, entry)) {
      entries.Add(entry);
    } else {
      ++notes.empty;
    }
  }
  entries.Settle();
  return AResult::Ok();
}

}  // namespace zeltra
