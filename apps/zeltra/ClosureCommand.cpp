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
  if (AResult result = input.Open(arguments.path, arguments.options.selection, session); !result) return result;
  NoteSources(input, arguments.options.selection, session);
  StandardOutput out;
  TablePrinter printer(out, arguments.format, PrintedColumns(ClosureDescription(), arguments.format));
  int64 closures = 0;
  AResult result = ClosurePhases(input, arguments.options, [&](const AClosurePhase& closure) {
    PrintTime(printer, arguments.format, closure.time);
    for (const int antenna : closure.antennas) printer.Integer(antenna);
    printer.Real(closure.phase);
    printer.EndRow();
    ++closures;
    return out.good() ? AResult::Ok() : out.Flush();
  });
  if (!result) return result;
  printer.Finish();
  if (closures == 0) session.Note("no triangle has three valid baselines at any time");
  return out.Flush();
}

}  // namespace

void AddClosureCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, ClosureDescription(), {arguments->options, {&arguments->path}, &arguments->format},
             [arguments, &session] { return PrintClosures(*arguments, session); });
}

}  // namespace zeltra::app
