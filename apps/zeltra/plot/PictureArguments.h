// The options of pictures of images.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_PICTUREARGUMENTS_H_
#define ZELTRA_APPS_PLOT_PICTUREARGUMENTS_H_

#include <string>

#include "apps/zeltra/plot/ImagePicture.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/jobs/ImageJob.h"

namespace zeltra::app {

/// Read "MIN,MAX" into the range of colours.
AResult ParseClip(const std::string& text, PictureOptions& picture);

/// What draws an image for its job.
/// @param options  must outlive the result
PictureDrawer DrawerOf(const PictureOptions& options);

/// Describe the options of a picture for a job whose options have a member `picture`.
template <typename Options>
void DescribePicture(AJobDescriber<Options>& job) {
  job.Option(
      "contours", [](Options & o) -> auto& { return o.picture.contours; },
      "picture: contours at -1, 1, 2, 4, 8 ... times three times the rms of the map; negative ones are dashed");
  job.Option(
      "log", [](Options & o) -> auto& { return o.picture.isCompressed; },
      "picture: colours by asinh(value / rms), which is linear below the rms and logarithmic above, for negative "
      "values too");
  job.Parsed(
         "clip", [](const std::string& text, Options& o) { return ParseClip(text, o.picture); },
         [](const Options&) { return std::string(); },
         "picture: colours from MIN to MAX, in the unit of the image; pixels beyond have the colours of the ends")
      .Form("MIN,MAX")
      .Otherwise("from the lowest to the highest pixel");
}

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_PICTUREARGUMENTS_H_
