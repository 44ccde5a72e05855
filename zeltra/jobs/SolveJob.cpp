// The job solve: gains of antennas with a model of the source.
// SPDX-License-Identifier: MIT
#include "zeltra/calibration/SolveGains.h"
#include "zeltra/core/Text.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/AUVXContents.h"

namespace zeltra {
namespace {

AResult DeliverCounts(const AUVXContents& contents, const SolveReport& report, AJobHost& host) {
  ATableSink& table = host.BeginTable(SolveDescription().columns);
  for (const auto& [antenna, counts] : report.antennas) {
    table.Integer(antenna);
    table.Text(contents.AntennaName(antenna));
    for (const GainFault fault :
         {GainFault::None, GainFault::NoData, GainFault::TooFewAntennas, GainFault::NotConnected,
          GainFault::Undetermined, GainFault::LowSNR, GainFault::NotConverged}) {
      const auto found = counts.find(fault);
      table.Integer(found == counts.end() ? 0 : found->second);
    }
    table.EndRow();
  }
  return FinishSummary(table);
}

void ReportFit(const SolveReport& report, const std::string& to, AJobHost& host) {
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
  host.Report(sentence);
}

AResult RunSolve(const AJobFiles& files, SolveOptions& options, AJobHost& host) {
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options.selection, options, host); !result) return result;
  SolveReport report;
  if (AResult result = SolveGains(input, files.to(), options, report); !result) return result;
  NoteAll(report.remarks, host);
  ReportFit(report, files.to(), host);
  return DeliverCounts(input.contents(), report, host);
}

}  // namespace

AJob SolveJob() {
  return JobOf<SolveOptions, RunSolve>(SolveDescription, true);
}

}  // namespace zeltra
