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
  double x = 0;      ///< radians east of the phase centre
  double y = 0;      ///< radians north of it
  double major = 0;  ///< full width at half maximum, radians; 0 for a point
  double ratio = 1;  ///< of the minor to the major axis
  double angle = 0;  ///< of the major axis from north through east, radians
  bool isGaussian = false;
  double frequency = 0;      ///< at which the flux holds, Hz; 0 if unknown
  double spectralIndex = 0;  ///< S ~ frequency^index
  unsigned free = 0;         ///< the parameters marked by `v`: a sum of Free
};

/// Components, and how they are read from and written to files.
class ZELTRA_API ComponentModel {
 public:
  std::vector<ModelComponent>& components() { return components_; }
  const std::vector<ModelComponent>& components() const { return components_; }
  /// Sum of the fluxes, Jy.
  double Flux() const;

  /// Read what the user names: `point` or `point=JY`, a FITS image with a table "AIPS CC", or a text file of
  /// components.
  AResult Open(const std::string& name);
  /// Read lines of flux (Jy), radius (mas), theta (degrees), major axis (mas), axial ratio, phi (degrees), type,
  /// frequency (Hz) and spectral index. Theta and phi run from north through east. A `v` after a number marks it as one
  /// that a fit may change; marking radius or theta frees both coordinates. Numbers missing at the end of a line get
  /// the values of a point; text after `!` is a comment. Type 0 is a point, 1 a Gaussian.
  /// @return a failure that names the line
  AResult ReadText(const std::string& path);
  /// Lines as ReadText reads them, below a comment that names the numbers. Numbers have 12 significant digits, so those
  /// of a file that has no more digits come back unchanged.
  std::string Text() const;
  /// Read the first table "AIPS CC" of a FITS image.
  AResult ReadFITS(const std::string& path);

 private:
  AResult AddLine(std::string_view line, const std::string& place);

  std::vector<ModelComponent> components_;
};

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_COMPONENTMODEL_H_
