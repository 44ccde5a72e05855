// Statistics of the amplitudes on every baseline of a file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_AUVXFLUXES_H_
#define ZELTRA_OPS_AUVXFLUXES_H_

#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/UVXSelection.h"
#include "zeltra/uvx/AUVXBaseLines.h"

namespace zeltra {

/// Amplitudes of one baseline in one polarisation, over all times, IFs and channels, in the unit of the file's data.
struct AUVXFluxItem {
  int64 count = 0;    ///< number of valid values
  double mean = 0.0;  ///< mean amplitude; 0 without values
  /// Standard deviation of the amplitudes (n - 1 in the denominator); 0 for fewer than two values.
  double scatter = 0.0;
};

/// Statistics of the amplitudes, alongside a baseline list: item (b, s) belongs to baseline b of baselines() and
/// polarisation s of the file. A value is valid if its record is not flagged, its weight is above 0 and all three
/// numbers are finite.
class ZELTRA_API AUVXFluxes {
 public:
  /// Read the records of `input` once, in file order; the file needs no index.
  /// @param selection  of records: all their values count
  /// @return a failure if the job was cancelled or a record cannot be read; the lists are then empty
  AResult Create(AUVXInput& input, const UVXSelection& selection, const JobOptions& options);

  /// The baselines of the records.
  const AUVXBaseLines& baselines() const { return baselines_; }
  /// Number of polarisations.
  int stokes() const { return stokes_; }
  /// No range check.
  const AUVXFluxItem& operator()(int baseline, int stokesIndex) const {
    return items_[static_cast<size_t>(baseline) * static_cast<size_t>(stokes_) + static_cast<size_t>(stokesIndex)];
  }

 private:
  AUVXBaseLines baselines_;
  int stokes_ = 0;
  std::vector<AUVXFluxItem> items_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_AUVXFLUXES_H_
