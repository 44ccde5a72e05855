// zeltra plot: pictures of visibilities and closure phases.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "apps/zeltra/plot/Plot.h"
#include "apps/zeltra/plot/SVGToPNG.h"
#include "zeltra/core/WriteWholeFile.h"
#include "zeltra/platform/System.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from, to;
  bool force = false;
  PlotOptions options;
};

bool EndsWith(const std::string& text, const std::string& end) {
  return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

PlotKind KindOf(const std::string& name) {
  if (name == "amplitude") return PlotKind::Amplitude;
  if (name == "phase") return PlotKind::Phase;
  return name == "closure" ? PlotKind::Closure : PlotKind::UV;
}

AResult Plot(Arguments& arguments, Session& session) {
  const std::string& to = arguments.to;
  if (!arguments.force && PathExists(to)) return AResult::Fail(to + ": exists already and is not replaced unasked");
  if (IsSameFile(to, arguments.from)) return AResult::Fail(to + ": is the file that is read");
  const bool isPNG = EndsWith(to, ".png");
  if (isPNG && !CanMakePNG()) {
    return AResult::Fail(to + ": this program was built without librsvg, which draws plots as PNG; name it .svg");
  }
  PlotOptions& options = arguments.options;
  static_cast<JobOptions&>(options) = session.Options(arguments.force);
  UVXInput input;
  if (AResult result = input.Open(arguments.from, session); !result) return result;
  std::string picture;
  AResult result = options.kind == PlotKind::Closure ? PlotClosure(input, options, picture)
                                                     : PlotVisibilities(input, options, picture);
  if (!result) return result;
  if (isPNG) picture = SVGToPNG(picture);
  if (picture.empty()) return AResult::Fail(to + ": the plot cannot be turned into pixels; name it .svg");
  result = WriteWholeFile(to, picture, arguments.force);
  if (result) session.Report(to + ": drawn");
  return result;
}

}  // namespace

void AddPlotCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  PlotOptions& options = arguments->options;
  CLI::App& command = *app.add_subcommand("plot",
                                          "Draw a plot:\n"
                                          "  uv         where the visibilities lie in the u, v plane\n"
                                          "  amplitude  over the distance from its origin, or over time\n"
                                          "  phase      the same\n"
                                          "  closure    closure phases over time");
  command.add_option("FILE", arguments->from, "UVX, or UV FITS, which is imported first")->required();
  command
      .add_option_function<std::string>(
          "KIND", [&options](const std::string& name) { options.kind = KindOf(name); }, "what to draw")
      ->required()
      ->check(CLI::IsMember({"uv", "amplitude", "phase", "closure"}));
  command.add_option("OUT", arguments->to, "the picture to make, .svg or .png")
      ->required()
      ->check([](const std::string& name) {
        return EndsWith(name, ".svg") || EndsWith(name, ".png") ? "" : name + " ends neither in .svg nor in .png";
      });
  command.add_flag("-f,--force", arguments->force, "replace OUT if it exists");
  command.add_option("--source", options.selection.source, "number or name of the source, where there are several")
      ->type_name("N|NAME");
  command
      .add_option("--stokes", options.selection.stokes, "polarisations, as in RR,LL; the parallel hands if not given")
      ->delimiter(',');
  command.add_option("--if", options.selection.IF, "only this IF, from 0")->check(CLI::NonNegativeNumber);
  command.add_option("--channel", options.selection.channel, "only this channel, from 0")
      ->check(CLI::NonNegativeNumber);
  command.add_option("--antenna", options.antenna, "only the baselines, or triangles, of this antenna")
      ->type_name("N|NAME");
  command.add_flag("--time", options.overTime, "amplitude, phase: over time");
  command.add_option("--interval", options.interval, "closure: seconds averaged, -1 for every time stamp")
      ->capture_default_str();
  session.OnRun(command, [arguments, &session] { return Plot(*arguments, session); });
}

}  // namespace zeltra::app
