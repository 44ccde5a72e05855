// SPDX-License-Identifier: MIT
#include "zeltra/ops/AverageFrequency.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "zeltra/core/Text.h"
#include "zeltra/ops/FrequencyAveragerInternal.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra {
namespace {

constexpr ASuffix kPercent[] = {{"%", 1}};
// How many gaps the sentence on IFs that cannot be joined lists.
constexpr size_t kMostGaps = 3;

AResult ReadChannels(const std::string& text, AverageFrequencyOptions& options) {
  options.channels = AverageFrequencyOptions::kAllChannels;
  if (text == "all") return AResult::Ok();
  if (strToVal(text, options.channels) && options.channels > 0) return AResult::Ok();
  return AResult::Fail("'" + text + "' is neither a number of channels nor all");
}

std::string ChannelsText(const AverageFrequencyOptions& options) {
  if (options.channels < 0) return {};
  return options.channels == AverageFrequencyOptions::kAllChannels ? "all" : std::to_string(options.channels);
}

AJobDescription DescribeAverageFrequency() {
  AJobDescriber<AverageFrequencyOptions> job(
      "average-frequency", "Average channels",
      "Weighted means of adjacent channels. Flagged values do not count; a mean of flagged values only is flagged and "
      "keeps their weight. Frequencies do not depend on flags: N channels become one in their middle, N times as wide. "
      "The flag table is translated if its entries cover whole new channels; bandpass tables are left out.");
  job.Input({"IN", "UVX, or UV FITS, which is imported first", "", 0, {}});
  job.Output(UVXOutputFile());
  job.Parsed("channels", ReadChannels, ChannelsText, "how many channels become one").Form("N|all").Required();
  job.Option("ifs", &AverageFrequencyOptions::joinIFs,
             "join IFs that follow each other without a gap into one, with channels of the same width and sideband, "
             "before their channels are averaged");
  job.Option("trim", &AverageFrequencyOptions::trim,
             "omit this share of the channels at each end of every IF, in whole channels, as in 12.5%")
      .Form("PERCENT%")
      .Suffixes(kPercent)
      .Range(0, 50);
  job.Choice<bool AverageFrequencyOptions::*, bool>(
      "require", &AverageFrequencyOptions::needsAll, {{"any", false}, {"all", true}},
      "a mean is valid if any of its channels is valid, or only if all are");
  job.Choice<bool AverageFrequencyOptions::*, bool>("remainder", &AverageFrequencyOptions::dropsRemainder,
                                                    {{"refuse", false}, {"drop", true}},
                                                    "what to do with channels left over at the end of an IF");
  job.Overwrite();
  return job.Finish();
}

// Why an IF does not continue the one before it; empty if it does.
std::string GapBefore(const FrequencyChange& change, const SetupFrequencies& setups, int row, int i) {
  const double width = setups.Width(row, i), before = setups.Width(row, i - 1);
  const std::string name = "IF " + std::to_string(i + 1), other = "IF " + std::to_string(i);
  if (std::signbit(width) != std::signbit(before)) return name + " is of the other sideband than " + other;
  // Tables hold widths in single precision.
  if (!(std::fabs(width - before) <= 1e-6 * std::fabs(before))) {
    return name + " has channels of another width than " + other;
  }
  const double end = setups.Start(row, i - 1) + (change.first + change.used) * before;
  const double start = setups.Start(row, i) + change.first * width;
  if (std::fabs(start - end) < 0.01 * std::fabs(width)) return {};
  return name + " does not begin where " + other + " ends" + (change.first > 0 ? " after the trim" : "");
}

std::string GapBefore(const FrequencyChange& change, const AUVXTable& setups, int i) {
  const SetupFrequencies frequencies(setups);
  for (int row = 0; row < setups.rows(); ++row) {
    if (std::string gap = GapBefore(change, frequencies, row, i); !gap.empty()) return gap;
  }
  return {};
}

class FrequencyPlan {
 public:
  FrequencyPlan(const std::string& path, const AverageFrequencyOptions& options, std::vector<std::string>& remarks)
      : path_(path), options_(options), remarks_(remarks) {}

  AResult Make(const AUVXHeader& header, const AUVXTable& setups, FrequencyChange& change) const;

 private:
  AResult Trim(FrequencyChange& change) const;
  AResult Join(const AUVXTable& setups, FrequencyChange& change) const;
  AResult Group(FrequencyChange& change) const;

