// zeltra clean: the image of a source without the sidelobes of its beam.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/ImageText.h"
#include "apps/zeltra/UVXInput.h"
#include "apps/zeltra/plot/PictureArguments.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/Text.h"
#include "zeltra/imaging/CleanUVX.h"
#include "zeltra/imaging/ImageFiles.h"

namespace zeltra::app {
namespace {

struct Options : CleanOptions {
  PictureOptions picture;
};

struct Arguments {
  std::string from;
  ImageNames names;
  Options options;
};

std::string Summary(const CleanImage& image) {
  const auto value = [&image](double number) { return BrightnessText(number, image); };
  return std::to_string(image.components.components().size()) + " components of " +
         RoundedNumber(image.components.Flux(), 4) + " Jy in " + std::to_string(image.iterations) + " iterations and " +
         std::to_string(image.cycles) + " cycles, ended at " + image.ending + ", peak " + PeakText(image) + ", beam " +
         BeamText(image.shape) + ", thermal noise " + value(image.noise) + ", rms of what is left " + value(image.rms) +
         ", chi^2/2N of " + std::to_string(image.visibilities) + " visibilities " +
         RoundedNumber(image.chi2 / 2 / static_cast<double>(image.visibilities), 4);
}

AResult Clean(Arguments& arguments, Session& session) {
  const std::string& name = arguments.names.picture;
  if (AResult result = CheckPicture(name); !result) return result;
  ImageFiles files;
  if (AResult result = files.Create(arguments.names, arguments.from, arguments.options); !result) return result;
  UVXInput input;
  if (AResult result = input.Open(arguments.from, arguments.options.selection, session); !result) return result;
  CleanImage image;
  if (AResult result = CleanUVX(input, arguments.options, image); !result) return result;
  std::string picture;
  if (!name.empty()) {
    picture = ImagePicture(image, arguments.options.picture, &image.components);
    if (picture.empty()) return AResult::Fail(name + ": there is no memory for the picture");
    if (AResult result = FinishPicture(name, picture); !result) return result;
  }
  if (AResult result = files.Store(image, picture); !result) return result;
  for (const std::string& remark : image.remarks) session.Note(remark);
  if (image.beyond > 0) session.Note(BeyondText(image));
  session.Report(arguments.names.fits + ": " + Summary(image));
  return AResult::Ok();
}

// The library's job with the options of its picture.
AJobDescription Description() {
  AJobDescriber<Options> pictures("", "");
  DescribePicture(pictures);
  pictures.Option(
      "components", [](Options & o) -> auto& { return o.picture.components; },
      "picture: crosses where components are, red ones for negative components");
  const AJobDescription more = pictures.Finish();
  AJobDescription description = CleanDescription();
  description.options.insert(description.options.end(), more.options.begin(), more.options.end());
  description.makeOptions = more.makeOptions;
  return description;
}

}  // namespace

void AddCleanCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  arguments->options.picture.contours = true;
  ImageNames& names = arguments->names;
  static const AJobDescription description = Description();
  AddCommand(app, session, description,
             {arguments->options, {&arguments->from, &names.fits, &names.model, &names.residual, &names.picture}},
             [arguments, &session] { return Clean(*arguments, session); });
  CLI::App& command = *app.get_subcommand(description.name);
  for (const char* option : {"--contours", "--log", "--clip", "--components"}) {
    command.get_option(option)->needs("--png");
  }
}

}  // namespace zeltra::app
