// zeltra solve: gains of antennas with a model of the source.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/calibration/SolveGains.h"
#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string to;
  TableFormat format = TableFormat::Text;
  SolveOptions options;
};

AResult PrintCounts(const Arguments& arguments, const AUVXContents& contents, const SolveReport& report) {
  StandardOutput out;
  std::vector<PrintedColumn> columns = PrintedColumns(SolveDescription(), arguments.format);
  columns[1].isText = true;
  TablePrinter printer(out, arguments.format, columns);
  for (const auto& [antenna, counts] : report.antennas) {
    printer.Integer(antenna);
    printer.Text(contents.AntennaName(antenna));
    for (const GainFault fault :
         {GainFault::None, GainFault::NoData, GainFault::TooFewAntennas, GainFault::NotConnected,
          GainFault::Undetermined, GainFault::LowSNR, GainFault::NotConverged}) {
      const auto found = counts.find(fault);
      printer.Integer(found == counts.end() ? 0 : found->second);
    }
    printer.EndRow();
  }
  printer.Finish();
  return out.Flush();
}

void ReportFit(const SolveReport& report, const std::string& to, Session& session) {
  const int64 solved = report.solved(), all = solved + report.failed();
  std::string sentence = to + ": " + std::to_string(solved) + " of " + std::to_string(all) + " gains in " +
                         std::to_string(report.intervals) + " intervals";
  if (report.visibilities > 0) {
    const double count = 2 * static_cast<double>(report.visibilities);
    sentence += "; chi^2/2N of " + std::to_string(report.visibilities) + " visibilities " +
                RoundedNumber(report.chi2Before / count, 4) + ", with gains " +
                RoundedNumber(report.chi2After / count, 4);
  }
  if (report.unsolved > 0) sentence += "; " + std::to_string(report.unsolved) + " visibilities without gains";
  session.Report(sentence);
}

AResult Solve(Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.from, arguments.options.selection, session); !result) return result;
  SolveReport report;
  if (AResult result = SolveGains(input, arguments.to, arguments.options, report); !result) return result;
  for (const std::string& remark : report.remarks) session.Note(remark);
  ReportFit(report, arguments.to, session);
  return PrintCounts(arguments, input.contents(), report);
}

}  // namespace

void AddSolveCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, SolveDescription(),
             {arguments->options, {&arguments->from, &arguments->to}, &arguments->format},
             [arguments, &session] { return Solve(*arguments, session); });
}

}  // namespace zeltra::app
