// Makes the dirty image of a source.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_IMAGEUVX_H_
#define ZELTRA_IMAGING_IMAGEUVX_H_

#include <string>
#include <vector>

#include "zeltra/core/AMatrix.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/image/BeamShape.h"
#include "zeltra/imaging/GriddingWeights.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/SelectedVisibilities.h"
#include "zeltra/uvx/AStokesMix.h"
#include "zeltra/uvx/AUVXHeaderCards.h"

namespace zeltra {

class AImageWorkers;

struct ImageOptions : JobOptions {
  UVXSelection selection;  ///< with at most one polarisation; by default I, or the first one if there is no I
  int size = 512;          ///< pixels in a line and number of lines: an even number from 16 to 8192
  double cell = 0;         ///< size of a pixel, radians; 0: a fifth of the narrowest fringe, rounded down to two digits
  WeightingOptions weighting;
  double memory = 0;  ///< most memory to use, bytes; 0: half of what is free
  /// Who makes the sums over the visibilities of a UVX file that has several parts; not owned. Null: threads do.
  AImageWorkers* workers = nullptr;
};

/// An image of the sky as the visibilities show it, convolved with the beam.
///
/// Pixel (size / 2, size / 2) of both matrices is the phase centre. Lines run from south to north, elements from east
/// to west, as in FITS images.
struct DirtyImage {
  AMatrix<float> map;   ///< [line][element], `unit`
  AMatrix<float> beam;  ///< the response to a point source at the centre, where it is 1
  double cell = 0;      ///< size of a pixel, radians
  ABeamShape shape;     ///< of the beam, from the weights; widths in radians
  double noise = 0;     ///< thermal noise of a pixel, as expected from the weights of the visibilities, `unit`
  double rms = 0;       ///< measured over all pixels of the map, `unit`

  std::string source;
  double ra = 0;       ///< of the phase centre at the equinox, degrees
  double dec = 0;      ///< degrees
  double equinox = 0;  ///< years
  std::string unit;    ///< of the visibilities with "/beam" appended; empty if they have none
  AStokesMix stokes;
  std::string polarisation;  ///< its name, as in "I" or "PI"
  double frequency = 0;      ///< middle of the band of the channels used, Hz
  double bandwidth = 0;  ///< from the lower edge of the lowest of them to the upper edge of the highest, Hz; 0: unknown
  std::string timeScale;  ///< of dateObs, as in "UTC"
  double dateObs = 0;     ///< Julian date of 0 h UTC of the observation date, 0 if unknown
  std::string telescope;
  std::string observer;
  AUVXHeaderCards history;  ///< HISTORY cards of the file and of this image
  WeightingOptions weighting;

  int64 visibilities = 0;            ///< number used
  int64 beyond = 0;                  ///< number left out because they lie too far out for the cell
  std::vector<std::string> remarks;  ///< for the user, one sentence each
};

/// The brightest pixel of a map.
struct ImagePeak {
  float value = 0;   ///< in the unit of the map
  double east = 0;   ///< east of the phase centre, radians: the arc sine of the direction cosine l
  double north = 0;  ///< north of it, from m
};

ZELTRA_API ImagePeak FindPeak(const DirtyImage& image);

/// Make the dirty image and the dirty beam of a source.
///
/// All IFs and channels are used, each visibility at the u, v of its own frequency. They are gridded with a
/// Kaiser-Bessel convolution function, transformed, and divided by the transform of that function and by the sum of
/// weights. Pixel by pixel this agrees with the sum over all visibilities to better than 0.01 % of the peak, up to the
/// edges.
///
/// The curvature of the sky is not corrected for: at l, m the phases are wrong by 2 pi w (1 - n), n^2 = 1 - l^2 - m^2.
/// If that exceeds 0.1 radian at the middle of an edge of the field, for the largest w, a remark says how far from the
/// centre it stays below that.
///
/// With V the visibility at u, v (position of antenna 1 minus position of antenna 2, in wavelengths), the image at l
/// eastward, m northward is
///
///     sum W V exp(-2 pi i (u l + v m)) / sum W
///
/// with the weights W of GriddingWeights. Fields stop at l = 1.
///
/// The sums are made in parts of 16 MiB of records or more, which depend only on the file, the selection and the size.
/// The image is the same, bit by bit, for any number of threads or workers.
/// @param from   an open file with its index
/// @param image  undefined on failure
/// @return a failure also if the image needs more memory than allowed
ZELTRA_API AResult ImageUVX(AUVXInput& from, const ImageOptions& options, DirtyImage& image);

/// Bytes of memory that an image takes: 64 for each of n x n cells, where n is the smallest power of two not below
/// `size`, and 8 per pixel. A part has at least four times as many bytes of records as its cells take. With P parts,
/// the cells of 2 + log2 P parts are held at a time, and those of one more for each thread beyond the first, as far as
/// they fit.
ZELTRA_API int64 ImageMemory(const ImageOptions& options);

/// Bytes as text, as in "1.2 GB".
ZELTRA_API std::string MemoryText(double bytes);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& ImageDescription();

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_IMAGEUVX_H_
