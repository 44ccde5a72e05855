// A UV FITS file becomes a UVX file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_IMPORTUVFITS_H_
#define ZELTRA_INTERCHANGE_IMPORTUVFITS_H_

#include <memory>
#include <string>
#include <vector>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

struct ImportOptions : JobOptions {
  ImportOptions() = default;
  ImportOptions(const JobOptions& options) : JobOptions(options) {}  // NOLINT: whoever has no wishes

  /// The number of the only subarray to import, from 1; 0: all of them, as one list of antennas.
  int subarray = 0;
  /// Seconds between time stamps from which on a scan ends, whatever their spacing; 0: as AUVXWriter makes scans where
  /// the file has no list of them.
  double scanGap = 0;
};

/// What an import found and did.
struct ImportSummary {
  int64 records = 0;
  bool sorted = false;  ///< the groups were out of time order and have been sorted by time, then baseline
  int tables = 0;
  /// One sentence for each thing that is doubtful, changed or not carried, with its count.
  std::vector<std::string> remarks;
};

/// Import random-groups UV FITS.
///
/// Refused, with a sentence that names the axis, card or group: what is not random groups (an image, a UV table and
/// FITS-IDI are named as such); COMPLEX not first or not of length 3; STOKES, FREQ, IF in another order; further axes
/// longer than 1; BITPIX other than 16, 32, -32; more than 8 polarisations; data shorter than GCOUNT promises; a group
/// without a baseline of two antenna numbers 1..255, from BASELINE or, where there is none, ANTENNA1 and ANTENNA2; a
/// number that a card states and that cannot be read.
///
/// Subarrays become one list of antennas, which are the same where name and position (1 m) are; then groups get the
/// numbers of that list and keep the order of their two antennas. Antennas of one name at different places are refused.
/// Where the times of a subarray are ahead by 5 days for each one before it, as AIPS has them, they are set back.
///
/// Groups in time order keep their order; others are sorted by time, then baseline. The output always has the tables
/// "NX", "FQ", "AN", "SU" and "BL". An "NX" of the file is kept where it describes the groups as they lie. Values are
/// those of the source bit for bit, random parameters scaled to physical units, u, v, w in seconds. The output appears
/// under its name only when it is complete.
///
/// Memory: some MiB whatever the file's size, 16 bytes a group while sorting, and 28 to 42 bytes a scan, at most
/// AUVXWriter::kMostScans of them; a table of scans that comes with the file is held several times.
/// @param summary  may be null; filled also when the import fails
ZELTRA_API AResult ImportUVFITS(const std::string& from, const std::string& to, const ImportOptions& options,
                                ImportSummary* summary);

/// The same of a file that is open already; sentences name it as it says.
ZELTRA_API AResult ImportUVFITS(std::unique_ptr<AInputFile> from, const std::string& to, const ImportOptions& options,
                                ImportSummary* summary);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& ImportDescription();

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_IMPORTUVFITS_H_
