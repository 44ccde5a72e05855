// Averages all IFs, or all channels, of a UVX file into one.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_SQUEEZEUVX_H_
#define ZELTRA_OPS_SQUEEZEUVX_H_

#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/CopyUVX.h"

namespace zeltra {

// SQ is read here as "squeeze": an axis of the visibilities becomes a single element by weighted averaging. Turning
// each IF or channel into a record with its own setup is another operation, UnfoldUVX.

struct SqueezeOptions : JobOptions {
  bool IFs = false;
  bool channels = false;
  /// Number or name of the only source whose records are used; empty: all.
  std::string source;
};

/// Squeeze the requested axes while copying the file. First the setups are reduced to those in which the source, or any
/// source, has scans, as by AUVXFqTbl::Init; their numbers are unchanged.
///
/// Values are averaged as by AverageFrequency. Channels become one at their middle. IFs become one, channel by channel,
/// wherever they are: the new frequencies and channel width are the means of the old ones, and a remark gives the span
/// if they leave gaps or differ in width.
/// @param summary  may be null
/// @return a failure also if no axis is requested, if the frequencies are unknown, or if IFs of both sidebands would
///         become one channel by channel, since their channels have no common order
ZELTRA_API AResult SaveAndSQ(AUVXInput& from, const std::string& to, const SqueezeOptions& options,
                             CopySummary* summary = nullptr);

/// Squeeze only the IFs, whatever axes `options` request.
ZELTRA_API AResult SQFromIF(AUVXInput& from, const std::string& to, SqueezeOptions options,
                            CopySummary* summary = nullptr);
/// Squeeze only the channels.
ZELTRA_API AResult SQFromChannel(AUVXInput& from, const std::string& to, SqueezeOptions options,
                                 CopySummary* summary = nullptr);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& SqueezeDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_SQUEEZEUVX_H_
