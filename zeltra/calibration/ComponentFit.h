// Fits of components to visibilities.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_COMPONENTFIT_H_
#define ZELTRA_CALIBRATION_COMPONENTFIT_H_

#include <string>
#include <vector>

#include "zeltra/calibration/ComponentModel.h"
#include "zeltra/calibration/VisibilityList.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

/// Standard deviations of the numbers of a component, in their units: 0 of one that was not fitted, infinite of one
/// that the data do not determine. Where that of a width or ratio would exceed the width or ratio itself, it is taken
/// from the error of the square instead, and says how much larger the number may be.
struct ComponentErrors {
  double flux = 0, x = 0, y = 0, major = 0, ratio = 0, angle = 0;
};

/// The most numbers that may be free in a fit.
inline constexpr int kMostFreeNumbers = 1000;

/// What a fit may change of a component: what is marked, without the shape of a point, and without the angle of a
/// circle that stays a circle. A sum of ModelComponent::Free.
ZELTRA_API unsigned FreeNumbers(const ModelComponent& component);

/// What a fit of components gives.
struct ZELTRA_API ComponentFit {
  ComponentModel model;                 ///< in the order of the start, with the same marks
  std::vector<ComponentErrors> errors;  ///< of each component
  int64 visibilities = 0;               ///< N
  int parameters = 0;
  int iterations = 0;
  double chi2Before = 0;             ///< sum w |V - M|^2 with the start; compare with 2 N
  double chi2After = 0;              ///< the same with the fitted model
  std::vector<std::string> remarks;  ///< for the user, one sentence each
};

/// Find the components with the least sum w |V - M|^2, by the method of Levenberg and Marquardt, from a start that has
/// marks for all numbers that may change. The shape of a point is never changed, nor is the angle of a circle unless
/// its axial ratio may change too. Spectral indices are kept.
///
/// Widths that would become negative are reflected at 0, and an axial ratio above 1 exchanges the axes, which turns the
/// angle by 90 degrees. Errors are (J'J)^-1 chi^2 / (2N - P), J being the derivatives by the P free parameters. The
/// fit takes memory for P x P numbers a thread; it is the same, bit for bit, for any number of threads.
/// @param list  the visibilities; their values are replaced by the residuals of the components that have no marks
/// @return a failure if nothing, or too much, is free, if there are too few visibilities, or if the job was cancelled
ZELTRA_API AResult FitComponents(VisibilityList& list, const ComponentModel& start, const JobOptions& options,
                                 ComponentFit& fit);

/// Make a component as it is written: no negative widths, and an axial ratio of at most 1.
ZELTRA_API void Fold(ModelComponent& component);

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_COMPONENTFIT_H_
