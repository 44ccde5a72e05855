// SPDX-License-Identifier: MIT
#include "zeltra/ops/SelectedVisibilities.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <mutex>
#include <optional>

#include "zeltra/core/Text.h"
#include "zeltra/ops/AverageUVX.h"
#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/uvx/AUVXFreqs.h"

namespace zeltra {
namespace {

constexpr int kRR = -1, kLL = -2, kXX = -5, kYY = -6, kI = 1;

bool IsParallelHand(int code) {
  return code == kRR || code == kLL || code == kXX || code == kYY || code == kI;
}

}  // namespace

AResult SelectedVisibilities::Select(const UVXSelection& selection, Preference preference, unsigned leftOut) {
  if (AResult result = contents_.CheckLists(); !result) return result;
  if (AResult result = contents_.CheckIndex(input_); !result) return result;
  if (AResult result = choice_.Open(input_, selection, leftOut | RecordChoice::UVDistances); !result) return result;
  uvRange_ = selection.uvRange;
  takesFlagged_ = selection.flagged;
  if (AResult result = SelectSource(); !result) return result;
  if (AResult result = SelectStokes(selection.stokes, preference); !result) return result;
  records_ = selection;
  records_.sources = {std::to_string(source_.id)};
  records_.stokes.clear();
  records_.IFs.clear();
  records_.channels.clear();
  records_.uvRange = {};  // applied to visibilities, at their own frequencies
  return SelectFrequencies(selection);
}

AResult SelectedVisibilities::SelectSource() {
  const std::vector<int>& numbers = choice_.sources();
  if (numbers.size() > 1) {
    return AResult::Fail(input_.path() + ": one of its sources has to be chosen: " + contents_.SourceList(numbers));
  }
  const int number = numbers.empty() ? 0 : numbers.front();
  const int place = contents_.sources().IndexForID(number);
  source_ = place >= 0 ? contents_.sources()(place) : AUVXSourceItem();
  source_.id = number;
  return AResult::Ok();
}

AResult SelectedVisibilities::SelectStokes(const std::vector<std::string>& wanted, Preference preference) {
  const AUVXStokes& stored = contents_.header().stokes;
  if (stored.count() < 1) return AResult::Fail(input_.path() + ": its records hold no polarisations");
  if (!wanted.empty()) return contents_.FindPolarisations(wanted, polarisations_);
  polarisations_.clear();
  PolarisationChoice intensity;
  if (preference == TotalIntensity && contents_.FindPolarisation("I", intensity)) polarisations_.push_back(intensity);
  for (int i = 0; preference == ParallelHands && i < stored.count(); ++i) {
    if (IsParallelHand(stored(i))) polarisations_.push_back(AStokesMix(0, AStokesItem(i, stored(i)), AStokesItem()));
  }
  if (!polarisations_.empty()) return AResult::Ok();
  AResult result = contents_.FindPolarisations({}, polarisations_);
  if (preference == TotalIntensity) polarisations_.resize(1);
  return result;
}

std::string SelectedVisibilities::PolarisationNames() const {
  std::string names;
  for (const PolarisationChoice& polarisation : polarisations_)
    names += (names.empty() ? "" : ", ") + polarisation.name;
  return names;
}

AResult SelectedVisibilities::SelectFrequencies(const UVXSelection& selection) {
  const AUVXFile& uvx = input_.uvx();
  const std::string& path = input_.path();
  AResult result = SettlePlaces(path, "IF", selection.IFs, std::max(uvx.IFs(), 1), IFs_);
  return result ? SettlePlaces(path, "channel", selection.channels, uvx.channels(), channels_) : result;
}

// The frequencies of a setup, and the channel width of each IF.
struct SelectedVisibilities::Setup {
  int number;
  AUVXFreqs frequencies;
  std::vector<double> widths;
};

std::vector<double> SelectedVisibilities::WidthsOf(int setup) const {
  const AUVXFqTbl& setups = contents_.setups();
  std::vector<double> widths;
  // A setup without a row has the frequencies of the first one.
  for (int i = 0; i < std::max(input_.uvx().IFs(), 1); ++i) {
    const double width = std::fabs(setups.GetDeltaIFFq(i, std::max(setups.GetFreqSelNum(setup), 0)));
    widths.push_back(std::isfinite(width) ? width : 0);
  }
  return widths;
}

void SelectedVisibilities::LookUp(int number, std::optional<Setup>& setup) const {
  if (setup && setup->number == number) return;
  // Tables are read at the current position of the file, which all threads share.
  static std::mutex reading;
  const std::lock_guard lock(reading);
  setup = Setup{number, AUVXFreqs(input_.uvx(), number), WidthsOf(number)};
}

AResult SelectedVisibilities::ForEach(const JobOptions& options, const char* step, const Visitor& visit) {
  SendProgressText(options.progress, step);
  return ForEachOf({0, input_.uvx().count()}, options, visit);
}

AResult SelectedVisibilities::ForEachOf(RecordStretch part, const JobOptions& options, const Visitor& visit) {
  std::optional<Setup> setup;
  return WalkRecords(input_, options, choice_, part, [&](const WalkedRecord& record) {
    const AUVXGroup& group = record.group;
    if ((group.flag != 0 && !takesFlagged_) || group.ant1 == group.ant2) return true;
    LookUp(group.freqSel(), setup);
    Visit(record, *setup, visit);
    return true;
  });
}

std::vector<RecordStretch> SelectedVisibilities::Divide(int64 bytes, int most) const {
  const AUVXPosition& scans = contents_.scans();
  int64 records = 0;
  for (int i = 0; i < scans.count(); ++i) {
    if (choice_.TakesScan(i)) records += scans(i).endVis - scans(i).startVis + 1;
  }
  const int64 parts = std::clamp<int64>(records * input_.uvx().recSize() / bytes, 1, most);
  std::vector<RecordStretch> stretches;
  // How many records of the selected scans lie before the end of the next part.
  const auto end = [&] { return records * (std::ssize(stretches) + 1) / parts; };
  int64 before = 0;  // of the scans so far
  int first = 0;
  for (int i = 0; i < scans.count(); ++i) {
    if (!choice_.TakesScan(i)) continue;
    const int64 count = scans(i).endVis - scans(i).startVis + 1;
    while (end() <= before + count && end() < records) {
      const int next = static_cast<int>(scans(i).startVis - 1 + end() - before);
      stretches.push_back({first, next});
      first = next;
    }
    before += count;
  }
  stretches.push_back({first, input_.uvx().count()});
  return stretches;
}

AResult SelectedVisibilities::ForEachMean(const JobOptions& options, double interval, const Visitor& visit) {
  AverageOptions averages;
  static_cast<JobOptions&>(averages) = options;
  averages.selection = records_;
  averages.interval = interval;
  std::optional<Setup> setup;
  return Average(input_, averages, [&](AUVXGroup& group, AUVXVisibility& values) {
    if (group.ant1 == group.ant2) return AResult::Ok();
    LookUp(group.freqSel(), setup);
    Visit({0, group, values.lpArray()}, *setup, visit);
    return AResult::Ok();
  });
}

AResult SelectedVisibilities::FindBusiestAntenna(const JobOptions& options, int& antenna) {
  std::array<int64, 256> counts = {};
  AResult result = ForEach(options, "Counting baselines...", [&](const SelectedVisibility& visibility) {
    ++counts[static_cast<uint8_t>(visibility.group->ant1)];
    ++counts[static_cast<uint8_t>(visibility.group->ant2)];
  });
  int64 most = 0;
  antenna = -1;
  for (int i = 0; i < 256; ++i) {
    const int64 count = counts[static_cast<size_t>(i)];
    if (count <= most || contents_.antennas().IndexForID(i) < 0) continue;
    most = count;
    antenna = i;
  }
  return result;
}

std::string SelectedVisibilities::unit() const {
  const std::string unit = FieldText(contents_.header().info.bunit, sizeof AUVXInfoHeader::bunit);
  return unit == "JY" || unit == "jy" ? "Jy" : unit;
}

AResult SelectedVisibilities::NothingValid(const JobOptions& options, const std::string& remedy) {
  bool isAny = false, hasFlagged = false;
  double nearest = HUGE_VAL, farthest = 0;
  SelectedVisibilities all(*this);
  all.uvRange_ = ARange();
  all.takesFlagged_ = true;
  AResult result = all.ForEach(options, "Surveying visibilities...", [&](const SelectedVisibility& visibility) {
    const double distance = std::hypot(visibility.u, visibility.v);
    isAny = true;
    hasFlagged = hasFlagged || uvRange_.Holds(distance);
    nearest = std::min(nearest, distance);
    farthest = std::max(farthest, distance);
  });
  if (!result) return result;
  const std::string names = PolarisationNames();
  const std::string source = input_.path() + ": source " + contents_.SourceList({source_.id});
  if (hasFlagged) return AResult::Fail(source + ": all weights in " + names + " are 0 or negative" + remedy);
  if (isAny) {
    return AResult::Fail(source + ": no visibility is selected; the uv distances are " + SuffixedNumber(nearest) +
                         " to " + SuffixedNumber(farthest) + " wavelengths");
  }
  bool hasRecord = false;
  result = WalkRecords(input_, options, choice_, [&](const WalkedRecord&) {
    hasRecord = true;
    return false;
  });
  if (!result) return result;
  if (!hasRecord) return choice_.NothingSelected(input_, options);
  return AResult::Fail(source + " has no valid visibility of two antennas in " + names);
}

void SelectedVisibilities::Visit(const WalkedRecord& record, const Setup& setup, const Visitor& visit) const {
  const AUVXFile& uvx = input_.uvx();
  const int channels = uvx.channels(), stokes = uvx.stokes();
  const AUVXGroup& group = record.group;
  const AUVXFreqs& frequencies = setup.frequencies;
  SelectedVisibility visibility = {&group, 0, 0, 0, 0, 0, false, {}};
  for (const int i : IFs_) {
    visibility.width = setup.widths[static_cast<size_t>(i)];
    for (const int c : channels_) {
      const int point = channels * i + c;
      visibility.frequency = point < frequencies.count() ? frequencies(point) : 0;
      visibility.u = group.u() * visibility.frequency;
      visibility.v = group.v() * visibility.frequency;
      // A row of "FQ" may lack an IF, whose frequencies are then NaN.
      if (!(visibility.frequency > 0) || !std::isfinite(visibility.u) || !std::isfinite(visibility.v)) continue;
      if (uvRange_.IsLimited() && !uvRange_.Holds(std::hypot(visibility.u, visibility.v))) continue;
      const AUVXComplex* values = record.values + static_cast<ptrdiff_t>(point) * stokes;
      for (size_t s = 0; s < polarisations_.size(); ++s) {
        visibility.value = polarisations_[s].Value(values, stokes, true);
        visibility.isFlagged = group.flag != 0 || !visibility.value.isValid();
        if ((visibility.isFlagged && !takesFlagged_) || !IsFinite(visibility.value)) continue;
        visibility.stokes = static_cast<int>(s);
        visit(visibility);
      }
    }
  }
}

}  // namespace zeltra
