// What imaging takes and gives, as people see it.
// SPDX-License-Identifier: MIT
#include "zeltra/core/Units.h"
#include "zeltra/imaging/ImageUVX.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra {
namespace {

AJobDescription DescribeImage() {
  using Weighting = ImageOptions::Weighting;
  AJobDescriber<ImageOptions> job(
      "image", "Make the dirty image of a source",
      "Images have north up and east to the left; pixel (size / 2, size / 2) is the "
      "phase "
      "centre. They are divided by the sum of weights, so that a point source of 1 Jy is 1 Jy/beam.");
  job.Input(UVXInputFile());
  job.Output({"OUT.map", "the map file to make", "", 0, {}});
  job.Output({"OUT.fits", "make a FITS image too", "fits", 0, {}});
  job.Output({"OUT.png", "make a picture too", "png", 0, {}});
  job.Output({"BEAM.map", "make a map file of the dirty beam too", "beam", 0, {}});
  DescribeSelection(job, {.sources = "the only one",
                          .stokes = "I, or the first one where there is no I",
                          .isSingle = true,
                          .isByVisibility = true});
  job.Option("size", &ImageOptions::size, "pixels of a line, and lines").Unit("pixels");
  job.Option("cell", &ImageOptions::cell, "size of a pixel")
      .Unit("mas")
      .Scale(kRadiansPerMas)
      .Range(1e-9, 1e9)
      .Otherwise("a fifth of the narrowest fringe");
  job.Choice<Weighting ImageOptions::*, Weighting>(
      "weight", &ImageOptions::weighting, {{"natural", ImageOptions::Natural}, {"uniform", ImageOptions::Uniform}},
      "natural: least noise, or uniform: narrowest beam");
  job.Overwrite();
  return job.Finish();
}

}  // namespace

const AJobDescription& ImageDescription() {
  static const AJobDescription description = DescribeImage();
  return description;
}

}  // namespace zeltra
