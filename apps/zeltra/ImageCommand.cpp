// zeltra image: the dirty image of a source.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/ImageText.h"
#include "apps/zeltra/UVXInput.h"
#include "apps/zeltra/plot/PictureArguments.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "zeltra/core/AngleUnit.h"
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

std::string Summary(const DirtyImage& image) {
  return std::to_string(image.visibilities) + " visibilities of " + image.polarisation + ", cells of " +
         AngleText(image.cell) + ", peak " + PeakText(image) +
         (image.shape.major > 0 ? ", beam " + BeamText(image.shape) : ", no beam") + ", thermal noise " +
         BrightnessText(image.noise, image) + ", rms of the map " + BrightnessText(image.rms, image);
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
  if (image.beyond > 0) session.Note(BeyondText(image));
  session.Report(label + Summary(image));
  return AResult::Ok();
}

// The library's job with the options of its picture.
AJobDescription Description() {
  AJobDescriber<Options> pictures("", "");
  DescribePicture(pictures);
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
