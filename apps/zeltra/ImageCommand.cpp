// zeltra image: the dirty image of a source, and its picture.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/plot/PictureArguments.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "zeltra/jobs/ImageJob.h"

namespace zeltra::app {
namespace {

struct Options : ImageOptions {
  PictureOptions picture;
};

AResult Image(const AJobFiles& files, const Options& options, Session& session) {
  if (AResult result = CheckPicture(files.outputs[2]); !result) return result;
  return MakeImage(files, options, DrawerOf(options.picture), session);
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
  static const AJobDescription description = Description();
  auto options = std::make_shared<Options>();
  auto files = std::make_shared<AJobFiles>();
  AddCommand(app, session, description, TargetsOf(description, *options, *files),
             [files, options, &session] { return Image(*files, *options, session); });
  CLI::App& command = *app.get_subcommand(description.name);
  for (const char* option : {"--contours", "--log", "--clip"}) command.get_option(option)->needs("--png");
}

}  // namespace zeltra::app
