// The options and results of imaging, as the user sees them.
// SPDX-License-Identifier: MIT
#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/Units.h"
#include "zeltra/imaging/ImageUVX.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra {
namespace {

AJobDescription DescribeImage() {
  AJobDescriber<ImageOptions> job(
      "image", "Make the dirty image of a source",
      "Images have north up and east to the left; pixel (size / 2, size / 2) is the phase centre. They are divided by "
      "the sum of weights, so that a point source of 1 Jy is 1 Jy/beam. The beam is the Gaussian that curves as the "
      "dirty beam does at its centre. Two noise figures are reported: the thermal noise, as expected from the weights, "
      "and the rms of all pixels. The curvature of the sky (w) is not corrected for; a note says where that matters. "
      "At least one output has to be named.\n\n"
      "W is the weight that a visibility is gridded with, w its weight in the file after power and taper, and W_k the "
      "sum of w over the square of 1 / (size x cell) wavelengths that it lies in, both halves of the u, v plane added "
      "up. natural: W = w, the least noise. uniform: W = w / W_k, the narrowest beam. robust=R: W = w / (1 + W_k f^2), "
      "f^2 = (5 x 10^-R)^2 / (sum of W_k^2 / sum of w), which is natural for R = 5 and uniform for R = -5: the scale "
      "of Briggs (1995). The ROBUST of AIPS is on another scale, 2 R - 0.7 for the same mean density.\n\n"
      "Memory: 64 bytes for each of n x n cells, n being the smallest power of two not below the size, and 8 for each "
      "pixel: 76 MB for 1024, 1.2 GB for 4096, 4.8 GB for 8192 pixels.");
  job.Input(UVXInputFile());
  job.Output({"OUT.map", "the map file to make", "", 0, {}, true});
  job.Output({"OUT.fits", "make a FITS image", "fits", 0, {}});
  AJobFile picture = {"PICTURE", "make a picture, .svg or .png", "png", 0, {".svg", ".png"}};
  picture.isPicture = true;
  job.Output(picture);
  job.Output({"BEAM.map", "make a map file of the dirty beam", "beam", 0, {}});
  DescribeSelection(job, {.sources = "the only one",
                          .stokes = "I, or the first one where there is no I",
                          .isSingle = true,
                          .isByVisibility = true});
  job.Option("size", &ImageOptions::size, "pixels in a line and number of lines, an even number")
      .Unit("pixels")
      .Range(16, 8192);
  job.Option("cell", &ImageOptions::cell, "size of a pixel; uas, mas, arcsec, arcmin or deg may follow")
      .Unit("mas")
      .Scale(kRadiansPerMas)
      .Suffixes(kAngleSuffixes)
      .Range(1e-9, 1e9)
      .Otherwise("a fifth of the narrowest fringe");
  job.Parsed(
         "weight", [](const std::string& text, ImageOptions& o) { return strToScheme(text, o.weighting); },
         [](const ImageOptions& o) { return schemeToStr(o.weighting); },
         "natural: least noise, uniform: narrowest beam, or between them, R from -5 to 5 on the scale of Briggs, not "
         "that of AIPS")
      .Form("natural|uniform|robust=R");
  job.Option(
         "weight-power", [](ImageOptions & o) -> auto& { return o.weighting.power; },
         "power of the weights in the file, as in 0.5 for their square root")
      .Form("A")
      .Range(0, 2);
  job.Parsed(
         "taper", [](const std::string& text, ImageOptions& o) { return strToTaper(text, o.weighting); },
         [](const ImageOptions&) { return std::string(); },
         "multiply weights by a Gaussian that falls to V at RADIUS wavelengths from the origin; k, M or G may follow, "
         "as in 0.5,100M")
      .Form("V,RADIUS")
      .Otherwise("none");
  job.Option("memory", &ImageOptions::memory, "the most memory to use; k, M or G may follow, as in 2G")
      .Unit("bytes")
      .Suffixes(kThousands)
      .From(1)
      .Otherwise("half of what is free");
  job.Overwrite();
  return job.Finish();
}

}  // namespace

const AJobDescription& ImageDescription() {
  static const AJobDescription description = DescribeImage();
  return description;
}

}  // namespace zeltra
