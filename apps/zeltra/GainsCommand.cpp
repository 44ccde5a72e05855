// zeltra gains: what a gain file or a table of gains holds, and its picture.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/plot/GainPlot.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "zeltra/core/WriteWholeFile.h"
#include "zeltra/jobs/GainsJob.h"

namespace zeltra::app {
namespace {

AResult Draw(const AJobFiles& files, const GainsOptions& options, const AGains& gains, Session& session) {
  const std::string& to = files.to();
  if (AResult result = NeedOutput(files); !result) return result;
  const AJobFile picture = {"OUT", "", "", 0, kPictureEndings};
  if (AResult result = picture.Check(to); !result) return result;
  if (AResult result = CheckPicture(to); !result) return result;
  std::string drawing;
  AResult result = PlotGains(gains, options.ifNumber - 1, options.hand - 1, drawing);
  if (result) result = FinishPicture(to, drawing);
  if (result) result = WriteWholeFile(to, drawing, options.overwrite, options.sync);
  if (result) session.Report(to + ": drawn");
  return result;
}

AResult Gains(const AJobFiles& files, const GainsOptions& options, Session& session) {
  if (options.task == GainTask::CSV && session.format == TableFormat::Text) session.format = TableFormat::CSV;
  const auto draw = [&](const AGains& gains) { return Draw(files, options, gains, session); };
  return LookIntoGains(files, options, draw, session);
}

}  // namespace

void AddGainsCommand(CLI::App& app, Session& session) {
  auto options = std::make_shared<GainsOptions>();
  auto files = std::make_shared<AJobFiles>();
  CommandTargets targets = TargetsOf(GainsDescription(), *options, *files);
  targets.hasTable = true;
  AddCommand(app, session, GainsDescription(), targets,
             [files, options, &session] { return Gains(*files, *options, session); });
}

}  // namespace zeltra::app
