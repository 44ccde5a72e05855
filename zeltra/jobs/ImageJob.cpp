// The job image: the dirty image of a source.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/ImageJob.h"

#include "zeltra/core/AngleUnit.h"
#include "zeltra/jobs/ImageText.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"

namespace zeltra {
namespace {

constexpr double kMuchMemory = 0.5e9;  // worth a message before it is used

// "NAME: " for the first output that is named; empty if there is none.
std::string Label(const ImageNames& names) {
  for (const std::string& name : {names.map, names.fits, names.picture, names.beam}) {
    if (!name.empty()) return name + ": ";
  }
  return {};
}

std::string Summary(const DirtyImage& image) {
  return std::to_string(image.visibilities) + " visibilities of " + image.polarisation + ", cells of " +
         AngleText(image.cell) + ", peak " + PeakText(image) +
         (image.shape.major > 0 ? ", beam " + BeamText(image.shape) : ", no beam") + ", thermal noise " +
         BrightnessText(image.noise, image) + ", rms of the map " + BrightnessText(image.rms, image);
}

AResult RunImage(const AJobFiles& files, ImageOptions& options, AJobHost& host) {
  options.workers = host.workers();
  return MakeImage(files, options, {}, host);
}

}  // namespace

AResult MakeImage(const AJobFiles& files, const ImageOptions& options, const PictureDrawer& draw, AJobHost& host) {
  ImageNames names;
  names.map = files.outputs[0];
  names.fits = files.outputs[1];
  names.picture = files.outputs[2];
  names.beam = files.outputs[3];
  const std::string label = Label(names);
  if (label.empty()) return AResult::Misuse("OUT.map, --fits, --png or --beam is required");
  if (!names.picture.empty() && !draw) return AResult::Misuse(names.picture + ": only the command draws pictures");
  const double memory = static_cast<double>(ImageMemory(options));
  if (memory >= kMuchMemory) host.Report(label + "needs " + MemoryText(memory) + " of memory");
  ImageFiles outputs;
  if (AResult result = outputs.Create(names, files.from(), options); !result) return result;
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options.selection, options, host); !result) return result;
  DirtyImage image;
  if (AResult result = ImageUVX(input, options, image); !result) return result;
  std::string picture;
  if (!names.picture.empty()) {
    if (AResult result = draw(image, nullptr, names.picture, picture); !result) return result;
  }
  if (AResult result = outputs.Store(image, picture); !result) return result;
  NoteAll(image.remarks, host);
  if (image.beyond > 0) host.Note(BeyondText(image));
  host.Report(label + Summary(image));
  return AResult::Ok();
}

AJob ImageJob() {
  return JobOf<ImageOptions, RunImage>(ImageDescription);
}

}  // namespace zeltra
