// zeltra plot: pictures of visibilities and closure phases.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "apps/zeltra/plot/Plot.h"
#include "apps/zeltra/plot/SVGToPNG.h"
#include "zeltra/core/WriteWholeFile.h"
#include "zeltra/ops/SharedOptionsInternal.h"
#include "zeltra/platform/System.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from, to;
  PlotOptions options;
};

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

AResult Plot(Arguments& arguments, Session& session) {
  const std::string& to = arguments.to;
  if (!arguments.options.overwrite && PathExists(to))
    return AResult::Fail(to + ": exists already and is not replaced unasked");
  if (IsSameFile(to, arguments.from)) return AResult::Fail(to + ": is the file that is read");
  const bool isPNG = EndsWith(to, ".png");
  if (isPNG && !CanMakePNG()) {
    return AResult::Fail(to + ": this program was built without librsvg, which draws plots as PNG; name it .svg");
  }
  PlotOptions& options = arguments.options;
  UVXInput input;
  if (AResult result = input.Open(arguments.from, options.selection, session); !result) return result;
  std::string picture;
  AResult result = options.kind == PlotKind::Closure ? PlotClosure(input, options, picture)
                                                     : PlotVisibilities(input, options, picture);
  if (result = input.Settle(result); !result) return result;
  if (isPNG) picture = SVGToPNG(picture);
  if (picture.empty()) return AResult::Fail(to + ": the plot cannot be turned into pixels; name it .svg");
  result = WriteWholeFile(to, picture, options.overwrite, options.sync);
  if (result) session.Report(to + ": drawn");
  return result;
}

AJobDescription DescribePlot() {
  AJobDescriber<PlotOptions> job(
      "plot", "Draw a plot",
      "uv shows where the visibilities lie in the u, v plane; amplitude and phase are drawn over the distance from its "
      "origin, or over time; closure draws closure phases over time.");
  job.Input(UVXInputFile());
  job.Output({"OUT", "the picture to make, .svg or .png", "", 0, {".svg", ".png"}});
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
      "draw flagged visibilities too, as a series of their own");
  job.Option("time", &PlotOptions::overTime, "amplitude, phase: over time");
  DescribeInterval(job, &PlotOptions::interval).help = "closure: length of the averages, -1 for every time stamp";
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
