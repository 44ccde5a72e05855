// A UVX file with a record of its own for every IF, or every channel.
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

/// Axes that are unfolded; with both every channel of every IF has a record.
struct UnfoldOptions : JobOptions {
  bool IFs = false;
  bool channels = false;
};

/// Make a record of every IF of a record, or of every channel, each in a frequency setup of its own. Records of one
/// record have the same time, baseline, source and u, v, w. The new setups of the first old one come first, from 1 on,
/// by IF, then channel. Within each scan the records of a setup follow each other, so that they make a scan: each
/// source and setup is in time order where it was before, not the file.
///
/// Tables with the number of a setup get a row for each new one, with the elements of its IF, and "FG" is translated.
/// Of the others "SU" gets the means over IFs and "AN" keeps polarisation terms where all IFs have the same; what
/// cannot follow is left out, with a remark. Memory: below 1 MiB beside that of the tables; scans longer than 512 KiB
/// are read once for every IF or channel.
/// @param summary  may be null
/// @return a failure also if there would be more than 127 setups, if no axis is asked for, if the frequencies are not
///         known, or if a record is of a setup that there is not
ZELTRA_API AResult UnfoldUVX(AUVXInput& from, const std::string& to, const UnfoldOptions& options,
                             CopySummary* summary = nullptr);

/// What a person may tell the job.
ZELTRA_API const AJobDescription& UnfoldDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_UNFOLDUVX_H_
