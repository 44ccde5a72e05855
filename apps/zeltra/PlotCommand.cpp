// zeltra plot: pictures of visibilities and closure phases.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "apps/zeltra/plot/Plot.h"
#include "zeltra/core/WriteWholeFile.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/ops/SharedOptionsInternal.h"
#include "zeltra/platform/System.h"

namespace zeltra::app {
namespace {

constexpr double kClosureInterval = 60;  // s

struct Arguments {
  std::string from, to;
  PlotOptions options;
};

AResult Plot(Arguments& arguments, Session& session) {
  const std::string& to = arguments.to;
  PlotOptions& options = arguments.options;
  if (options.isLogarithmic && options.kind != PlotKind::Amplitude) {
    throw CLI::ValidationError("--log", "applies only to amplitudes");
  }
  if (!options.overwrite && PathExists(to)) return AResult::Fail(to + ": exists already and is not replaced unasked");
  if (IsSameFile(to, arguments.from)) return AResult::Fail(to + ": is the file that is read");
  if (AResult result = CheckPicture(to); !result) return result;
  if (options.kind == PlotKind::Closure && options.interval == 0) options.interval = kClosureInterval;
  AUVXInput input;
  if (AResult result = OpenInput(input, arguments.from, options.selection, options, session); !result) return result;
  std::string picture;
  AResult result = options.kind == PlotKind::Closure ? PlotClosure(input, options, picture)
                                                     : PlotVisibilities(input, options, picture);
  if (result = input.Settle(result); !result) return result;
  result = FinishPicture(to, picture);
  if (result) result = WriteWholeFile(to, picture, options.overwrite, options.sync);
  if (result) session.Report(to + ": drawn");
  return result;
}

AJobDescription DescribePlot() {
  AJobDescriber<PlotOptions> job(
      "plot", "Draw a plot",
      "uv shows where the visibilities lie in the u, v plane; amplitude and phase are drawn over the distance from its "
      "origin, or over time; closure draws closure phases over time.");
  job.Input(UVXInputFile());
  job.Output({"OUT", "the picture to make, .svg or .png", "", 0, kPictureEndings});
  job.Choice<PlotKind PlotOptions::*, PlotKind>("kind", &PlotOptions::kind,
                                                {{"uv", PlotKind::UV},
                                                 {"amplitude", PlotKind::Amplitude},
                                                 {"phase", PlotKind::Phase},
                                                 {"closure", PlotKind::Closure}},
                                                "what to draw: uv, amplitude, phase or closure")
      .Form("KIND")
      .Word();
  DescribeSelection(job, {.sources = "the only one", .stokes = "the parallel hands", .isByVisibility = true});
  job.Option(
      "flagged", [](PlotOptions & o) -> auto& { return o.selection.flagged; },
      "draw flagged visibilities too, as a separate series");
  job.Option("time", &PlotOptions::overTime, "amplitude, phase: plot over time");
  job.Option("log", &PlotOptions::isLogarithmic, "amplitude: logarithmic axis");
  AJobOption& interval = DescribeInterval(job, &PlotOptions::interval);
  interval.help = "average first, over intervals of this length; -1 for each time stamp";
  interval.Otherwise("60 for closure, else no averaging");
  job.Threads();
  job.Overwrite();
  return job.Finish();
}

}  // namespace

void AddPlotCommand(CLI::App& app, Session& session) {
  static const AJobDescription description = DescribePlot();
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, description, {arguments->options, {&arguments->from, &arguments->to}},
             [arguments, &session] { return Plot(*arguments, session); });
}

}  // namespace zeltra::app
