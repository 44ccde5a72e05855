// SPDX-License-Identifier: MIT
#include "zeltra/ops/SelectedVisibilities.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

#include "zeltra/core/Text.h"
#include "zeltra/ops/AverageUVX.h"
#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/ops/ValueChoiceInternal.h"
#include "zeltra/uvx/AUVXFreqs.h"

namespace zeltra {
namespace {

constexpr int kRR = -1, kLL = -2, kXX = -5, kYY = -6, kI = 1;

bool IsParallelHand(int code) {
  return code == kRR || code == kLL || code == kXX || code == kYY || code == kI;
}

void Append(AArray<AStokesMix>& list, const AStokesMix& mix) {
  list.InsertAt(list.count(), mix);
}

}  // namespace

AResult SelectedVisibilities::Select(const UVXSelection& selection, Preference preference) {
  if (AResult result = contents_.CheckLists(); !result) return result;
  if (AResult result = contents_.CheckIndex(input_); !result) return result;
  if (AResult result = SelectSource(selection.sources); !result) return result;
  if (AResult result = SelectStokes(selection.stokes, preference); !result) return result;
  records_ = selection;
  records_.sources = {std::to_string(source_.id)};
  records_.stokes.clear();
  records_.IFs.clear();
  records_.channels.clear();
  return SelectFrequencies(selection);
}

AResult SelectedVisibilities::SelectSource(const std::vector<std::string>& wanted) {
  const std::vector<int> numbers = contents_.SourceNumbers();
  int number = numbers.empty() ? 0 : numbers.front();
  if (wanted.size() > 1) return AResult::Fail(input_.path() + ": a single source has to be chosen");
  if (!wanted.empty()) {
    if (AResult result = contents_.FindSource(wanted[0], number); !result) return result;
  } else if (numbers.size() > 1) {
    return AResult::Fail(input_.path() + ": one of its sources has to be chosen: " + contents_.SourceList(numbers));
  }
  const int place = contents_.sources().IndexForID(number);
  source_ = place >= 0 ? contents_.sources()(place) : AUVXSourceItem();
  source_.id = number;
  return AResult::Ok();
}

AResult SelectedVisibilities::Find(const std::string& name, AStokesMix& mix) const {
  AResult result = contents_.FindPolarisation(name, mix);
  const AUVXStokes& stored = contents_.header().stokes;
  int x = 0, y = 0;
  if (result || (name != "I" && name != "i")) return result;
  if (!stored.FindStokes(kXX, x) || !stored.FindStokes(kYY, y)) return result;
  mix = AStokesMix(kI, AStokesItem(x, kXX), AStokesItem(y, kYY));
  return AResult::Ok();
}

AResult SelectedVisibilities::SelectStokes(const std::vector<std::string>& wanted, Preference preference) {
  const AUVXStokes& stored = contents_.header().stokes;
  if (stored.count() < 1) return AResult::Fail(input_.path() + ": its records hold no polarisations");
  mixes_.Free();
  AStokesMix mix;
  for (const std::string& name : wanted) {
    if (AResult result = Find(name, mix); !result) return result;
    Append(mixes_, mix);
  }
  const auto single = [&](int i) { return AStokesMix(0, AStokesItem(i, stored(i)), AStokesItem()); };
  if (wanted.empty() && preference == TotalIntensity) Append(mixes_, Find("I", mix) ? mix : single(0));
  for (int i = 0; wanted.empty() && preference == ParallelHands && i < stored.count(); ++i) {
    if (IsParallelHand(stored(i))) Append(mixes_, single(i));
  }
  if (mixes_.count() > 0) return AResult::Ok();
  for (int i = 0; i < stored.count(); ++i) Append(mixes_, single(i));
  return AResult::Ok();
}

AResult SelectedVisibilities::SelectFrequencies(const UVXSelection& selection) {
  const AUVXFile& uvx = input_.uvx();
  const std::string& path = input_.path();
  AResult result = SettlePlaces(path, "IF", selection.IFs, std::max(uvx.IFs(), 1), IFs_);
  return result ? SettlePlaces(path, "channel", selection.channels, uvx.channels(), channels_) : result;
}

// The frequencies of a setup and, of each IF, the width of its channels.
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
  setup = Setup{number, AUVXFreqs(input_.uvx(), number), WidthsOf(number)};
}

AResult SelectedVisibilities::ForEach(const JobOptions& options, const char* step, const Visitor& visit) {
  SendProgressText(options.progress, step);
  std::optional<Setup> setup;
  return WalkRecords(input_, options, {{source_.id}, {}}, [&](const WalkedRecord& record) {
    const AUVXGroup& group = record.group;
    if (group.flag != 0 || group.ant1 == group.ant2) return true;
    LookUp(group.freqSel(), setup);
    Visit(record, *setup, visit);
    return true;
  });
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

AResult SelectedVisibilities::NothingValid() const {
  std::string names;
  for (int s = 0; s < mixes_.count(); ++s) names += (s == 0 ? "" : ", ") + mixes_(s).asShortString();
  return AResult::Fail(input_.path() + ": source " + contents_.SourceList({source_.id}) +
                       " has no valid visibility of two antennas in " + names);
}

void SelectedVisibilities::Visit(const WalkedRecord& record, const Setup& setup, const Visitor& visit) const {
  const AUVXFile& uvx = input_.uvx();
  const int channels = uvx.channels(), stokes = uvx.stokes();
  const AUVXGroup& group = record.group;
  const AUVXFreqs& frequencies = setup.frequencies;
  SelectedVisibility visibility = {&group, 0, 0, 0, 0, 0, {}};
  for (const int i : IFs_) {
    visibility.width = setup.widths[static_cast<size_t>(i)];
    for (const int c : channels_) {
      const int point = channels * i + c;
      visibility.frequency = point < frequencies.count() ? frequencies(point) : 0;
      visibility.u = group.u() * visibility.frequency;
      visibility.v = group.v() * visibility.frequency;
      // A row of "FQ" may lack an IF, whose frequencies are not numbers then.
      if (!(visibility.frequency > 0) || !std::isfinite(visibility.u) || !std::isfinite(visibility.v)) continue;
      const AUVXComplex* values = record.values + static_cast<ptrdiff_t>(point) * stokes;
      for (int s = 0; s < mixes_.count(); ++s) {
        visibility.value = Combined(mixes_(s), values, stokes, true);
        if (!visibility.value.isValid() || !IsFinite(visibility.value)) continue;
        visibility.stokes = s;
        visit(visibility);
      }
    }
  }
}

}  // namespace zeltra
