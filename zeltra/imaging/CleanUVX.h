// Deconvolves the image of a source.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_CLEANUVX_H_
#define ZELTRA_IMAGING_CLEANUVX_H_

#include <string>
#include <vector>

#include "zeltra/calibration/ComponentModel.h"
#include "zeltra/core/AMatrix.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/imaging/CleanWindows.h"
#include "zeltra/imaging/ImageUVX.h"

namespace zeltra {

/// When CLEAN ends; whatever comes first.
struct CleanStop {
  double sigmas = 3;        ///< no pixel exceeds this many sigma of the residual image; 0: does not count
  double level = 0;         ///< no pixel exceeds this, in the unit of the image; 0: does not count
  double flux = 0;          ///< all components add up to this, Jy, or to more than it; 0: does not count
  bool isNegative = false;  ///< the largest pixel is negative
  bool isDefault = true;    ///< nothing was asked for: what strToStop reads replaces the defaults
};

/// Read words separated by commas: "3sigma", "5mJy" or "0.005", "flux=2.5Jy", and "negative". A second text adds to the
/// first.
ZELTRA_API AResult strToStop(const std::string& text, CleanStop& stop);
/// The words that strToStop takes.
ZELTRA_API std::string stopToStr(const CleanStop& stop);
/// Read "MAJ,MIN,PA": widths in mas unless a suffix follows, and degrees.
ZELTRA_API AResult strToBeam(const std::string& text, ABeamShape& beam);
/// The same; empty for a beam without widths.
ZELTRA_API std::string beamToStr(const ABeamShape& beam);

struct CleanOptions : ImageOptions {
  int iterations = 10000;  ///< at most
  double gain = 0.05;      ///< share of the largest pixel that becomes a component
  CleanStop stop;
  std::vector<CleanBox> boxes;  ///< where to look for components; the inner quarter of the image if there are none
  std::string windows;          ///< a file of more boxes; empty for none
  double automatic = 0;         ///< windows grow around pixels above this many sigma; 0: they do not
  bool isPositive = false;      ///< only positive components
  std::string model;            ///< components to begin with, as ComponentModel::Open takes them; empty for none
  ABeamShape beam;              ///< to restore with, radians and degrees; if a width is 0, the beam of the weights
};

/// `map` holds the components convolved with `shape`, plus what is left; `rms` is that of what is left.
struct CleanImage : DirtyImage {
  AMatrix<float> residual;    ///< as map
  ComponentModel components;  ///< those to begin with, then one for each pixel where some were found, in that order
  int iterations = 0;         ///< components found, before those of one pixel were added up
  int cycles = 0;             ///< how often the exact residuals were computed
  double sigma = 0;           ///< of what is left, by its median absolute deviation
  double chi2 = 0;            ///< sum of w |V - model|^2
  std::string ending;         ///< why it ended, as in "3 sigma, 0.55 mJy/beam"
};

/// Make an image of a source without the sidelobes of its beam: CLEAN by cycles.
///
/// Components are found in the image with the dirty beam (MinorCycle) until the largest pixel is below the beam's
/// largest sidelobe, or 0.8 if that is less, times the peak that the cycle began with. Their visibilities are then
/// subtracted from the data, by direct summation, all IFs and channels at their own u, v, and the image is made anew
/// (F. R. Schwab: Relaxing the isoplanatism assumption in self-calibration, AJ 89, 1076, 1984). If the rms of the image
/// grows in three cycles in a row, the result is that of the best cycle before, and a remark says so. The visibilities
/// are read anew for each cycle. The result is the same for any number of threads or workers.
/// @return a failure also if there is no beam, and if the image needs more memory than allowed
ZELTRA_API AResult CleanUVX(AUVXInput& from, const CleanOptions& options, CleanImage& image);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& CleanDescription();

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_CLEANUVX_H_
