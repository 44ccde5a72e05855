// An image read from a FITS file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_FITSIMAGE_H_
#define ZELTRA_IMAGING_FITSIMAGE_H_

#include <string>

#include "zeltra/core/AMatrix.h"
#include "zeltra/core/AResult.h"
#include "zeltra/image/BeamShape.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

/// The image in the primary header and data of a FITS file, with its place on the sky in the orthographic (SIN)
/// projection, north along the lines.
struct ZELTRA_API FITSImage {
  AMatrix<float> pixels;    ///< [line][element], `unit`; NaN where there is none
  double element = 0;       ///< of the reference point, from 0
  double line = 0;          ///< of the reference point, from 0
  double elementWidth = 0;  ///< to the east, as a direction cosine; negative in images that have east to the left
  double lineHeight = 0;    ///< to the north
  ABeamShape beam;          ///< widths in radians; there always is one
  std::string unit;         ///< as in the file; it is per beam

  /// Offset of a pixel from the reference point, a direction cosine: to the east and to the north.
  double East(int j) const { return (j - element) * elementWidth; }
  double North(int i) const { return (i - line) * lineHeight; }

  /// Read a file. Axes after the first two must have a length of 1.
  /// @return a failure that says what is missing, cannot be read, or is not supported; the image is then undefined
  AResult Read(const std::string& path);
};

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_FITSIMAGE_H_
