// Fits of elliptical Gaussians to an image.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_FITIMAGE_H_
#define ZELTRA_IMAGING_FITIMAGE_H_

#include <string>

#include "zeltra/calibration/ComponentFit.h"
#include "zeltra/calibration/ComponentModel.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/imaging/FITSImage.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

/// What a fit to an image gives.
struct ZELTRA_API ImageFit {
  /// The components with the beam taken out: integrated fluxes, and sizes, which are 0 where a component is not
  /// resolved. Errors are those of Condon 1997, PASP 109, 166, for noise that is correlated over a beam, at the
  /// measured rms.
  ComponentFit sky;
  double rms = 0;    ///< of what is left of the image: 1.4826 times its median modulus
  std::string unit;  ///< of the image and the rms
  int rounds = 0;    ///< in which all components were fitted
};

/// Fit elliptical Gaussians in turn, each to the pixels where it is above a tenth of its peak, with the others
/// subtracted, until none changes any more. All numbers of each are free.
/// @param start  the components to begin with; without any, the brightest pixel is taken
/// @return a failure that names the component that could not be fitted
ZELTRA_API AResult FitImage(const FITSImage& image, const ComponentModel& start, const JobOptions& options,
                            ImageFit& fit);

/// The same from file to file.
/// @param model  the start, as ComponentModel::Open accepts it; empty: the brightest pixel
/// @param to     receives the fitted components: see ModelText
ZELTRA_API AResult FitImage(const std::string& path, const std::string& model, const std::string& to,
                            const JobOptions& options, ImageFit& fit);

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_FITIMAGE_H_
