// The dirty image of a source.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_IMAGEUVX_H_
#define ZELTRA_IMAGING_IMAGEUVX_H_

#include <string>

#include "zeltra/core/AMatrix.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/image/FitBeam.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/SelectedVisibilities.h"
#include "zeltra/uvx/AStokesMix.h"

namespace zeltra {

struct ImageOptions : JobOptions {
  enum Weighting {
    Natural,  ///< the weights of the visibilities: the lowest noise
    Uniform   ///< divided by the weight in the cell of the grid around each: the narrowest beam
  };

  UVXSelection selection;  ///< with at most one polarisation; I where none is named, the first one where there is no I
  int size = 512;          ///< pixels of a line, and lines
  double cell = 0;         ///< size of a pixel, radians; 0: a fifth of the narrowest fringe, rounded down to two digits
  Weighting weighting = Natural;
};

/// An image of the sky as the visibilities show it, convolved with the beam.
///
/// Pixel (size / 2, size / 2) of both matrices is the phase centre. Lines run northward and begin in the south,
/// elements westward and begin in the east, as in FITS images.
struct DirtyImage {
  AMatrix<float> map;   ///< [line][element], `unit`
  AMatrix<float> beam;  ///< the response to a point source at the centre, 1 there
  double cell = 0;      ///< size of a pixel, radians
  ABeamShape shape;     ///< of the beam; widths in radians

  std::string source;
  double ra = 0;       ///< of the phase centre at the equinox, degrees
  double dec = 0;      ///< degrees
  double equinox = 0;  ///< years
  std::string unit;    ///< of the visibilities, "/beam" behind it; empty where they have none
  AStokesMix stokes;
  std::string polarisation;  ///< its name, as in "I" or "PI"
  double frequency = 0;      ///< middle of the band of the channels used, Hz
  double bandwidth = 0;      ///< from the lower edge of the lowest of them to the upper edge of the highest, Hz
  double dateObs = 0;        ///< Julian date of 0 h UTC of the observation date, 0 if unknown
  std::string telescope;
  std::string observer;
  ImageOptions::Weighting weighting = ImageOptions::Natural;

  int64 visibilities = 0;  ///< number of those used
  int64 beyond = 0;        ///< number of those too far out for the cell, left out
};

/// The brightest pixel of a map.
struct ImagePeak {
  float value = 0;   ///< in the unit of the map
  double east = 0;   ///< of the phase centre, radians
  double north = 0;  ///< radians
};

ZELTRA_API ImagePeak FindPeak(const DirtyImage& image);

/// Make the dirty image and the dirty beam of a source.
///
/// All IFs and channels are used, each visibility at the place in the u, v plane that its own frequency gives it. They
/// are put on a grid by convolution with a Kaiser-Bessel function, transformed, and divided by the function's transform
/// and by the sum of weights. Pixel by pixel this agrees with the sum over all visibilities to better than 0.01 % of
/// the peak, up to the edges. The curvature of the sky (w) is not corrected for.
///
/// With V the visibility at u, v (position of antenna 1 minus position of antenna 2, in wavelengths) the image at l
/// eastward, m northward is
///
///     sum V exp(-2 pi i (u l + v m)) / number
///
/// Memory: 72 bytes a pixel; 8 more with uniform weighting.
/// @param from   an open file with its index
/// @param image  undefined on failure
/// @return a failure also for a size that MT_FFT_Matr_D does not transform
ZELTRA_API AResult ImageUVX(AUVXInput& from, const ImageOptions& options, DirtyImage& image);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& ImageDescription();

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_IMAGEUVX_H_
