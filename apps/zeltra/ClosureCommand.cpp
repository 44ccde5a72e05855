// zeltra closure: closure phases as a table.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/IntervalArguments.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/ClosurePhases.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string path;
  TableFormat format = TableFormat::Text;
  ClosureOptions options;
};

AResult PrintClosures(Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.path, session); !result) return result;
  static_cast<JobOptions&>(arguments.options) = session.Options(false);
  NoteSources(input, arguments.options.source, session);
  StandardOutput out;
  TablePrinter printer(out, arguments.format,
                       {{"time", arguments.format == TableFormat::Text}, {"ant1"}, {"ant2"}, {"ant3"}, {"phase"}});
  int64 closures = 0;
  AResult result = ClosurePhases(input, arguments.options, [&](const AClosurePhase& closure) {
    PrintTime(printer, arguments.format, closure.time);
    for (const int antenna : closure.antennas) printer.Integer(antenna);
    printer.Real(closure.phase);
    printer.EndRow();
    ++closures;
    return AResult::Ok();
  });
  if (!result) return result;
  printer.Finish();
  if (closures == 0) session.Note("no triangle has three valid baselines at any time");
  return out.Flush();
}

}  // namespace

void AddClosureCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  ClosureOptions& options = arguments->options;
  CLI::App& command = *app.add_subcommand(
      "closure",
      "Form closure phases: a line an interval and triangle, with the mean Julian date of the interval,\n"
      "the antennas a, b, c in ascending order, and phase(a-b) + phase(b-c) - phase(a-c) in radians");
  command.add_option("FILE", arguments->path, "UVX, or UV FITS, which is imported first")->required();
  AddIntervalOptions(command, options);
  command.add_option("--antenna", options.antenna, "only the triangles through this antenna")->type_name("N|NAME");
  command.add_option("--stokes", options.stokes, "polarisation, as in RR or I; the first one of the file if not given");
  command.option_defaults()->always_capture_default();
  command.add_option("--if", options.IF, "number of the IF, from 0");
  command.add_option("--channel", options.channel, "number of the channel, from 0");
  AddFormatOptions(command, arguments->format);
  session.OnRun(command, [arguments, &session] { return PrintClosures(*arguments, session); });
}

}  // namespace zeltra::app
