// zeltra image: the dirty image of a source.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "apps/zeltra/plot/ImagePicture.h"
#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/Text.h"
#include "zeltra/imaging/ImageFiles.h"

namespace zeltra::app {
namespace {

constexpr double kMuchMemory = 0.5e9;  // worth a word before it is taken

struct Arguments {
  std::string from;
  ImageNames names;
  ImageOptions options;
};

// "NAME: " of the first output that is named.
std::string Label(const ImageNames& names) {
  for (const std::string& name : {names.map, names.fits, names.picture, names.beam}) {
    if (!name.empty()) return name + ": ";
  }
  throw CLI::RequiredError("OUT.map, --fits, --png or --beam");
}

std::string In(const AngleUnit& unit, double radians) {
  return RoundedNumber(radians / unit.radians, 4);
}

std::string PlaceText(const ImagePeak& peak, double cell) {
  const AngleUnit unit = AngleUnitFor(std::max({std::fabs(peak.east), std::fabs(peak.north), cell}));
  const std::string name = std::string(" ") + unit.name;
  return In(unit, peak.east) + name + " east, " + In(unit, peak.north) + name + " north";
}

std::string BeamText(const ABeamShape& shape) {
  const AngleUnit unit = AngleUnitFor(shape.major);
  char angle[24];
  std::snprintf(angle, sizeof angle, " at %.1f degrees", shape.angle);
  return In(unit, shape.major) + " x " + In(unit, shape.minor) + " " + unit.name + angle;
}

std::string Summary(const DirtyImage& image) {
  const ImagePeak peak = FindPeak(image);
  const auto value = [&](double number) {
    return RoundedNumber(number, 4) + (image.unit.empty() ? "" : " " + image.unit);
  };
  return std::to_string(image.visibilities) + " visibilities of " + image.stokes.asShortString() + ", cells of " +
         AngleText(image.cell) + ", peak " + value(peak.value) + " at " + PlaceText(peak, image.cell) +
         (image.shape.major > 0 ? ", beam " + BeamText(image.shape) : ", no beam") + ", thermal noise " +
         value(image.noise) + ", rms of the map " + value(image.rms);
}

AResult MakeImage(Arguments& arguments, Session& session) {
  const std::string label = Label(arguments.names);
  const double memory = static_cast<double>(ImageMemory(arguments.options));
  if (memory >= kMuchMemory) session.Report(label + "takes " + MemoryText(memory) + " of memory");
  ImageFiles files;
  if (AResult result = files.Create(arguments.names, arguments.from, arguments.options); !result) return result;
  UVXInput input;
  if (AResult result = input.Open(arguments.from, session); !result) return result;
  DirtyImage image;
  if (AResult result = ImageUVX(input, arguments.options, image); !result) return result;
  const std::string& png = arguments.names.picture;
  const std::string picture = png.empty() ? "" : ImagePicture(image);
  if (!png.empty() && picture.empty()) return AResult::Fail(png + ": there is no memory for the picture");
  if (AResult result = files.Store(image, picture); !result) return result;
  for (const std::string& remark : image.remarks) session.Note(remark);
  if (image.beyond > 0) {
    session.Note(std::to_string(image.beyond) + " visibilities of baselines too long for the cell are left out");
  }
  session.Report(label + Summary(image));
  return AResult::Ok();
}

}  // namespace

void AddImageCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  ImageNames& names = arguments->names;
  AddCommand(app, session, ImageDescription(),
             {arguments->options, {&arguments->from, &names.map, &names.fits, &names.picture, &names.beam}},
             [arguments, &session] { return MakeImage(*arguments, session); });
}

}  // namespace zeltra::app
