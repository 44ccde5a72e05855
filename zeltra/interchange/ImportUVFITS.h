// Converts a UV FITS file to UVX.
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
  ImportOptions(const JobOptions& options) : JobOptions(options) {}  // NOLINT: JobOptions alone will do

  /// The one subarray to import, from 1; 0: all of them, as one list of antennas.
  int subarray = 0;
  /// Gap between time stamps, seconds, that ends a scan whatever the usual spacing; 0: keep the scans of the file, or
  /// form them as AUVXWriter does where it lists none.
  double scanGap = 0;
};

/// What an import found and did.
struct ImportSummary {
  int64 records = 0;
  bool sorted = false;  ///< the groups were out of time order and have been sorted by time, then baseline
  int tables = 0;
  /// One sentence for each thing that is doubtful, changed or left out, with its count.
  std::vector<std::string> remarks;
};

/// Import random-groups UV FITS.
///
/// Refused, with a sentence that names the axis, card or group: anything but random groups (an image, a UV table and
/// FITS-IDI are recognised and named); COMPLEX not first or not of length 3; STOKES, FREQ, IF in another order; further
/// axes longer than 1; BITPIX other than 16, 32, -32; more than 8 polarisations; data shorter than GCOUNT promises; a
/// group without a baseline of two antenna numbers 1..255, from BASELINE or, failing that, ANTENNA1 and ANTENNA2; a
/// card whose number cannot be read.
///
/// The antennas of all subarrays become one list, in which antennas of the same name and place (within 1 m) are one.
/// Groups take the numbers of that list and keep the order of their two antennas. Antennas of one name at different
/// places are refused. Where each further subarray is 5 days ahead of the one before it, as AIPS writes them, its times
/// are set back.
///
/// Groups in time order keep their order; others are sorted by time, then baseline. The output always has the tables
/// "NX", "FQ", "AN", "SU" and "BL". An "NX" of the file is kept if it describes the groups as they are. Values are
/// those of the source bit for bit; random parameters are scaled to physical units, u, v, w in seconds. The output
/// appears under its name only when it is complete.
///
/// Memory: a few MiB whatever the file's size, 16 bytes per group while sorting, and 28 to 42 bytes per scan, at most
/// AUVXWriter::kMostScans of them; a scan table that comes with the file is held several times.
/// @param summary  may be null; filled also when the import fails
ZELTRA_API AResult ImportUVFITS(const std::string& from, const std::string& to, const ImportOptions& options,
                                ImportSummary* summary);

/// The same for a file that is already open; messages use the name that it gives itself.
ZELTRA_API AResult ImportUVFITS(std::unique_ptr<AInputFile> from, const std::string& to, const ImportOptions& options,
                                ImportSummary* summary);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& ImportDescription();

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_IMPORTUVFITS_H_
