// The job image: the dirty image of a source.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/ImageJob.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/Text.h"
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

std::string In(const AngleUnit& unit, double radians) {
  return RoundedNumber(radians / unit.radians, 4);
}

std::string PlaceText(const ImagePeak& peak, double cell) {
  const AngleUnit unit = AngleUnitFor(std::max({std::fabs(peak.east), std::fabs(peak.north), cell}));
  const std::string name = std::string(" ") + unit.name;
  return In(unit, peak.east) + name + " east, " + In(unit, peak.north) + name + " north";
}

std::string Summary(const DirtyImage& image) {
  const ImagePeak peak = FindPeak(image);
  const auto value = [&](double number) {
    return RoundedNumber(number, 4).append(image.unit.empty() ? "" : " ").append(PlainText(image.unit));
  };
  return std::to_string(image.visibilities) + " visibilities of " + image.polarisation + ", cells of " +
         AngleText(image.cell) + ", peak " + value(peak.value) + " at " + PlaceText(peak, image.cell) +
         (image.shape.major > 0 ? ", beam " + BeamText(image.shape) : ", no beam") + ", thermal noise " +
         value(image.noise) + ", rms of the map " + value(image.rms);
}

AResult RunImage(const AJobFiles& files, ImageOptions& options, AJobHost& host) {
  return MakeImage(files, options, {}, host);
}

}  // namespace

AResult MakeImage(const AJobFiles& files, const ImageOptions& options, const PictureDrawer& draw, AJobHost& host) {
  const ImageNames names = {files.outputs[0], files.outputs[3], files.outputs[1], files.outputs[2]};
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
    if (AResult result = draw(image, names.picture, picture); !result) return result;
  }
  if (AResult result = outputs.Store(image, picture); !result) return result;
  NoteAll(image.remarks, host);
  if (image.beyond > 0) {
    host.Note(std::to_string(image.beyond) + " visibilities on baselines too long for the cell are left out");
  }
  host.Report(label + Summary(image));
  return AResult::Ok();
}

std::string BeamText(const ABeamShape& shape) {
  const AngleUnit unit = AngleUnitFor(shape.major);
  char angle[24];
  std::snprintf(angle, sizeof angle, " at %.1f degrees", shape.angle);
  return RoundedNumber(shape.major / unit.radians, 4) + " x " + RoundedNumber(shape.minor / unit.radians, 4) + " " +
         unit.name + angle;
}

AJob ImageJob() {
  return JobOf<ImageOptions, RunImage>(ImageDescription);
}

}  // namespace zeltra
