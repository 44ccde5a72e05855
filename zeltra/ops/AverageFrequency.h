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

  /// How many channels become one. Below 0 means not given, which is a failure.
  int channels = -1;
  /// Whether IFs adjacent in frequency are first joined into one.
  bool joinIFs = false;
  /// Percentage of the channels omitted at each end of every IF, before anything else.
  double trim = 0;
  /// Whether a mean is valid only if all of its channels are; otherwise any will do.
  bool needsAll = false;
  /// Whether channels left over at the end are omitted, with a remark; otherwise they are a failure.
  bool dropsRemainder = false;
};

/// Average adjacent channels. Values are weighted by their weights, which are summed; flagged values and those that are
/// not finite do not count. A mean of flagged values only is flagged: its weight is minus the sum of their absolute
/// weights, so that it can be restored. With `needsAll` a mean that lacks a channel is flagged too.
///
/// Frequencies do not depend on flags: N channels become one at f + (N - 1)/2 x width, of N times the width. IFs are
/// joined if each begins where the one before it ends, with the same signed width, in every setup. Flags in "FG" are
/// translated if they cover whole new channels; bandpasses are left out, and, where IFs are joined, so are tables about
/// single IFs. Remarks report all of that, and the share of channels present in means that lack some.
/// @param summary  may be null
/// @return a failure also if the frequencies of the channels are unknown
ZELTRA_API AResult AverageFrequency(AUVXInput& from, const std::string& to, const AverageFrequencyOptions& options,
                                    CopySummary* summary = nullptr);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& AverageFrequencyDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_AVERAGEFREQUENCY_H_
