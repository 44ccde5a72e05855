// The weights that visibilities are gridded with.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_GRIDDINGWEIGHTS_H_
#define ZELTRA_IMAGING_GRIDDINGWEIGHTS_H_

#include <cstdint>
#include <string>

#include "zeltra/core/AMatrix.h"
#include "zeltra/core/AResult.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

struct WeightingOptions {
  enum Scheme : std::int32_t {
    Natural,  ///< W = w: the lowest noise
    Uniform,  ///< W = w / W_k: the narrowest beam
    Robust    ///< W = w / (1 + W_k f^2), between them
  };

  Scheme scheme = Natural;
  double robustness = 0;   ///< R of the robust scheme on the scale of Briggs, from -5 (uniform) to 5 (natural)
  double power = 1;        ///< of the weights in the file, from 0 to 2
  double taper = 0;        ///< the fraction of a weight that is left at the radius of the taper, below 1; 0: no taper
  double taperRadius = 0;  ///< wavelengths
};

/// Read "natural", "uniform" or "robust=R" into the scheme and the robustness.
ZELTRA_API AResult strToScheme(const std::string& text, WeightingOptions& options);
/// The scheme as strToScheme takes it.
ZELTRA_API std::string schemeToStr(const WeightingOptions& options);
/// Read "V,RADIUS" into the taper and its radius, wavelengths, which may end in k, M or G.
ZELTRA_API AResult strToTaper(const std::string& text, WeightingOptions& options);
/// The taper as strToTaper takes it; empty for none.
ZELTRA_API std::string taperToStr(const WeightingOptions& options);
/// A failure where an option is out of its range.
ZELTRA_API AResult CheckWeighting(const WeightingOptions& options);

/// Turns the weights of visibilities into gridding weights W.
///
///   Create     once
///   Add        for every visibility of the image, only if isDensityNeeded()
///   Settle     after the last of them, or after Load
///   operator() as often as you like; threads may share it
///
/// A weight raised to the power asked for, times exp(ln V (r / RADIUS)^2) at r wavelengths from the origin, is w. The
/// plane is cut into squares of 1 / (size cell) wavelengths centred on multiples of that, and W_k is the sum of w over
/// the square that a visibility lies in (the outermost one if it lies further out); the conjugate of each visibility at
/// -u, -v counts too. Robust weights are those of D. S. Briggs: High fidelity deconvolution of moderately resolved
/// sources, thesis, New Mexico Tech, 1995, ch. 3, with
///
///     f^2 = (5 x 10^-R)^2 / (sum_k W_k^2 / sum w)
///
/// The ROBUST of AIPS is on another scale: R_AIPS = 2 R - 0.7 for the same mean density.
class ZELTRA_API GriddingWeights {
 public:
  /// Bytes of memory for an image of `size` times `size` pixels.
  static int64 Bytes(const WeightingOptions& options, int size);

  /// @param cell  size of a pixel, radians
  /// @return 0 if there is not enough memory
  int Create(const WeightingOptions& options, int size, double cell);
  bool isDensityNeeded() const { return options_.scheme != WeightingOptions::Natural; }
  void Add(double u, double v, double weight);
  /// Forget what has been added.
  void Clear();
  /// Add all visibilities that were added to another object, created alike.
  void Add(const GriddingWeights& other);
  void Settle();

  /// Write what has been added; Settle may have been called. @return non-zero once all is written
  int Store(AFile& f) const;
  /// Read that into an object created alike. @return 0 if there is nothing of the kind
  int Load(AFile& f);

  /// @param u  wavelengths, as v; the place of a visibility that was added, if a density is needed
  double operator()(double u, double v, double weight) const;

 private:
  double Tapered(double u, double v, double weight) const;
  int Square(double wavelengths) const;

  WeightingOptions options_;
  AMatrix<double> density_;  // W_k; negative coordinates wrap into the upper half
  double squaresPerWavelength_ = 0;
  double decay_ = 0;   // of the taper: ln V / RADIUS^2
  double spread_ = 0;  // f^2
};

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_GRIDDINGWEIGHTS_H_
