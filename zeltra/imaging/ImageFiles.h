// The files that an image is stored in.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_IMAGEFILES_H_
#define ZELTRA_IMAGING_IMAGEFILES_H_

#include <memory>
#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/imaging/CleanUVX.h"
#include "zeltra/imaging/ImageUVX.h"

namespace zeltra {

/// File names, empty for files that are not wanted.
struct ImageNames {
  std::string map;            ///< of the image, a map file
  std::string beam;           ///< of the dirty beam, a map file
  std::string fits;           ///< of the image, FITS
  std::string picture;        ///< of a picture, whose bytes the caller has drawn
  std::string residual = {};  ///< of what CLEAN leaves, FITS
  std::string model = {};     ///< of the components, text
};

/// Stores an image in several files, which appear under their names together, once all of them are complete.
///
/// The first two ranges of a map file are those of the east and north offsets of pixel centres, radians; the beam
/// parameters are four doubles: the widths of the beam, radians, its angle, degrees (see ABeamShape), and a zero. A
/// FITS image holds 32-bit floats and has the axes RA---SIN, DEC--SIN, FREQ and STOKES; NOISE is the thermal noise, RMS
/// the measured one.
class ZELTRA_API ImageFiles {
 public:
  ImageFiles();
  ImageFiles(const ImageFiles&) = delete;
  ImageFiles& operator=(const ImageFiles&) = delete;
  /// Removes whatever is not stored.
  ~ImageFiles();

  /// Create the files under temporary names.
  /// @param input    the file that the image is made from, which is never replaced
  /// @param options  whether files may be replaced, and whether they are synchronised with the disk
  /// @return a failure if a file is named twice, exists and may not be replaced, or cannot be written
  AResult Create(const ImageNames& names, const std::string& input, const JobOptions& options);
  /// Write the files and give them their names.
  AResult Store(const DirtyImage& image, const std::string& picture = {});
  /// The same with components, which a FITS image also holds as a table "AIPS CC".
  AResult Store(const CleanImage& image, const std::string& picture = {});

 private:
  struct Outputs;

  std::unique_ptr<Outputs> outputs_;
};

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_IMAGEFILES_H_
