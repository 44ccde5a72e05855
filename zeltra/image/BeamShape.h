// The beam and the noise of an image, as they follow from the weights of its visibilities.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGE_BEAMSHAPE_H_
#define ZELTRA_IMAGE_BEAMSHAPE_H_

#include "zeltra/platform/Export.h"

namespace zeltra {

/// An elliptical Gaussian; all zero if there is none.
struct ABeamShape {
  double major = 0;  ///< full width at half maximum along the major axis
  double minor = 0;  ///< the same along the minor axis
  double angle = 0;  ///< of the major axis, degrees from north through east, -90 to 90
};

/// Sums over the visibilities of an image, with their gridding weights W.
class ZELTRA_API BeamSums {
 public:
  /// @param u       wavelengths, as v
  /// @param weight  W
  /// @param inverseVariance  1 / sigma^2 of the real and of the imaginary part
  void Add(double u, double v, double weight, double inverseVariance);
  /// Add the sums over other visibilities.
  void Add(const BeamSums& other);

  /// The Gaussian that has the curvature of the dirty beam at its centre; widths in radians. There is none if all
  /// visibilities lie on one line through the origin, as those of a single baseline at one time do.
  ///
  /// With <> for the mean weighted by W and f^2 = (<uu> - <vv>)^2 + 4 <uv>^2 the beam falls with the curvatures 2 pi^2
  /// (<uu> + <vv> -+ f), and a Gaussian of full width b with 8 ln 2 / b^2.
  ABeamShape Shape() const;

  /// Standard deviation of a pixel due to the noise of the visibilities: sqrt(sum W^2 sigma^2) / sum W.
  double Noise() const;

  double sumOfWeights() const { return sum_; }

 private:
  double sum_ = 0, uu_ = 0, vv_ = 0, uv_ = 0, variance_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_IMAGE_BEAMSHAPE_H_
