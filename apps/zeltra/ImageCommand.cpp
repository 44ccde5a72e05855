// zeltra image: the dirty image of a source.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "apps/zeltra/plot/ImagePicture.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/Text.h"
#include "zeltra/imaging/ImageFiles.h"

namespace zeltra::app {
namespace {

constexpr double kMuchMemory = 0.5e9;  // worth a message before it is used

struct Options : ImageOptions {
  PictureOptions picture;
};

struct Arguments {
  std::string from;
  ImageNames names;
  Options options;
};

// "NAME: " for the first output that is named.
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

std::string Summary(const DirtyImage& image) {
  const ImagePeak peak = FindPeak(image);
  const auto value = [&](double number) {
    return RoundedNumber(number, 4) + (image.unit.empty() ? "" : " " + PlainText(image.unit));
  };
  return std::to_string(image.visibilities) + " visibilities of " + image.polarisation + ", cells of " +
         AngleText(image.cell) + ", peak " + value(peak.value) + " at " + PlaceText(peak, image.cell) +
         (image.shape.major > 0 ? ", beam " + BeamText(image.shape) : ", no beam") + ", thermal noise " +
         value(image.noise) + ", rms of the map " + value(image.rms);
}

AResult MakeImage(Arguments& arguments, Session& session) {
  const std::string label = Label(arguments.names);
  const double memory = static_cast<double>(ImageMemory(arguments.options));
  if (memory >= kMuchMemory) session.Report(label + "needs " + MemoryText(memory) + " of memory");
  const std::string& name = arguments.names.picture;
  if (AResult result = CheckPicture(name); !result) return result;
  ImageFiles files;
  if (AResult result = files.Create(arguments.names, arguments.from, arguments.options); !result) return result;
  UVXInput input;
  if (AResult result = input.Open(arguments.from, arguments.options.selection, session); !result) return result;
  DirtyImage image;
  if (AResult result = ImageUVX(input, arguments.options, image); !result) return result;
  std::string picture;
  if (!name.empty()) {
    picture = ImagePicture(image, arguments.options.picture);
    if (picture.empty()) return AResult::Fail(name + ": there is no memory for the picture");
    if (AResult result = FinishPicture(name, picture); !result) return result;
  }
  if (AResult result = files.Store(image, picture); !result) return result;
  for (const std::string& remark : image.remarks) session.Note(remark);
  if (image.beyond > 0) {
    session.Note(std::to_string(image.beyond) + " visibilities on baselines too long for the cell are left out");
  }
  session.Report(label + Summary(image));
  return AResult::Ok();
}

AResult ParseClip(const std::string& text, Options& options) {
  const size_t comma = text.find(',');
  PictureOptions::Range clip = {};
  const bool isRange = comma != text.npos && strToVal(text.substr(0, comma), clip.low) &&
                       strToVal(text.substr(comma + 1), clip.high) && clip.low < clip.high;
  if (!isRange) return AResult::Fail("'" + text + "' is not two numbers, the smaller one first, as in -0.01,0.5");
  options.picture.clip = clip;
  return AResult::Ok();
}

// The library's job with the options of its picture.
AJobDescription Description() {
  AJobDescriber<Options> pictures("", "");
  pictures.Option(
      "contours", [](Options & o) -> auto& { return o.picture.contours; },
      "picture: contours at -1, 1, 2, 4, 8 ... times three times the rms of the map; negative ones are dashed");
  pictures.Option(
      "log", [](Options & o) -> auto& { return o.picture.isCompressed; },
      "picture: colours by asinh(value / rms), which is linear below the rms and logarithmic above, for negative "
      "values too");
  pictures
      .Parsed(
          "clip", ParseClip, [](const Options&) { return std::string(); },
          "picture: colours from MIN to MAX, in the unit of the image; pixels beyond have the colours of the ends")
      .Form("MIN,MAX")
      .Otherwise("from the lowest to the highest pixel");
  const AJobDescription more = pictures.Finish();
  AJobDescription description = ImageDescription();
  description.options.insert(description.options.end(), more.options.begin(), more.options.end());
  description.makeOptions = more.makeOptions;
  return description;
}

}  // namespace

void AddImageCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  ImageNames& names = arguments->names;
  static const AJobDescription description = Description();
  AddCommand(app, session, description,
             {arguments->options, {&arguments->from, &names.map, &names.fits, &names.picture, &names.beam}},
             [arguments, &session] { return MakeImage(*arguments, session); });
  CLI::App& command = *app.get_subcommand(description.name);
  for (const char* option : {"--contours", "--log", "--clip"}) command.get_option(option)->needs("--png");
}

}  // namespace zeltra::app
