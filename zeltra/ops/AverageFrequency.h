// Averages of the visibilities of a file over frequency.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_AVERAGEFREQUENCY_H_
#define ZELTRA_OPS_AVERAGEFREQUENCY_H_

#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/CopyUVX.h"

namespace zeltra {

/// What is averaged into one channel.
struct AverageFrequencyOptions : JobOptions {
  static constexpr int kAllChannels = 0;

  /// Channels that become one. Below 0 nothing is said, which is a failure.
  int channels = -1;
  /// Whether IFs that follow each other in frequency become one IF before.
  bool joinIFs = false;
  /// Percentage of the channels that is left out at each end of every IF, before anything else.
  double trim = 0;
  /// Whether a mean is valid only where all of its channels are, not any.
  bool needsAll = false;
  /// Whether channels at the end that make no whole new one are left out, with a remark; otherwise they are a failure.
  bool dropsRemainder = false;
};

/// Average channels that follow each other. Values are weighted by their weights, which add up; those that are flagged
/// or not finite do not count. A mean of flagged values alone is flagged: its weight is the negative sum of the amounts
/// of theirs, so that it may come back. So is, with `needsAll`, a mean that lacks a channel.
///
/// Frequencies do not depend on flags: N channels become one at f + (N - 1)/2 x width, of N times the width. IFs are
/// joined where each begins where the one before ends, with the same signed width, in every setup. Flags in "FG" are
/// translated where they are about whole new channels; bandpasses are left out, and, where IFs are joined, tables about
/// single IFs. Remarks tell of all that, and of the share of channels that was there where means lack some.
/// @param summary  may be null
/// @return a failure also where the frequencies of the channels are not known
ZELTRA_API AResult AverageFrequency(AUVXInput& from, const std::string& to, const AverageFrequencyOptions& options,
                                    CopySummary* summary = nullptr);

/// What a person may tell the job.
ZELTRA_API const AJobDescription& AverageFrequencyDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_AVERAGEFREQUENCY_H_
