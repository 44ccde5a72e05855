// SPDX-License-Identifier: MIT
#include "zeltra/ops/SqueezeUVX.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <utility>

#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/FrequencyAveragerInternal.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra {
namespace {

AJobDescription DescribeSqueeze() {
  AJobDescriber<SqueezeOptions> job(
      "squeeze", "Average all IFs into one, or all channels",
      "Weighted means, as with average-frequency. IFs are averaged channel by channel, wherever they are: the "
      "frequencies of the resulting IF are the means of theirs, and a note gives the span if they leave gaps or differ "
      "in width. Frequency setups without scans are left out.");
  job.Input({"IN", "UVX, or UV FITS, which is imported first", "", 0, {}});
  job.Output(UVXOutputFile());
  job.Option("ifs", &SqueezeOptions::IFs, "average the IFs");
  job.Option("channels", &SqueezeOptions::channels, "average the channels of each IF");
  job.Option("source", &SqueezeOptions::source, "only the records of this source, and only its setups")
      .Form("N|NAME")
      .Otherwise("all");
  job.Overwrite();
  return job.Finish();
}

std::string MHz(double frequency) {
  return RoundedNumber(frequency / 1e6, 10) + " MHz";
}

// A sentence if the IFs of a setup leave gaps, overlap or differ in width.
std::string SpanRemark(const FrequencyChange& change, const AUVXTable& setups, int row, double freq0) {
  const SetupFrequencies frequencies(setups);
  const FrequencyChange::Span span = change.SpanOf(frequencies, row, 0);
  bool isEven = true;
  for (int i = 1; i < change.IFs; ++i) isEven &= frequencies.Width(row, i) == frequencies.Width(row, 0);
  if (isEven && span.isFilled) return {};
  const double middle =
      change.NewStart(frequencies, row, 0) + (change.count - 1) / 2.0 * change.NewWidth(frequencies, row, 0);
  return "the IFs of setup " + std::to_string(frequencies.Id(row)) + ", from " + MHz(freq0 + span.low) + " to " +
         MHz(freq0 + span.high) + ", do not fill that span, or differ in width; their mean is at " +
         MHz(freq0 + middle);
}

AResult CheckSidebands(const std::string& path, const FrequencyChange& change, const AUVXTable& setups) {
  const SetupFrequencies frequencies(setups);
  for (int row = 0; row < setups.rows() && change.count > 1; ++row) {
    for (int i = 1; i < change.IFs; ++i) {
      if (std::signbit(frequencies.Width(row, i)) == std::signbit(frequencies.Width(row, 0))) continue;
      return AResult::Fail(
          path + ": IF 1 and IF " + std::to_string(i + 1) +
          " are of different sidebands, so that their channels have no common order; squeeze the channels as well");
    }
  }
  return AResult::Ok();
}

// The numbers of the setups in use, if the index is right; empty to keep all.
AResult FindSetups(AUVXInput& from, const std::string& source, std::vector<int>& numbers) {
  int number = -1;
  if (!source.empty()) {
    if (AResult result = from.contents().FindSource(source, number); !result) return result;
  }
  if (!from.contents().CheckIndex(from)) return AResult::Ok();
  const AUVXFqTbl used(from.uvx(), number);
  for (int row = 0; row < used.GetFreqSels(); ++row) numbers.push_back(used.GetFreqSelID(row));
  std::sort(numbers.begin(), numbers.end());
  return AResult::Ok();
}

AResult Squeeze(AUVXInput& from, const std::string& to, const SqueezeOptions& options, CopySummary& summary) {
  if (!options.IFs && !options.channels) return AResult::Fail(from.path() + ": name what is squeezed, IFs or channels");
  std::unique_ptr<AUVXTable> setups;
  if (AResult result = OpenSetups(from, setups); !result) return result;
  FrequencyAverage average;
  average.command = SqueezeDescription().Command(options);
  if (!options.source.empty()) average.selection.sources = {options.source};
  if (AResult result = FindSetups(from, options.source, average.setups); !result) return result;
  FrequencyChange& change = average.change;
  change = FrequencyChange::None(AUVXHeader(from.uvx()));
  const double firstStart = SetupFrequencies(*setups).Start(0, 0);
  KeepSetups(*setups, average.setups);
  if (AResult result = CheckFrequencies(from.path(), *setups, change.IFs); !result) return result;
  change.leftOut = SetupFrequencies(*setups).Start(0, 0) - firstStart;
  if (options.channels) change.step = change.width = std::exchange(change.count, 1);
  if (options.IFs && change.IFs > 1) {
    std::vector<int> all(static_cast<size_t>(change.IFs));
    std::iota(all.begin(), all.end(), 0);
    change.parts = {all};
    change.isStacked = true;
    if (AResult result = CheckSidebands(from.path(), change, *setups); !result) return result;
    for (int row = 0; row < setups->rows(); ++row) {
      const std::string remark = SpanRemark(change, *setups, row, from.uvx().freq0());
      if (!remark.empty()) summary.remarks.push_back(remark);
    }
  }
  return AverageFrequencies(from, to, options, average, *setups, summary);
}

}  // namespace

AResult SaveAndSQ(AUVXInput& from, const std::string& to, const SqueezeOptions& options, CopySummary* summary) {
  CopySummary unseen;
  AResult result = Squeeze(from, to, options, summary ? *summary : unseen);
  return result ? result : from.Settle(result);
}

AResult SQFromIF(AUVXInput& from, const std::string& to, SqueezeOptions options, CopySummary* summary) {
  options.IFs = true;
  options.channels = false;
  return SaveAndSQ(from, to, options, summary);
}

AResult SQFromChannel(AUVXInput& from, const std::string& to, SqueezeOptions options, CopySummary* summary) {
  options.IFs = false;
  options.channels = true;
  return SaveAndSQ(from, to, options, summary);
}

const AJobDescription& SqueezeDescription() {
  static const AJobDescription description = DescribeSqueeze();
  return description;
}

}  // namespace zeltra
