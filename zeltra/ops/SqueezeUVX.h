// A UVX file whose IFs, or whose channels, are averaged into one.
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

// SQ is read here as "squeeze": an axis of the visibilities becomes a single element by weighted averaging. That every
// IF or channel becomes a record with a setup of its own is another operation, UnfoldUVX.

struct SqueezeOptions : JobOptions {
  bool IFs = false;
  bool channels = false;
  /// Number or name of a source, of which alone the records are taken; empty: all.
  std::string source;
};

/// Squeeze the axes asked for while the file is copied. First the setups are reduced to those that the source has scans
/// in, as AUVXFqTbl::Init does, or any source; their numbers stay.
///
/// Values are averaged as AverageFrequency does. Channels become one in their middle. IFs become one channel by
/// channel, wherever they are: its frequencies are the means of theirs, its channel width is the mean of theirs, and a
/// remark tells the span where they leave gaps or differ in width.
/// @param summary  may be null
/// @return a failure also if no axis is asked for, if the frequencies are not known, or for the channels of IFs of both
///         sidebands, of which no mean is a channel
ZELTRA_API AResult SaveAndSQ(AUVXInput& from, const std::string& to, const SqueezeOptions& options,
                             CopySummary* summary = nullptr);

/// Squeeze the IFs alone, whatever axes `options` ask for.
ZELTRA_API AResult SQFromIF(AUVXInput& from, const std::string& to, SqueezeOptions options,
                            CopySummary* summary = nullptr);
/// Squeeze the channels alone.
ZELTRA_API AResult SQFromChannel(AUVXInput& from, const std::string& to, SqueezeOptions options,
                                 CopySummary* summary = nullptr);

/// What a person may tell the job.
ZELTRA_API const AJobDescription& SqueezeDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_SQUEEZEUVX_H_
