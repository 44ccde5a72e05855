// What jobs that deconvolve share with the one that does not.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_DIRTYIMAGEINTERNAL_H_
#define ZELTRA_IMAGING_DIRTYIMAGEINTERNAL_H_

#include "zeltra/imaging/ImagePartsInternal.h"
#include "zeltra/imaging/ImageUVX.h"

namespace zeltra {

/// ImageUVX, without the HISTORY card of the job and without the last check of the input.
class DirtyImager {
 public:
  DirtyImager(AUVXInput& from, const ImageOptions& options, DirtyImage& image)
      : from_(from), options_(options), image_(image), parts_(from, options) {}

  /// @param kept  null, or receives the grid whose transform is the image; parts() can then do more tasks
  /// @param more  bytes of memory that the job takes besides the image and that grid
  AResult Run(UVGrid* kept = nullptr, int64 more = 0);
  ImageParts& parts() { return parts_; }
  /// @param needed  bytes for `what`
  AResult CheckMemory(const std::string& what, int64 needed) const;

 private:
  AResult CheckOptions() const;
  AResult ChooseCell();
  AResult MakeImage(UVGrid* kept);
  AResult NothingGridded();
  void Describe();
  void Remark();
  AResult Fail(const std::string& what) const { return AResult::Fail(from_.path() + ": " + what); }
  AResult NoMemory() const { return Fail("there is no memory for " + ImageSizeText(options_)); }

  AUVXInput& from_;
  const ImageOptions options_;
  DirtyImage& image_;
  ImageParts parts_;
  ImageCounts counts_;
};

/// Whether images have lines of this many pixels.
bool IsImageSize(int size);

/// The rms of all pixels that belong to a direction.
double RMSOfSky(const AMatrix<float>& map, double cell);

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_DIRTYIMAGEINTERNAL_H_
