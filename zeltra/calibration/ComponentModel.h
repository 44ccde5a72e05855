// A source as a sum of components.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_COMPONENTMODEL_H_
#define ZELTRA_CALIBRATION_COMPONENTMODEL_H_

#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

/// A point or an elliptical Gaussian.
struct ModelComponent {
  /// The numbers of a component that a fit may change.
  enum Free : unsigned { FreeFlux = 1, FreeX = 2, FreeY = 4, FreeMajor = 8, FreeRatio = 16, FreeAngle = 32 };

  double flux = 0;   ///< Jy
  double x = 0;      ///< radians from the phase centre, to the east
  double y = 0;      ///< to the north
  double major = 0;  ///< full width at half maximum, radians; 0 of a point
  double ratio = 1;  ///< of the minor to the major axis
  double angle = 0;  ///< of the major axis from north through east, radians
  bool isGaussian = false;
  double frequency = 0;      ///< at which the flux holds, Hz; 0 if nobody says
  double spectralIndex = 0;  ///< S ~ frequency^index
  unsigned free = 0;         ///< a sum of Free, of what is marked by `v`
};

/// Components with the files that they are kept in.
class ZELTRA_API ComponentModel {
 public:
  std::vector<ModelComponent>& components() { return components_; }
  const std::vector<ModelComponent>& components() const { return components_; }
  /// Sum of the fluxes, Jy.
  double Flux() const;

  /// Read what a person names: `point` or `point=JY`, a FITS image with a table "AIPS CC", or a text file of
  /// components.
  AResult Open(const std::string& name);
  /// Read lines of flux (Jy), radius (mas), theta (degrees), major axis (mas), axial ratio, phi (degrees), type,
  /// frequency (Hz) and spectral index. Theta and phi run from north through east; `v` after a number marks what a fit
  /// may change, of radius or theta both coordinates. Numbers that are missing at the end are those of a point; what
  /// follows `!` is a remark. Type 0 is a point, 1 a Gaussian.
  /// @return a failure that names the line
  AResult ReadText(const std::string& path);
  /// Read the first table "AIPS CC" of a FITS image.
  AResult ReadFITS(const std::string& path);

 private:
  AResult AddLine(std::string_view line, const std::string& place);

  std::vector<ModelComponent> components_;
};

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_COMPONENTMODEL_H_
