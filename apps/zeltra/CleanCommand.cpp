// zeltra clean: the image of a source without the sidelobes of its beam, and its picture.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/plot/PictureArguments.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "zeltra/jobs/CleanJob.h"

namespace zeltra::app {
namespace {

struct Options : CleanOptions {
  PictureOptions picture;
};

AResult Clean(const AJobFiles& files, const Options& options, Session& session) {
  if (AResult result = CheckPicture(files.outputs[3]); !result) return result;
  return MakeCleanImage(files, options, DrawerOf(options.picture), session);
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
  static const AJobDescription description = Description();
  auto options = std::make_shared<Options>();
  options->picture.contours = true;
  auto files = std::make_shared<AJobFiles>();
  AddCommand(app, session, description, TargetsOf(description, *options, *files),
             [files, options, &session] { return Clean(*files, *options, session); });
  CLI::App& command = *app.get_subcommand(description.name);
  for (const char* option : {"--contours", "--log", "--clip", "--components"}) {
    command.get_option(option)->needs("--png");
  }
}

}  // namespace zeltra::app
