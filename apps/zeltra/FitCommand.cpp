// zeltra fit: components of a source, from its visibilities or from an image.
// SPDX-License-Identifier: MIT
#include <cmath>
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/calibration/FitUVX.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/imaging/FitImage.h"

namespace zeltra::app {
namespace {

constexpr int kDigits = 6, kErrorDigits = 2;

struct Arguments {
  std::string from, image;
  std::string to, residual;
  TableFormat format = TableFormat::Text;
  FitOptions options;
};

AResult PrintComponents(const Arguments& arguments, const ComponentFit& fit) {
  StandardOutput out;
  TablePrinter printer(out, arguments.format, PrintedColumns(FitDescription(), arguments.format));
  const auto number = [&](double value, int digits) {
    if (!std::isfinite(value)) return printer.Nothing();
    arguments.format == TableFormat::Text ? printer.Text(RoundedNumber(value, digits)) : printer.Real(value);
  };
  const auto print = [&number](double value, double error, double unit) {
    number(value / unit, kDigits);
    number(error / unit, kErrorDigits);
  };
  for (size_t i = 0; i < fit.errors.size(); ++i) {
    const ModelComponent& c = fit.model.components()[i];
    const ComponentErrors& e = fit.errors[i];
    printer.Integer(static_cast<int64>(i) + 1);
    print(c.flux, e.flux, 1);
    print(c.x, e.x, kRadiansPerMas);
    print(c.y, e.y, kRadiansPerMas);
    print(c.major, e.major, kRadiansPerMas);
    print(c.ratio, e.ratio, 1);
    print(c.angle, e.angle, kRadiansPerDegree);
    printer.EndRow();
  }
  printer.Finish();
  return out.Flush();
}

std::string Count(int64 n, const std::string& what) {
  return std::to_string(n) + " " + what + (n == 1 ? "" : "s");
}

std::string Chi(double chi2, int64 visibilities) {
  return RoundedNumber(chi2 / (2 * static_cast<double>(visibilities)), 7);
}

AResult FitVisibilities(Arguments& arguments, ComponentFit& fit, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.from, arguments.options.selection, session); !result) return result;
  if (AResult result = FitUVX(input, arguments.to, arguments.residual, arguments.options, fit); !result) return result;
  for (const std::string& remark : fit.remarks) session.Note(remark);
  session.Report(arguments.to + ": " + Count(fit.parameters, "number") + " of " +
                 Count(std::ssize(fit.errors), "component") + " fitted to " + std::to_string(fit.visibilities) +
                 " visibilities" + " in " + Count(fit.iterations, "step") + "; chi^2/2N " +
                 Chi(fit.chi2Before, fit.visibilities) + " before, " + Chi(fit.chi2After, fit.visibilities) + " after");
  if (!arguments.residual.empty()) ReportUVX(session, arguments.residual);
  return AResult::Ok();
}

AResult FitPixels(Arguments& arguments, ComponentFit& sky, Session& session) {
  ImageFit fit;
  AResult result = FitImage(arguments.image, arguments.options.model, arguments.to, arguments.options, fit);
  if (!result) return result;
  sky = fit.sky;
  for (const std::string& remark : sky.remarks) session.Note(remark);
  session.Report(arguments.to + ": " + Count(std::ssize(sky.errors), "component") + " fitted in " +
                 Count(fit.rounds, "round") + "; rms of the rest " + RoundedNumber(fit.rms, 4) + " " + fit.unit);
  return AResult::Ok();
}

// What means something else, or nothing, for an image.
void CheckArguments(const Arguments& arguments) {
  if (arguments.image.empty()) {
    if (arguments.from.empty()) throw CLI::RequiredError("FILE or --image-plane");
    if (arguments.options.model.empty()) throw CLI::RequiredError("--model");
    return;
  }
  if (!arguments.from.empty()) throw CLI::ValidationError("--image-plane", "stands in place of " + arguments.from);
  const AJobDescription& fit = FitDescription();
  if (!arguments.residual.empty() || fit.Command(arguments.options) != fit.Command(FitOptions())) {
    throw CLI::ValidationError("--image-plane", "goes with --model and --output, not with options for visibilities");
  }
}

AResult RunFit(Arguments& arguments, Session& session) {
  CheckArguments(arguments);
  ComponentFit fit;
  AResult result =
      arguments.image.empty() ? FitVisibilities(arguments, fit, session) : FitPixels(arguments, fit, session);
  return result ? PrintComponents(arguments, fit) : result;
}

}  // namespace

void AddFitCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, FitDescription(),
             {arguments->options,
              {&arguments->from, &arguments->image, &arguments->to, &arguments->residual},
              &arguments->format},
             [arguments, &session] { return RunFit(*arguments, session); });
}

}  // namespace zeltra::app
