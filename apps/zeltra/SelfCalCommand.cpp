// zeltra selfcal: a source calibrated with its own image, and the picture of that.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/plot/PictureArguments.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "zeltra/jobs/SelfCalJob.h"

namespace zeltra::app {
namespace {

struct Options : SelfCalOptions {
  PictureOptions picture;
};

AResult Calibrate(const AJobFiles& files, const Options& options, Session& session) {
  if (AResult result = CheckPicture(files.outputs[4]); !result) return result;
  return MakeSelfCalibrated(files, options, DrawerOf(options.picture), session);
}

// The library's job with the options of its picture.
AJobDescription Description() {
  AJobDescriber<Options> pictures("", "");
  DescribePicture(pictures);
  const AJobDescription more = pictures.Finish();
  AJobDescription description = SelfCalDescription();
  description.options.insert(description.options.end(), more.options.begin(), more.options.end());
  description.makeOptions = more.makeOptions;
  return description;
}

}  // namespace

void AddSelfCalCommand(CLI::App& app, Session& session) {
  static const AJobDescription description = Description();
  auto options = std::make_shared<Options>();
  options->picture.contours = true;
  auto files = std::make_shared<AJobFiles>();
  CommandTargets targets = TargetsOf(description, *options, *files);
  targets.hasTable = true;
  AddCommand(app, session, description, targets,
             [files, options, &session] { return Calibrate(*files, *options, session); });
  CLI::App& command = *app.get_subcommand(description.name);
  for (const char* option : {"--contours", "--log", "--clip"}) command.get_option(option)->needs("--png");
}

}  // namespace zeltra::app
