// How well a model fits closure phases.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_CLOSUREFIT_H_
#define ZELTRA_CALIBRATION_CLOSUREFIT_H_

#include <vector>

#include "zeltra/calibration/ComponentModel.h"
#include "zeltra/calibration/GainSolver.h"
#include "zeltra/core/AResult.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/IntervalOptions.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

/// chi^2 of the closure phases of a maximal independent set, with their full covariance. If both the model and the
/// weights are right, it is `closures` on average, whatever the phases of the antennas are.
struct ClosureFit {
  double chi2 = 0;
  int64 closures = 0;  ///< independent closure phases

  /// chi^2 for each of them; 0 if there are none.
  double Reduced() const { return closures > 0 ? chi2 / static_cast<double>(closures) : 0; }
};

/// Add the closure phases of one interval to `fit`. The phase of a baseline's sum w V conj(M) is that of the data less
/// that of the model; baselines whose signal is at most three times their noise are left out, since their phases are
/// not normal.
///
/// The chi^2 of independent closures with their covariance is the smallest value that phases of antennas can give the
/// sum of s^2 x (phase)^2 over baselines, s being the signal-to-noise ratio: any closure is the sum of such phases
/// around a loop. That sum is what is computed, after whole turns are removed along a tree of baselines.
/// @param antennas  their number
ZELTRA_API void AddClosures(const std::vector<BaselineProducts>& baselines, int antennas, ClosureFit& fit);

/// The fit to the visibilities of all intervals, IF by IF and hand by hand.
ZELTRA_API AResult FitClosures(AUVXInput& from, const IntervalOptions& options, const ComponentModel& model,
                               ClosureFit& fit);

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_CLOSUREFIT_H_
