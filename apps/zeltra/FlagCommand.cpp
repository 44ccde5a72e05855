// zeltra flag: a UVX file with values flagged, and a table of what is flagged by what.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/FlagUVX.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string to;
  TableFormat format = TableFormat::Text;
  FlagOptions options;
};

void PrintCounts(TablePrinter& printer, const FlagCounts& counts) {
  printer.Integer(counts.values);
  printer.Integer(counts.before);
  for (const int64 count : counts.causes) printer.Integer(count);
  printer.Integer(counts.after);
  const double values = static_cast<double>(counts.values);
  printer.Real(static_cast<float>(values > 0 ? 100 * static_cast<double>(counts.after) / values : 0));
  printer.EndRow();
}

AResult PrintSummary(const AUVXContents& contents, TableFormat format, const FlagSummary& summary) {
  std::vector<PrintedColumn> columns = PrintedColumns(FlagDescription(), format);
  columns[1].isText = true;
  StandardOutput out;
  TablePrinter printer(out, format, columns);
  for (int antenna = 0; antenna < 256; ++antenna) {
    const FlagCounts& counts = summary.antennas[static_cast<size_t>(antenna)];
    if (counts.values == 0) continue;
    printer.Integer(antenna);
    printer.Text(contents.AntennaName(antenna));
    PrintCounts(printer, counts);
  }
  printer.Nothing();
  printer.Text("all");
  PrintCounts(printer, summary.all);
  printer.Finish();
  return out.Flush();
}

AResult Flag(Arguments& arguments, Session& session) {
  if (AResult result = CheckFlagOptions(arguments.options); !result) {
    throw CLI::ValidationError("flag", arguments.from + ": " + result.message());
  }
  UVXInput input;
  if (AResult result = input.Open(arguments.from, arguments.options.selection, session); !result) return result;
  FlagSummary summary;
  AResult result = FlagUVX(input, arguments.to, arguments.options, &summary);
  for (const std::string& remark : summary.remarks) session.Note(remark);
  if (!result) return result;
  ReportUVX(session, arguments.to);
  return PrintSummary(input.contents(), arguments.format, summary);
}

}  // namespace

void AddFlagCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, FlagDescription(),
             {arguments->options, {&arguments->from, &arguments->to}, &arguments->format},
             [arguments, &session] { return Flag(*arguments, session); });
}

}  // namespace zeltra::app
