// The job clean: the image of a source without the sidelobes of its beam.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/CleanJob.h"

#include "zeltra/core/Text.h"
#include "zeltra/jobs/ImageText.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"

namespace zeltra {
namespace {

std::string Summary(const CleanImage& image) {
  const auto value = [&image](double number) { return BrightnessText(number, image); };
  return std::to_string(image.components.components().size()) + " components of " +
         RoundedNumber(image.components.Flux(), 4) + " Jy in " + std::to_string(image.iterations) + " iterations and " +
         std::to_string(image.cycles) + (image.cycles == 1 ? " cycle" : " cycles") + ", ended at " + image.ending +
         ", peak " + PeakText(image) + ", beam " + BeamText(image.shape) + ", thermal noise " + value(image.noise) +
         ", rms of what is left " + value(image.rms) + ", chi^2/2N of " + std::to_string(image.visibilities) +
         " visibilities " + RoundedNumber(image.chi2 / 2 / static_cast<double>(image.visibilities), 4);
}

AResult RunClean(const AJobFiles& files, CleanOptions& options, AJobHost& host) {
  options.workers = host.workers();
  return MakeCleanImage(files, options, {}, host);
}

}  // namespace

AResult MakeCleanImage(const AJobFiles& files, const CleanOptions& options, const PictureDrawer& draw, AJobHost& host) {
  ImageNames names;
  names.fits = files.outputs[0];
  names.model = files.outputs[1];
  names.residual = files.outputs[2];
  names.picture = files.outputs[3];
  ImageFiles outputs;
  if (AResult result = outputs.Create(names, files.from(), options); !result) return result;
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options.selection, options, host); !result) return result;
  CleanImage image;
  if (AResult result = CleanUVX(input, options, image); !result) return result;
  std::string picture;
  if (!names.picture.empty() && draw) {
    if (AResult result = draw(image, &image.components, names.picture, picture); !result) return result;
  }
  if (AResult result = outputs.Store(image, picture); !result) return result;
  NoteAll(image.remarks, host);
  if (image.beyond > 0) host.Note(BeyondText(image));
  host.Report(names.fits + ": " + Summary(image));
  return AResult::Ok();
}

AJob CleanJob() {
  return JobOf<CleanOptions, RunClean>(CleanDescription);
}

}  // namespace zeltra
