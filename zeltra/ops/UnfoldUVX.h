// Turns every IF, or every channel, of a UVX file into its own record.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_UNFOLDUVX_H_
#define ZELTRA_OPS_UNFOLDUVX_H_

#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/CopyUVX.h"

namespace zeltra {

/// The axes to unfold; with both, every channel of every IF becomes a record.
struct UnfoldOptions : JobOptions {
  bool IFs = false;
  bool channels = false;
};

/// Turn each IF of a record, or each channel, into a record with its own frequency setup. Records made from the same
/// one have the same time, baseline, source and u, v, w. New setups are numbered from 1 by old setup, then IF, then
/// channel. Within each scan the records of a setup are consecutive, so that they form a scan: each source and setup
/// stays in time order if it was, but the file as a whole does not.
///
/// Tables with setup numbers get a row for each new one, with the elements of its IF, and "FG" is translated. Of the
/// others, "SU" gets means over IFs and "AN" keeps polarisation terms if they are the same for all IFs; what cannot be
/// adapted is left out, with a remark. Memory: a scan, of at most 128 MiB, in addition to the tables; longer scans are
/// read once for every IF or channel.
/// @param summary  may be null
/// @return a failure also if there would be more than 127 setups, if no axis is requested, if the frequencies are
///         unknown, or if a record has a setup that does not exist
ZELTRA_API AResult UnfoldUVX(AUVXInput& from, const std::string& to, const UnfoldOptions& options,
                             CopySummary* summary = nullptr);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& UnfoldDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_UNFOLDUVX_H_
