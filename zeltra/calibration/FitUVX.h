// Fits of components to the visibilities of a file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_FITUVX_H_
#define ZELTRA_CALIBRATION_FITUVX_H_

#include <optional>
#include <string>

#include "zeltra/calibration/ComponentFit.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra {

struct FitOptions : JobOptions {
  UVXSelection selection;  ///< with at most one polarisation; by default I of both hands, or the first one without it
  std::string model;       ///< the start, as ComponentModel::Open accepts it
  /// What is free in all components, a sum of ModelComponent::Free; if it has no value, what is marked in the model.
  std::optional<unsigned> free;
};

/// Read the start of a fit and mark what is free.
/// @return a failure also if nothing is free
ZELTRA_API AResult OpenStart(const FitOptions& options, ComponentModel& model);

/// The fitted components as lines of a `.mod` file, with the errors in comments.
ZELTRA_API std::string ModelText(const ComponentFit& fit);

/// Fit components to the visibilities of one source, at all IFs and channels, each at its own u, v.
/// @param to        receives the fitted components: see ModelText
/// @param residual  a UVX file of all records with the components subtracted from those of the source; empty: none
ZELTRA_API AResult FitUVX(AUVXInput& from, const std::string& to, const std::string& residual,
                          const FitOptions& options, ComponentFit& fit);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& FitDescription();

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_FITUVX_H_
