// Converts a UVX file to UV FITS.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_EXPORTUVFITS_H_
#define ZELTRA_INTERCHANGE_EXPORTUVFITS_H_

#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra {

/// Export as random-groups UV FITS: 32-bit floats, AIPS tables as binary tables.
///
/// The time of a group is split over two DATE parameters whose sum, formed in double precision, is the time of the
/// record. The output appears under its name only when it is complete; its first block is written last, so an export
/// that is killed leaves nothing that opens.
ZELTRA_API AResult ExportUVFITS(const std::string& from, const std::string& to, const JobOptions& options);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& ExportDescription();

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_EXPORTUVFITS_H_
