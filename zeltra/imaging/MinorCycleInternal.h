// The inner loop of CLEAN.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_MINORCYCLEINTERNAL_H_
#define ZELTRA_IMAGING_MINORCYCLEINTERNAL_H_

#include <functional>
#include <vector>

#include "zeltra/core/AMatrix.h"
#include "zeltra/imaging/CleanWindows.h"

namespace zeltra {

/// Finds point components in an image by subtracting the beam at the largest pixel, again and again (J. A. Hogbom:
/// Aperture synthesis with a non-regular distribution of interferometer baselines, A&AS 15, 417, 1974).
class MinorCycle {
 public:
  struct Limits {
    double gain = 0;              ///< the share of a pixel that is taken away
    double level = 0;             ///< ends where no pixel exceeds it
    int iterations = 0;           ///< at most
    bool isPositive = false;      ///< only positive pixels are considered
    bool endsAtNegative = false;  ///< ends where the largest pixel is negative
  };
  enum End { AtLevel, AtIterations, AtNegative, Stopped };

  /// Receives the line, the element and the flux of a component; ends the cycle by returning false.
  using Found = std::function<bool(int line, int element, double flux)>;

  /// @param beam  the response to a point of 1 Jy at the centre of the matrix; it must reach from every pixel of the
  ///              mask to every other
  /// @param mask  the pixels to search
  MinorCycle(const AMatrix<float>& beam, const CleanMask& mask);

  /// Look at an image. @return its largest pixel within the mask; 0 if there is none
  double Load(const AMatrix<float>& map, bool isPositive);
  /// Find components in the image that was loaded.
  End Run(const Limits& limits, const Found& found);

 private:
  // The elements of a line that the mask reaches.
  struct Line {
    int number;
    int first, count;
    size_t start;                   // index of the first one
    float highest = 0, lowest = 0;  // of what is left, within the mask

    float Largest(bool isPositive) const { return isPositive || highest > -lowest ? highest : -lowest; }
  };

  Line* FindPeak(bool isPositive);
  int PlaceOf(const Line& line, float value) const;
  void Subtract(Line& line, const float* beam, float scale);

  const AMatrix<float>& beam_;
  std::vector<Line> lines_;
  std::vector<float> residual_, mask_;  // the mask is 1 or 0
};

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_MINORCYCLEINTERNAL_H_
