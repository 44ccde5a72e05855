// SPDX-License-Identifier: MIT
#include "zeltra/ops/RecordChoice.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <set>
#include <utility>

#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/ops/RecordWalk.h"

namespace zeltra {
namespace {

// Records this close to a time limit, days, are inside: a Julian date in double precision is accurate to 0.04 ms.
constexpr double kTimeTolerance = 5e-5 / kSecondsPerDay;
constexpr size_t kBaselines = 1 << 16;
// The most items that a sentence lists.
constexpr size_t kMostNamed = 20;

// The middle of the frequencies of a setup, Hz; 0 if it has none.
double MiddleOf(const AUVXFqTbl& setups, int row, const std::vector<int>& IFs, const std::vector<int>& channels) {
  if (channels.empty()) return 0;
  double lowest = std::numeric_limits<double>::infinity(), highest = 0;
  for (const int i : IFs) {
    for (const int channel : {channels.front(), channels.back()}) {
      const double frequency = setups.GetFreq(channel, i, row);
      if (!(frequency > 0)) continue;  // a row may lack an IF
      lowest = std::min(lowest, frequency);
      highest = std::max(highest, frequency);
    }
  }
  return highest > 0 ? (lowest + highest) / 2 : 0;
}

}  // namespace

// What occurs among the records of the selected sources, setups and scans.
struct RecordChoice::Survey {
  std::set<std::pair<int, int>> streams;  // sources and setups of all records
  std::set<int> antennas;
  int64 records = 0;
  bool hasTaken = false;
  bool hasTime = false, hasBaseline = false, hasUV = false;  // whether any record meets this condition
  double first = std::numeric_limits<double>::infinity(), last = -first;
  double nearest = std::numeric_limits<double>::infinity(), farthest = 0;
};

AResult RecordChoice::Open(AUVXInput& input, const UVXSelection& selection, unsigned leftOut) {
  *this = RecordChoice();
  const AUVXContents& contents = input.contents();
  start_ = selection.start;
  stop_ = selection.stop;
  if (AResult result = contents.SettleTimes(start_, stop_); !result) return result;
  hasTimes_ = start_ || stop_;
  first_ = start_.value_or(-HUGE_VAL).value - kTimeTolerance;
  last_ = stop_.value_or(HUGE_VAL).value + kTimeTolerance;
  if (AResult result = FindScans(input, selection); !result) return result;
  if (AResult result = FindBaselines(contents, selection, !(leftOut & Antennas)); !result) return result;
  if (!(leftOut & UVDistances)) uvRange_ = selection.uvRange;
  return uvRange_.IsLimited() ? FindFrequencies(input, selection) : AResult::Ok();
}

AResult RecordChoice::FindScans(AUVXInput& input, const UVXSelection& selection) {
  const AUVXContents& contents = input.contents();
  const AUVXPosition& scans = contents.scans();
  for (const std::string& name : selection.sources) {
    int source = 0;
    if (AResult result = contents.FindSource(name, source); !result) return result;
    wantedSources_.push_back(source);
  }
  std::sort(wantedSources_.begin(), wantedSources_.end());
  setup_ = selection.setup;
  std::vector<int> places;
  if (!selection.scans.empty()) {
    if (AResult result = contents.CheckScans(); !result) return result;
    AResult result = SettlePlaces(input.path(), "scan", selection.scans, scans.count(), places);
    if (!result) return result;
    for (const int place : places) stretches_.push_back({scans(place).startVis - 1, scans(place).endVis});
  }
  scans_.assign(static_cast<size_t>(scans.count()), places.empty());
  for (const int place : places) scans_[static_cast<size_t>(place)] = true;
  std::set<int> sources;
  for (int i = 0; i < scans.count(); ++i) {
    const AUVXPositionItem& scan = scans(i);
    const bool isOfSource =
        wantedSources_.empty() || std::binary_search(wantedSources_.begin(), wantedSources_.end(), int{scan.sourceId});
    const size_t place = static_cast<size_t>(i);
    scans_[place] = scans_[place] && isOfSource && setup_.value_or(scan.freqId) == scan.freqId;
    if (scans_[place]) sources.insert(scan.sourceId);
  }
  sources_.assign(sources.begin(), sources.end());
  return sources_.empty() && scans.count() > 0 ? NoScan(input, contents, selection) : AResult::Ok();
}

// The failure of a selection that matches no scan of the index.
AResult RecordChoice::NoScan(const AUVXInput& input, const AUVXContents& contents,
                             const UVXSelection& selection) const {
  const AUVXPosition& scans = contents.scans();
  std::set<int> setups;
  for (int i = 0; i < scans.count(); ++i) {
    const int source = scans(i).sourceId;
    const bool isOfSource =
        wantedSources_.empty() || std::binary_search(wantedSources_.begin(), wantedSources_.end(), source);
    if (isOfSource) setups.insert(scans(i).freqId);
  }
  if (setup_ && !setups.contains(*setup_)) {
    std::string list;
    for (const int setup : setups) list += (list.empty() ? "" : ", ") + std::to_string(setup);
    return AResult::Fail(input.path() + ": no record of frequency setup " + std::to_string(*setup_) + "; there are " +
                         list);
  }
  std::string list;
  for (size_t i = 0; i < std::min(selection.scans.size(), kMostNamed); ++i) {
    const AUVXPositionItem& scan = scans(selection.scans[i]);
    list += (i == 0 ? "" : ", ") + std::to_string(selection.scans[i] + 1) + " of source " +
            contents.SourceList({scan.sourceId}) + " in setup " + std::to_string(scan.freqId);
  }
  return AResult::Fail(input.path() + ": no record is selected; the scans are " + list);
}

AResult RecordChoice::FindBaselines(const AUVXContents& contents, const UVXSelection& selection, bool withAntennas) {
  std::set<int> antennas;
  for (const std::string& name : selection.antennas) {
    int number = 0;
    if (AResult result = contents.FindAntenna(name, number); !result) return result;
    antennas.insert(number);
  }
  std::set<std::pair<int, int>> pairs;
  for (const std::string& name : selection.baselines) {
    int first = 0, second = 0;
    if (AResult result = contents.FindBaseline(name, first, second); !result) return result;
    pairs.insert(std::minmax(first, second));
  }
  if (!withAntennas) antennas.clear();
  if (antennas.empty() && pairs.empty()) return AResult::Ok();
  baselines_.resize(kBaselines);
  for (int key = 0; key < static_cast<int>(kBaselines); ++key) {
    const int ant1 = key >> 8, ant2 = key & 0xFF;
    const bool has1 = antennas.contains(ant1), has2 = antennas.contains(ant2);
    const bool isOfAntennas = antennas.empty() || (antennas.size() == 1 ? has1 || has2 : has1 && has2);
    const bool isOfPairs = pairs.empty() || pairs.contains(std::minmax(ant1, ant2));
    baselines_[static_cast<size_t>(key)] = isOfAntennas && isOfPairs;
  }
  return AResult::Ok();
}

AResult RecordChoice::FindFrequencies(AUVXInput& input, const UVXSelection& selection) {
  const AUVXFile& uvx = input.uvx();
  std::vector<int> IFs, channels;
  AResult result = SettlePlaces(input.path(), "IF", selection.IFs, std::max(uvx.IFs(), 1), IFs);
  if (result) result = SettlePlaces(input.path(), "channel", selection.channels, uvx.channels(), channels);
  if (!result) return result;
  const AUVXFqTbl& setups = input.contents().setups();
  // Without a table, or for a setup without a row, the frequencies are those of AUVXFreqs.
  frequencies_.fill(setups.GetFreqSels() > 0 ? MiddleOf(setups, 0, IFs, channels) : uvx.freq0());
  for (int row = 0; row < setups.GetFreqSels(); ++row) {
    const int setup = setups.GetFreqSelID(row);
    if (setup != static_cast<int8_t>(setup) || setups.GetFreqSelNum(setup) != row) continue;
    frequencies_[static_cast<uint8_t>(setup)] = MiddleOf(setups, row, IFs, channels);
  }
  return AResult::Ok();
}

bool RecordChoice::TakesScanOf(const AUVXGroup& group, int record) const {
  if (setup_ && *setup_ != group.freqSel()) return false;
  if (!wantedSources_.empty() && !std::binary_search(wantedSources_.begin(), wantedSources_.end(), group.sourceNo())) {
    return false;
  }
  if (stretches_.empty()) return true;
  const auto isBefore = [](int number, const Stretch& stretch) { return number < stretch.first; };
  const auto next = std::upper_bound(stretches_.begin(), stretches_.end(), record, isBefore);
  return next != stretches_.begin() && record < std::prev(next)->end;
}

double RecordChoice::UVDistance(const AUVXGroup& group) const {
  return std::sqrt(group.u() * group.u() + group.v() * group.v()) * frequencies_[static_cast<uint8_t>(group.frqsel)];
}

void RecordChoice::Look(Survey& survey, const AUVXGroup& group, int record) const {
  if (survey.streams.size() <= kMostNamed) survey.streams.insert({group.sourceNo(), group.freqSel()});
  if (!TakesScanOf(group, record)) return;
  ++survey.records;
  survey.hasTaken = survey.hasTaken || Takes(group, record);
  survey.first = std::min(survey.first, double{group.date});
  survey.last = std::max(survey.last, double{group.date});
  survey.hasTime = survey.hasTime || TakesTime(group.date);
  for (const int8_t antenna : {group.ant1, group.ant2}) survey.antennas.insert(static_cast<uint8_t>(antenna));
  survey.hasBaseline = survey.hasBaseline || baselines_.empty() || baselines_[KeyOf(group)];
  const double distance = UVDistance(group);
  survey.nearest = std::min(survey.nearest, distance);
  survey.farthest = std::max(survey.farthest, distance);
  survey.hasUV = survey.hasUV || !uvRange_.IsLimited() || uvRange_.Holds(distance);
}

AResult RecordChoice::NothingSelected(AUVXInput& input, const JobOptions& options) const {
  const AUVXContents& contents = input.contents();
  Survey survey;
  SendProgressText(options.progress, "Surveying records...");
  AResult result = WalkRecords(input, options, 0, input.uvx().count(), [&](const WalkedRecord& record) {
    Look(survey, record.group, record.index);
    return true;
  });
  if (!result) return result;
  if (survey.hasTaken) return AResult::Fail(input.path() + ": all records that are selected are flagged");
  std::string sentence = input.path() + ": no record is selected";
  if (survey.records == 0) {
    std::string list;
    for (const auto& [source, setup] : survey.streams) {
      list += (list.empty() ? "" : ", ") + ("source " + contents.SourceList({source})) + " in setup " +
              std::to_string(setup);
    }
    return AResult::Fail(sentence + "; there are " + (list.empty() ? "none" : list));
  }
  const bool hasAll = survey.hasTime && survey.hasBaseline && survey.hasUV;
  if (hasAll) sentence += ", though each condition alone leaves some";
  if (!survey.hasTime || hasAll) {
    const std::string sources = wantedSources_.empty() ? "" : " of source " + contents.SourceList(wantedSources_);
    sentence += "; the times of the records" + sources + " are " + DateAndTime(survey.first) + " to " +
                DateAndTime(survey.last) + " " + contents.timeScale();
  }
  if (!survey.hasBaseline) {
    std::string list;
    for (const int antenna : survey.antennas) list += (list.empty() ? "" : ", ") + contents.NumberAndName(antenna);
    sentence += "; there is no baseline between the antennas asked for, there are " + list;
  }
  if (!survey.hasUV) {
    sentence += "; the uv distances are " + SuffixedNumber(survey.nearest) + " to " + SuffixedNumber(survey.farthest) +
                " wavelengths";
  }
  return AResult::Fail(sentence);
}

}  // namespace zeltra
