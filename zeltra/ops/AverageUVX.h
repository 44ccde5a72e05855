// Time averages of the visibilities of a file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_AVERAGEUVX_H_
#define ZELTRA_OPS_AVERAGEUVX_H_

#include <functional>
#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/CopyUVX.h"
#include "zeltra/ops/IntervalOptions.h"
#include "zeltra/ops/PolarisationChoice.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra {

/// Which polarisations, or combinations of them, are averaged.
enum class AverageMix {
  Stored,    ///< those of the file
  All,       ///< those of toListMix
  Parallel,  ///< those of toListMixRL
  Cross,     ///< those of toListMixRL_LR
};

struct AverageOptions : IntervalOptions {
  /// Where no polarisations are selected.
  AverageMix mix = AverageMix::Stored;
};

/// Look up what is averaged.
/// @return a failure if the file lacks something that is selected, or allows none of `mix`
ZELTRA_API AResult FindAveragedValues(AUVXInput& from, const AverageOptions& options, ValuesChoice& values);

/// Takes the average of one baseline over one interval. The time of `group` is that of the interval, a Julian date: the
/// mean of the times of all its records, each with the sum of its positive finite weights. u, v, w are the baseline's
/// own means with these weights, plain means where it has no valid value. Values are [IF][channel][polarisation].
using AverageSink = std::function<AResult(AUVXGroup& group, AUVXVisibility& values)>;

/// Average interval by interval, in time order, each source and setup by itself. Within an interval, baselines ascend
/// by their antennas as signed bytes. The result does not depend on the number of threads.
///
/// Flagged records and values do not count, nor do values that are not finite: where a baseline has nothing else in an
/// interval, its first value is given with its own weight, or 0 if it is not finite. A source whose records go back in
/// time is refused.
///
/// Memory: below 256 MiB in a file of up to a million scans, each of which takes some 100 bytes. Where the baselines of
/// an interval do not fit, its records are read several times. A file is refused where the records of more than 128
/// sources alternate within an interval, and where records have more than 1048576 values.
/// @param sink  a failure of it ends the job
ZELTRA_API AResult Average(AUVXInput& from, const AverageOptions& options, const AverageSink& sink);

/// Average into a UVX file with the tables of `from`: its scans as far as they have averages, its baseline list made
/// anew. Where IFs or channels are left out, frequencies stay right, as in CopyUVX. With a `share`, `to`.K-of-N is
/// written for JoinParts.
/// @param summary  may be null
/// @return a failure also for more than 8 polarisations, before anything is read
ZELTRA_API AResult AverageUVX(AUVXInput& from, const std::string& to, const AverageOptions& options,
                              CopySummary* summary = nullptr);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& AverageDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_AVERAGEUVX_H_
