// zeltra closure: closure phases and closure amplitudes as a table.
// SPDX-License-Identifier: MIT
#include <memory>
#include <vector>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/IntervalArguments.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/ClosurePhases.h"
#include "zeltra/uvx/AStokesMix.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string path;
  TableFormat format = TableFormat::Text;
  ClosureOptions options;
};

// The columns for phases or for amplitudes.
std::vector<PrintedColumn> Columns(const Arguments& arguments) {
  std::vector<PrintedColumn> columns = PrintedColumns(ClosureDescription(), arguments.format);
  std::erase_if(columns, [&](const PrintedColumn& column) {
    const bool isOfAmplitudes = column.name == "ant4" || column.name == "log_amplitude";
    return column.name == "phase" ? arguments.options.amplitudes : isOfAmplitudes && !arguments.options.amplitudes;
  });
  if (!arguments.options.share) columns.erase(columns.begin());
  for (PrintedColumn& column : columns) column.isText |= column.name == "stokes";
  return columns;
}

void PrintNumber(TablePrinter& printer, int place) {
  place < 0 ? printer.Nothing() : printer.Integer(place + 1);
}

void PrintClosure(TablePrinter& printer, const Arguments& arguments, const AClosure& closure) {
  if (arguments.options.share) printer.Integer(closure.part + 1);
  PrintTime(printer, arguments.format, closure.time);
  printer.Integer(closure.source);
  closure.stokes == 0 ? printer.Nothing() : printer.Text(AStokesItem(0, closure.stokes).asShortString());
  PrintNumber(printer, closure.IF);
  PrintNumber(printer, closure.channel);
  for (int i = 0; i < (arguments.options.amplitudes ? 4 : 3); ++i) printer.Integer(closure.antennas[i]);
  for (const double value : {closure.value, closure.sigma}) {
    arguments.format == TableFormat::Text ? printer.Real(static_cast<float>(value)) : printer.Real(value);
  }
  printer.EndRow();
}

AResult PrintClosures(Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.path, arguments.options.selection, session); !result) return result;
  NoteSources(input, arguments.options.selection, session);
  StandardOutput out;
  TablePrinter printer(out, arguments.format, Columns(arguments));
  int64 closures = 0;
  AClosureCounts counts;
  const auto print = [&](const AClosure& closure) {
    PrintClosure(printer, arguments, closure);
    ++closures;
    return out.good() ? AResult::Ok() : out.Flush();
  };
  if (AResult result = FormClosures(input, arguments.options, print, &counts); !result) return result;
  printer.Finish();
  if (counts.weak > 0) {
    session.Note(std::to_string(counts.weak) + " of " + std::to_string(counts.formed) +
                 " closure amplitudes of single IFs, channels and polarisations are left out, since a baseline has a "
                 "signal-to-noise ratio of 3 or less");
  } else if (closures == 0 && !arguments.options.share) {
    session.Note(arguments.options.amplitudes
                     ? "no four of the antennas selected have valid baselines at any time"
                     : "no triangle of the baselines selected has three valid ones at any time");
  }
  return out.Flush();
}

}  // namespace

void AddClosureCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, ClosureDescription(), {arguments->options, {&arguments->path}, &arguments->format},
             [arguments, &session] { return PrintClosures(*arguments, session); });
}

}  // namespace zeltra::app
