// The products of visibilities with their model, summed up over intervals.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_PRODUCTWALKINTERNAL_H_
#define ZELTRA_CALIBRATION_PRODUCTWALKINTERNAL_H_

#include <functional>
#include <vector>

#include "zeltra/calibration/GainSolver.h"
#include "zeltra/calibration/VisibilityModel.h"
#include "zeltra/core/AResult.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/IntervalOptions.h"

namespace zeltra {

/// The values of a record that are summed up: the parallel hands, or Stokes I where there are none.
struct ProductValues {
  std::vector<int> IFs, channels;
  std::vector<int> hands;  ///< places of polarisations in a record
  int channelsOfIF = 0, stokes = 0;

  size_t groups() const { return IFs.size() * hands.size(); }
};

/// The sums of one interval.
struct ProductInterval {
  struct Head {
    int source, setup, subarray;
    double begin, end;  ///< Julian dates of the first and the last record
    float integration;  ///< seconds
  };

  Head head;
  std::vector<int> antennas;                          ///< their numbers, ascending
  std::vector<std::vector<BaselineProducts>> groups;  ///< [IF x hands + hand][baseline], with indices into `antennas`
};

/// Goes over a file interval by interval, on several threads, and gives the sums in time order, source by source.
/// Autocorrelations are ignored.
class ProductWalk {
 public:
  ProductWalk(AUVXInput& from, const IntervalOptions& options) : from_(from), options_(options) {}

  /// Find the values that are selected.
  AResult Open();
  const ProductValues& values() const { return values_; }
  AResult Run(VisibilityModel& model, const std::function<void(const ProductInterval&)>& take);

 private:
  void Take(const std::vector<char>& bytes, const std::function<void(const ProductInterval&)>& take) const;

  AUVXInput& from_;
  const IntervalOptions options_;
  ProductValues values_;
};

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_PRODUCTWALKINTERNAL_H_
