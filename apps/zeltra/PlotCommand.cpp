// zeltra plot: pictures of visibilities and closure phases.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/plot/ModelledInput.h"
#include "apps/zeltra/plot/PictureFile.h"
#include "apps/zeltra/plot/Plot.h"
#include "zeltra/calibration/VisibilityModel.h"
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

void CheckOptions(const PlotOptions& options) {
  if (options.isLogarithmic && options.kind != PlotKind::Amplitude) {
    throw CLI::ValidationError("--log", "applies only to amplitudes");
  }
  if (!options.model.empty() && options.kind == PlotKind::UV) {
    throw CLI::ValidationError("--model", "applies only to visibilities and closure phases");
  }
  if (options.model.empty() && options.kind == PlotKind::Residual) throw CLI::RequiredError("--model");
}

// A model has no visibilities of other polarisations.
AResult CheckStokes(AUVXInput& input, const PlotOptions& options) {
  if (options.selection.stokes.empty()) return AResult::Ok();
  std::vector<PolarisationChoice> polarisations;
  AResult result = input.contents().FindPolarisations(options.selection.stokes, polarisations);
  return result ? CheckModelled(input.path(), polarisations) : result;
}

// Draw the visibilities, with those of a model or without it.
AResult Draw(AUVXInput& input, const PlotOptions& options, std::string& picture) {
  ModelledInput modelled;
  AUVXInput* model = nullptr;
  const bool isResidual = options.kind == PlotKind::Residual;
  if (!options.model.empty()) {
    if (AResult result = CheckStokes(input, options); !result) return result;
    const ModelUse use = isResidual ? ModelUse::Subtract : ModelUse::Replace;
    if (AResult result = modelled.Open(input, options.model, use, options); !result) return result;
    model = &modelled.input();
  }
  AResult result = AResult::Ok();
  if (options.kind == PlotKind::Closure) {
    result = PlotClosure(input, model, options, picture);
  } else {
    result = PlotVisibilities(isResidual ? *model : input, isResidual ? nullptr : model, options, picture);
  }
  return model ? model->Settle(result) : result;
}

AResult Plot(Arguments& arguments, Session& session) {
  const std::string& to = arguments.to;
  PlotOptions& options = arguments.options;
  CheckOptions(options);
  if (!options.overwrite && PathExists(to)) return AResult::Fail(to + ": exists already and is not replaced unasked");
  if (IsSameFile(to, arguments.from)) return AResult::Fail(to + ": is the file that is read");
  if (AResult result = CheckPicture(to); !result) return result;
  if (options.kind == PlotKind::Closure && options.interval == 0) options.interval = kClosureInterval;
  AUVXInput input;
  if (AResult result = OpenInput(input, arguments.from, options.selection, options, session); !result) return result;
  std::string picture;
  AResult result = Draw(input, options, picture);
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
      "origin, or over time; closure draws closure phases over time; residual draws what a model leaves of the real "
      "and "
      "imaginary parts. A model is drawn over the data, selected and averaged as they are; it takes a temporary copy "
      "of "
      "the file.");
  job.Input(UVXInputFile());
  job.Output({"OUT", "the picture to make, .svg or .png", "", 0, kPictureEndings});
  job.Choice<PlotKind PlotOptions::*, PlotKind>("kind", &PlotOptions::kind,
                                                {{"uv", PlotKind::UV},
                                                 {"amplitude", PlotKind::Amplitude},
                                                 {"phase", PlotKind::Phase},
                                                 {"closure", PlotKind::Closure},
                                                 {"residual", PlotKind::Residual}},
                                                "what to draw: uv, amplitude, phase, closure or residual")
      .Form("KIND")
      .Word();
  DescribeSelection(job, {.sources = "the only one", .stokes = "the parallel hands", .isByVisibility = true});
  job.Option(
      "flagged", [](PlotOptions & o) -> auto& { return o.selection.flagged; },
      "draw flagged visibilities too, as a separate series");
  job.Option(
         "model", &PlotOptions::model,
         "amplitude, phase, closure: draw a model as well: a list of components (.mod), a FITS image with a table AIPS "
         "CC, point or point=JY, or visibilities with the same records; residual: subtract it")
      .Form("MODEL")
      .Otherwise("none");
  job.Option("time", &PlotOptions::overTime, "amplitude, phase, residual: plot over time");
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
