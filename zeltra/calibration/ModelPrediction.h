// Visibilities of components in the u, v plane.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_MODELPREDICTION_H_
#define ZELTRA_CALIBRATION_MODELPREDICTION_H_

#include <complex>
#include <vector>

#include "zeltra/calibration/ComponentModel.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

/// Adds up the visibilities of all components at every u, v. That of a point is good to 6e-16 of its flux; the bits are
/// the same on every system as long as all components are points. The curvature of the sky (w) is ignored, as in
/// images.
///
/// An elliptical Gaussian of flux S contributes S exp(-pi^2 / (4 ln 2) (major^2 p^2 + minor^2 q^2)), with p and q along
/// its axes, times the phase of its position, exp(2 pi i (u x + v y)). Threads may share one object.
class ZELTRA_API ModelPrediction {
 public:
  explicit ModelPrediction(const ComponentModel& model);

  /// @param u, v       wavelengths, shape [n]
  /// @param frequency  Hz, [n], for components with a spectral index
  /// @param values     the visibilities, Jy, [n]
  void Predict(const double* u, const double* v, const double* frequency, int n, std::complex<double>* values) const;

 private:
  struct Block;
  // An elliptical Gaussian: the exponent is -(uu u^2 + uv u v + vv v^2).
  struct Gaussian {
    double uu, uv, vv;
  };

  void AddPoint(const ModelComponent& component, Block& block) const;
  void AddOther(const ModelComponent& component, const Gaussian& shape, Block& block) const;

  std::vector<ModelComponent> points_, others_;
  std::vector<Gaussian> shapes_;  // the components that are not points
};

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_MODELPREDICTION_H_
