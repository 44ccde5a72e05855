// SPDX-License-Identifier: MIT
#include "zeltra/ops/AUVXContents.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>
#include <utility>

#include "zeltra/core/BlockReaderInternal.h"
#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {
namespace {

// The most items that a sentence lists.
constexpr size_t kMostNamed = 30;

constexpr int kRR = -1, kLL = -2, kXX = -5, kYY = -6, kI = 1;  // polarisation codes

// A word for a source or an antenna, as a number or a name.
struct AWord {
  std::optional<int> number;
  std::string name;

  explicit AWord(const std::string& text) : name(text) {
    int value = 0;
    const bool isOfDigits = text.find_first_not_of("0123456789") == text.npos;
    if (isOfDigits && strToVal(text, value)) number = value;
    if (text.starts_with('=')) name.erase(0, 1);
  }
};

std::string Joined(const std::vector<std::string>& names) {
  std::string list;
  for (size_t i = 0; i < std::min(names.size(), kMostNamed); ++i) list += (i == 0 ? "" : ", ") + names[i];
  if (names.size() > kMostNamed) list += " and " + std::to_string(names.size() - kMostNamed) + " more";
  return list.empty() ? "none" : list;
}

std::string Named(int number, const std::string& name) {
  return std::to_string(number) + (name.empty() ? "" : " (" + name + ")");
}

const char* const kRemedy = "; 'zeltra copy' writes a file with a new one";

UVXTableSummary Summarise(const AUVXTableItem& item, const AUVXTable* table) {
  AUVXTable unread;
  unread.SetID(int{item.ID});
  UVXTableSummary summary;
  summary.code = unread.Code();
  summary.id = unread.ID();
  summary.name = unread.IDtoStr();
  summary.bytes = item.size;
  summary.offset = item.position;
  summary.isDamaged = !table;
  if (!table) return summary;
  summary.rows = table->rows();
  summary.columns = table->columnCount();
  summary.rowBytes = table->rowBytes();
  return summary;
}

// Some writers use the name that this keyword has elsewhere in FITS. Empty if there is none.
std::string StatedTimeScale(const AUVXTable& antennas) {
  std::string scale;
  for (const char* name : {"TIMESYS", "TIMSYS"}) {
    for (int i = 0; i < antennas.keywords().count(); ++i) {
      const AUVXTableKeyWord& word = antennas.keywords()(i);
      const std::string value = Trimmed(word.Value());
      if (word.Key() == name && !value.empty()) scale = value;
    }
  }
  std::transform(scale.begin(), scale.end(), scale.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
  return scale;
}

}  // namespace

AUVXContents::AUVXContents(AUVXInput& input)
    : path_(input.path()),
      records_(input.uvx().count()),
      header_(input.uvx()),
      scans_(std::make_shared<AUVXPosition>()),
      setups_(input.uvx()) {
  for (int i = 0; i < header_.stokes.count(); ++i) {
    polarisations_.push_back(AStokesItem(i, header_.stokes(i)).asShortString());
  }
  ReadTables(input);
  if (hasAntennaTable_) return;
  if (const auto baseLines = input.Table("BL")) {
    AUVXBaseLines present(*baseLines);
    antennas_ = AUVXAntenns(present);
  }
}

void AUVXContents::ReadTables(AUVXInput& input) {
  const AUVXTableHeader directory(input.uvx());
  for (int i = 0; i < directory.count(); ++i) {
    const std::unique_ptr<AUVXTable> table = input.Table(directory(i));
    tables_.push_back(Summarise(directory(i), table.get()));
    if (!table) continue;
    const auto isFirst = [&](const char* code) { return directory.HasTable(code) == i; };
    if (isFirst("NX")) scans_->Init(*table);
    if (isFirst("SU")) sources_.Init(*table);
    if (isFirst("HD")) cards_ = AUVXHeaderCards(*table);
    if (isFirst("IT")) integrations_ = AUVXIntegrations(*table, records_);
    if (isFirst("AN")) {
      antennas_.Init(*table);
      hasAntennaTable_ = true;
      if (const std::string scale = StatedTimeScale(*table); !scale.empty()) timeScale_ = scale;
    }
  }
}

std::string AUVXContents::Damaged(const UVXTableSummary& table) const {
  return path_ + ": the table " + table.code + " at byte " + std::to_string(table.offset) + " is damaged";
}

std::vector<std::string> AUVXContents::Remarks() const {
  std::vector<std::string> remarks;
  for (const UVXTableSummary& table : tables_) {
    if (table.isDamaged) remarks.push_back(Damaged(table));
  }
  return remarks;
}

AResult AUVXContents::CheckLists() const {
  for (const UVXTableSummary& table : tables_) {
    const bool isNeeded = table.code == "NX" || table.code == "SU" || table.code == "AN" || table.code == "FQ";
    if (isNeeded && table.isDamaged) return AResult::Fail(Damaged(table));
  }
  return AResult::Ok();
}

AResult AUVXContents::CheckScans() const {
  if (scans().count() == 0 && records_ > 0) return AResult::Fail(path_ + ": has no index table NX" + kRemedy);
  int64 next = 1;
  for (int i = 0; i < scans().count(); ++i) {
    const AUVXPositionItem& scan = scans()(i);
    if (scan.startVis != next || scan.endVis < next || scan.endVis > records_) {
      return AResult::Fail(path_ + ": the index table NX does not follow the records at number " +
                           std::to_string(next) + kRemedy);
    }
    next = int64{scan.endVis} + 1;
  }
  if (next == int64{records_} + 1) return AResult::Ok();
  return AResult::Fail(path_ + ": the index table NX ends at record number " + std::to_string(next - 1) + " of " +
                       std::to_string(records_) + kRemedy);
}

AResult AUVXContents::CheckIndex(AUVXInput& input, const ScanVisitor& visit) const {
  if (AResult result = CheckScans(); !result) return result;
  const AUVXFile& uvx = input.uvx();
  BlockReader reader(input.file());
  for (int i = 0; i < scans().count(); ++i) {
    const AUVXPositionItem& scan = scans()(i);
    AUVXGroup ends[2];
    for (int k = 0; k < 2; ++k) {
      const int record = (k == 0 ? scan.startVis : scan.endVis) - 1;
      reader.Seek(uvx.DataOffset() + int64{record} * uvx.recSize());
      char* bytes = reader.Next(AUVXGroup::kBytes);
      if (!bytes) return AResult::Fail(path_ + ": cannot be read in record " + std::to_string(record + 1));
      ends[k].load(bytes);
      if (ends[k].sourceNo() != scan.sourceId || ends[k].freqSel() != scan.freqId) return IndexDenies(record, ends[k]);
    }
    if (visit) visit(scan, ends[0], ends[1]);
  }
  return AResult::Ok();
}

AResult AUVXContents::ReadTimes(AUVXInput& input, AUVXPositionItem& scan) const {
  double seconds[2];
  for (int k = 0; k < 2; ++k) {
    const int record = (k == 0 ? scan.startVis : scan.endVis) - 1;
    if (record < 0 || record >= records_) return AResult::Ok();
    double date;
    if (!input.ReadTime(record, date)) {
      return AResult::Fail(path_ + ": cannot be read in record " + std::to_string(record));
    }
    // Rounded to 0.1 ms, since a Julian date is accurate to 0.04 ms.
    seconds[k] = std::round((date - header_.info.dateObs) * (kSecondsPerDay * 1e4)) / 1e4;
    if (!std::isfinite(seconds[k])) return AResult::Ok();
  }
  scan.start = std::min(seconds[0], seconds[1]);
  scan.duration = std::round(std::fabs(seconds[1] - seconds[0]) * 1e4) / 1e4;
  return AResult::Ok();
}

AResult AUVXContents::IndexDenies(int record, const AUVXGroup& group) const {
  return AResult::Fail(path_ + ": record " + std::to_string(record + 1) + " is of source " +
                       std::to_string(group.sourceNo()) + " in setup " + std::to_string(group.freqSel()) +
                       ", which the index table NX denies" + kRemedy);
}

std::vector<int> AUVXContents::SourceNumbers() const {
  std::set<int> numbers;
  for (int i = 0; i < scans().count(); ++i) numbers.insert(scans()(i).sourceId);
  return {numbers.begin(), numbers.end()};
}

std::string AUVXContents::SourceList(const std::vector<int>& numbers) const {
  std::vector<std::string> names;
  for (const int number : numbers) names.push_back(Named(number, SourceName(number)));
  return Joined(names);
}

std::string AUVXContents::SourceName(int number) const {
  const int place = sources_.IndexForID(number);
  return place >= 0 ? sources_(place).Name() : "";
}

SkyPosition AUVXContents::PositionOf(const AUVXSourceItem& source) const {
  // A negative equinox marks coordinates of that equinox stored in place of apparent ones.
  const bool atEquinox = source.epoch > 0 && (source.raEpoch != 0 || source.decEpoch != 0);
  const double equinox = source.epoch != 0 ? std::fabs(source.epoch) : header_.info.epoch;
  if (atEquinox) return {source.raEpoch, source.decEpoch, equinox};
  return {source.raApp, source.decApp, equinox};
}

std::string AUVXContents::AntennaName(int number) const {
  const int place = antennas_.IndexForID(number);
  const std::string name = place >= 0 ? antennas_(place).Name() : "";
  return name.empty() ? std::to_string(number) : name;
}

std::string AUVXContents::NumberAndName(int antenna) const {
  const int place = antennas_.IndexForID(antenna);
  return Named(antenna, place >= 0 ? antennas_(place).Name() : "");
}

AResult AUVXContents::FindSource(const std::string& text, int& number) const {
  const std::vector<int> present = SourceNumbers();
  // Without an index, it is unknown which sources have records.
  const auto hasRecords = [&](int n) {
    return present.empty() || std::binary_search(present.begin(), present.end(), n);
  };
  const AWord word(text);
  if (word.number) {
    number = *word.number;
    if (hasRecords(number)) return AResult::Ok();
  }
  for (int i = 0; i < sources_.count() && !word.number; ++i) {
    number = sources_(i).id;
    if (IsSameWord(sources_(i).Name(), word.name) && hasRecords(number)) return AResult::Ok();
  }
  return AResult::Fail(path_ + ": no record of source " + text + "; there are " + SourceList(present));
}

std::string AUVXContents::AntennaList() const {
  std::vector<std::string> names;
  for (int i = 0; i < antennas_.count(); ++i) names.push_back(Named(antennas_(i).id, antennas_(i).Name()));
  return Joined(names);
}

AResult AUVXContents::FindAntenna(const std::string& text, int& number) const {
  const AWord word(text);
  for (int i = 0; i < antennas_.count(); ++i) {
    if (word.number ? antennas_(i).id != *word.number : !IsSameWord(antennas_(i).Name(), word.name)) continue;
    number = antennas_(i).id & 0xFF;
    return AResult::Ok();
  }
  return AResult::Fail(path_ + ": no antenna " + text + "; there are " + AntennaList());
}

// Names may contain hyphens, so every hyphen is tried.
AResult AUVXContents::FindBaseline(const std::string& text, int& first, int& second) const {
  AResult result = AResult::Fail(text + ": not a baseline, which is written as in 2-5");
  for (size_t hyphen = text.find('-'); hyphen != std::string::npos; hyphen = text.find('-', hyphen + 1)) {
    result = FindAntenna(text.substr(0, hyphen), first);
    if (result) result = FindAntenna(text.substr(hyphen + 1), second);
    if (result) return result;
  }
  return result;
}

std::vector<std::string> AUVXContents::RemarksOn(const UVXSelection& selection) const {
  std::vector<std::string> remarks;
  const auto look = [&](const char* what, const std::string& text, const auto& list) {
    const AWord word(text);
    for (int i = 0; i < list.count() && word.number; ++i) {
      if (list(i).id == *word.number || list(i).Name() != word.name) continue;
      remarks.push_back(std::string(what) + " " + text + " is number " + text + "; =" + text +
                        " is the one of that name");
      return;
    }
  };
  for (const std::string& text : selection.sources) look("source", text, sources_);
  for (const std::string& text : selection.antennas) look("antenna", text, antennas_);
  for (const std::string& text : selection.baselines) {
    const size_t hyphen = text.find('-');
    look("antenna", text.substr(0, hyphen), antennas_);
    if (hyphen != text.npos) look("antenna", text.substr(hyphen + 1), antennas_);
  }
  return remarks;
}

AResult AUVXContents::FindPolarisation(const std::string& text, AStokesMix& mix) const {
  const std::unique_ptr<AArray<AStokesMix>> list(toListMix(header_.stokes));
  std::vector<std::string> names;
  for (int i = 0; i < list->count(); ++i) {
    mix = (*list)(i);
    names.push_back(mix.asShortString());
    if (IsSameWord(names.back(), text)) return AResult::Ok();
  }
  names.push_back("PI");
  return AResult::Fail(path_ + ": no polarisation " + text + "; there are " + Joined(names));
}

AResult AUVXContents::FindPolarisation(const std::string& text, PolarisationChoice& polarisation) const {
  AStokesMix mix;
  const bool isPI = IsSameWord(text, "PI");
  AResult result = FindPolarisation(isPI ? "I" : text, mix);
  polarisation = mix;
  if (!isPI && !IsSameWord(text, "I")) return result;
  for (const auto& [first, second] : {std::pair(kRR, kLL), std::pair(kXX, kYY)}) {
    int p = -1, q = -1;
    const bool hasFirst = header_.stokes.FindStokes(first, p), hasSecond = header_.stokes.FindStokes(second, q);
    if (result || !(isPI ? hasFirst || hasSecond : hasFirst && hasSecond)) continue;
    polarisation = hasFirst && hasSecond ? AStokesMix(kI, AStokesItem(p, first), AStokesItem(q, second))
                                         : AStokesMix(0, AStokesItem(hasFirst ? p : q, kI), AStokesItem());
    result = AResult::Ok();
  }
  polarisation.isPartial = isPI && polarisation.mix.id != 0;
  if (isPI) polarisation.name = "PI";
  return result;
}

AResult AUVXContents::FindPolarisations(const std::vector<std::string>& names,
                                        std::vector<PolarisationChoice>& list) const {
  list.clear();
  PolarisationChoice polarisation;
  for (int i = 0; names.empty() && i < header_.stokes.count(); ++i) {
    list.push_back(AStokesMix(0, AStokesItem(i, header_.stokes(i)), AStokesItem()));
  }
  for (const std::string& name : names) {
    if (AResult result = FindPolarisation(name, polarisation); !result) return result;
    list.push_back(polarisation);
  }
  return AResult::Ok();
}

AResult AUVXContents::FindValues(const UVXSelection& selection, ValuesChoice& values) const {
  AResult result = SettlePlaces(path_, "IF", selection.IFs, std::max(int{header_.IFs}, 1), values.IFs);
  if (result) result = SettlePlaces(path_, "channel", selection.channels, header_.channels, values.channels);
  return result ? FindPolarisations(selection.stokes, values.polarisations) : result;
}

// 0 h of the day that times of day refer to: that of the first record if DATE-OBS belongs to another observation.
double AUVXContents::FirstDay() const {
  AUVXMinMax range = header_.range;
  const double first = range.time().minimum, date = header_.info.dateObs;
  constexpr double kDays = 2;  // an observation may begin on the following day
  const bool isOther = CalendarDate(first).year != 0 && !(first >= date && first < date + kDays);
  return isOther ? MidnightBefore(first) : date;
}

AResult AUVXContents::SettleTimes(std::optional<ATime>& start, std::optional<ATime>& stop) const {
  for (std::optional<ATime>* time : {&start, &stop}) {
    if (!*time || !(*time)->isRelative) continue;
    if (CalendarDate(header_.info.dateObs).year == 0) {
      return AResult::Fail(path_ + ": has no observation date, so times need a date");
    }
    *time = (*time)->JulianDate(FirstDay());
  }
  return AResult::Ok();
}

}  // namespace zeltra
