// The job fit: components of a source, from its visibilities or from an image.
// SPDX-License-Identifier: MIT
#include <cmath>

#include "zeltra/calibration/FitUVX.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/imaging/FitImage.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"

namespace zeltra {
namespace {

constexpr int kDigits = 6, kErrorDigits = 2;

AResult DeliverComponents(const ComponentFit& fit, AJobHost& host) {
  ATableSink& table = host.BeginTable(FitDescription().columns);
  const auto number = [&table](double value, int digits) {
    std::isfinite(value) ? table.Rounded(value, digits) : table.Nothing();
  };
  const auto deliver = [&number](double value, double error, double unit) {
    number(value / unit, kDigits);
    number(error / unit, kErrorDigits);
  };
  for (size_t i = 0; i < fit.errors.size(); ++i) {
    const ModelComponent& c = fit.model.components()[i];
    const ComponentErrors& e = fit.errors[i];
    table.Integer(static_cast<int64>(i) + 1);
    deliver(c.flux, e.flux, 1);
    deliver(c.x, e.x, kRadiansPerMas);
    deliver(c.y, e.y, kRadiansPerMas);
    deliver(c.major, e.major, kRadiansPerMas);
    deliver(c.ratio, e.ratio, 1);
    deliver(c.angle, e.angle, kRadiansPerDegree);
    table.EndRow();
  }
  return FinishSummary(table);
}

std::string Count(int64 n, const std::string& what) {
  return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
}

std::string Chi(double chi2, int64 visibilities) {
  return RoundedNumber(chi2 / (2 * static_cast<double>(visibilities)), 7);
}

AResult FitVisibilities(const AJobFiles& files, const FitOptions& options, ComponentFit& fit, AJobHost& host) {
  const std::string &to = files.outputs[0], &residual = files.outputs[1];
  AUVXInput input;
  if (AResult result = OpenInput(input, files.inputs[0], options.selection, options, host); !result) return result;
  if (AResult result = FitUVX(input, to, residual, options, fit); !result) return result;
  NoteAll(fit.remarks, host);
  host.Report(files.outputs[0] + ": " + Count(fit.parameters, "number") + " of " +
              Count(std::ssize(fit.errors), "component") + " fitted to " + std::to_string(fit.visibilities) +
              " visibilities" + " in " + Count(fit.iterations, "step") + "; chi^2/2N " +
              Chi(fit.chi2Before, fit.visibilities) + " before, " + Chi(fit.chi2After, fit.visibilities) + " after");
  if (!residual.empty()) ReportUVX(host, residual);
  return AResult::Ok();
}

AResult FitPixels(const AJobFiles& files, const FitOptions& options, ComponentFit& sky, AJobHost& host) {
  ImageFit fit;
  AResult result = FitImage(files.inputs[1], options.model, files.outputs[0], options, fit);
  if (!result) return result;
  sky = fit.sky;
  NoteAll(sky.remarks, host);
  host.Report(files.outputs[0] + ": " + Count(std::ssize(sky.errors), "component") + " fitted in " +
              Count(fit.rounds, "round") + "; rms of the rest " + RoundedNumber(fit.rms, 4) + " " + fit.unit);
  return AResult::Ok();
}

// Refuse arguments that mean something else, or nothing, for an image.
AResult CheckArguments(const AJobFiles& files, const FitOptions& options) {
  const std::string &from = files.inputs[0], &image = files.inputs[1];
  if (image.empty()) {
    if (from.empty()) return AResult::Misuse("FILE or --image-plane is required");
    return options.model.empty() ? AResult::Misuse("--model is required") : AResult::Ok();
  }
  if (!from.empty()) return AResult::Misuse("--image-plane: stands in place of " + from);
  const AJobDescription& fit = FitDescription();
  if (files.outputs[1].empty() && fit.Command(options) == fit.Command(FitOptions())) return AResult::Ok();
  return AResult::Misuse("--image-plane: goes with --model and --output, not with options for visibilities");
}

AResult RunFit(const AJobFiles& files, FitOptions& options, AJobHost& host) {
  if (AResult result = CheckArguments(files, options); !result) return result;
  ComponentFit fit;
  AResult result =
      files.inputs[1].empty() ? FitVisibilities(files, options, fit, host) : FitPixels(files, options, fit, host);
  return result ? DeliverComponents(fit, host) : result;
}

}  // namespace

AJob FitJob() {
  return JobOf<FitOptions, RunFit>(FitDescription, true);
}

}  // namespace zeltra