  const std::string path_;
  const AverageFrequencyOptions options_;
  std::vector<std::string>& remarks_;
};

AResult FrequencyPlan::Make(const AUVXHeader& header, const AUVXTable& setups, FrequencyChange& change) const {
  change = FrequencyChange::None(header);
  if (AResult result = Trim(change); !result) return result;
  if (AResult result = options_.joinIFs ? Join(setups, change) : AResult::Ok(); !result) return result;
  return Group(change);
}

AResult FrequencyPlan::Trim(FrequencyChange& change) const {
  const double edge = std::floor(options_.trim / 100 * change.channels + 0.5);
  if (!(edge >= 0 && 2 * edge < change.channels)) {
    return AResult::Fail(path_ + ": a trim of " + valToStr(options_.trim) + " % leaves none of the " +
                         std::to_string(change.channels) + " channels");
  }
  change.first = static_cast<int>(edge);
  change.used = change.channels - 2 * change.first;
  if (change.first > 0) {
    remarks_.push_back("at each end of every IF " + std::to_string(change.first) + " of " +
                       std::to_string(change.channels) + " channels are left out");
  }
  return AResult::Ok();
}

AResult FrequencyPlan::Join(const AUVXTable& setups, FrequencyChange& change) const {
  if (change.IFs == 1) return AResult::Ok();
  std::string gaps;
  size_t gapCount = 0;
  change.parts.clear();
  for (int i = 0; i < change.IFs; ++i) {
    const std::string gap = i == 0 ? "" : GapBefore(change, setups, i);
    if (!gap.empty() && gapCount++ < kMostGaps) gaps += (gaps.empty() ? "" : ", ") + gap;
    if (i == 0 || !gap.empty()) change.parts.emplace_back();
    change.parts.back().push_back(i);
  }
  if (gapCount > kMostGaps) gaps += " and so on";
  const size_t size = change.parts[0].size();
  const bool isEven = std::all_of(change.parts.begin(), change.parts.end(),
                                  [size](const std::vector<int>& part) { return part.size() == size; });
  if (!isEven) return AResult::Fail(path_ + ": joined IFs would not all have as many channels, since " + gaps);
  if (size == 1) return AResult::Fail(path_ + ": no IFs can be joined: " + gaps);
  if (gapCount > 0) {
    remarks_.push_back("IFs are joined by " + std::to_string(size) + ", not all into one: " + gaps);
  }
  return AResult::Ok();
}

AResult FrequencyPlan::Group(FrequencyChange& change) const {
  const int there = change.used * static_cast<int>(change.parts[0].size());
  const int wanted = options_.channels == AverageFrequencyOptions::kAllChannels ? there : options_.channels;
  const std::string name = std::to_string(there) + (there == 1 ? " channel" : " channels") + " of an IF";
  if (wanted < 1) return AResult::Fail(path_ + ": how many channels become one is not said");
  if (wanted > there) {
    return AResult::Fail(path_ + ": there are only " + name + ", which " + std::to_string(wanted) +
                         " cannot be made of");
  }
  change.step = change.width = wanted;
  change.count = there / wanted;
  const int left = there % wanted;
  if (left == 0) return AResult::Ok();
  const std::string rest =
      "of the " + name + " " + std::to_string(left) + " remain where " + std::to_string(wanted) + " become one";
  if (!options_.dropsRemainder) return AResult::Fail(path_ + ": " + rest + "; --remainder drop leaves them out");
  remarks_.push_back(rest + "; the last ones are left out");
  return AResult::Ok();
}

AResult WriteAverages(AUVXInput& from, const std::string& to, const AverageFrequencyOptions& options,
                      CopySummary& summary) {
  std::unique_ptr<AUVXTable> setups;
  if (AResult result = OpenSetups(from, setups); !result) return result;
  if (AResult result = CheckFrequencies(from.path(), *setups, std::max(from.uvx().IFs(), 1)); !result) return result;
  FrequencyAverage average;
  average.needsAll = options.needsAll;
  average.command = AverageFrequencyDescription().Command(options);
  const FrequencyPlan plan(from.path(), options, summary.remarks);
  if (AResult result = plan.Make(AUVXHeader(from.uvx()), *setups, average.change); !result) return result;
  return AverageFrequencies(from, to, options, average, *setups, summary);
}

}  // namespace

AResult AverageFrequency(AUVXInput& from, const std::string& to, const AverageFrequencyOptions& options,
                         CopySummary* summary) {
  CopySummary unseen;
  AResult result = WriteAverages(from, to, options, summary ? *summary : unseen);
  return result ? result : from.Settle(result);
}

const AJobDescription& AverageFrequencyDescription() {
  static const AJobDescription description = DescribeAverageFrequency();
  return description;
}

}  // namespace zeltra
