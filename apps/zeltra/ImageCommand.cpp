// zeltra image: the dirty image of a source, and its picture.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/plot/ImagePicture.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "zeltra/jobs/ImageJob.h"

namespace zeltra::app {
namespace {

struct Options : ImageOptions {
  PictureOptions picture;
};

AResult Image(const AJobFiles& files, const Options& options, Session& session) {
  const auto draw = [&](const DirtyImage& image, const std::string& name, std::string& picture) {
    picture = ImagePicture(image, options.picture);
    if (picture.empty()) return AResult::Fail(name + ": there is no memory for the picture");
    return FinishPicture(name, picture);
  };
  if (AResult result = CheckPicture(files.outputs[2]); !result) return result;
  return MakeImage(files, options, draw, session);
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
  static const AJobDescription description = Description();
  auto options = std::make_shared<Options>();
  auto files = std::make_shared<AJobFiles>();
  AddCommand(app, session, description, TargetsOf(description, *options, *files),
             [files, options, &session] { return Image(*files, *options, session); });
  CLI::App& command = *app.get_subcommand(description.name);
  for (const char* option : {"--contours", "--log", "--clip"}) command.get_option(option)->needs("--png");
}

}  // namespace zeltra::app
