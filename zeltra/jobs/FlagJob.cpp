// The job flag: a UVX file with values flagged, and a table of what is flagged by what.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/FlagUVX.h"

namespace zeltra {
namespace {

void DeliverCounts(ATableSink& table, const FlagCounts& counts) {
  table.Integer(counts.values);
  table.Integer(counts.before);
  for (const int64 count : counts.causes) table.Integer(count);
  table.Integer(counts.after);
  const double values = static_cast<double>(counts.values);
  table.Real(static_cast<float>(values > 0 ? 100 * static_cast<double>(counts.after) / values : 0));
  table.EndRow();
}

AResult DeliverSummary(const AUVXContents& contents, const FlagSummary& summary, AJobHost& host) {
  ATableSink& table = host.BeginTable(FlagDescription().columns);
  for (int antenna = 0; antenna < 256; ++antenna) {
    const FlagCounts& counts = summary.antennas[static_cast<size_t>(antenna)];
    if (counts.values == 0) continue;
    table.Integer(antenna);
    table.Text(contents.AntennaName(antenna));
    DeliverCounts(table, counts);
  }
  table.Nothing();
  table.Text("all");
  DeliverCounts(table, summary.all);
  return FinishSummary(table);
}

AResult RunFlag(const AJobFiles& files, FlagOptions& options, AJobHost& host) {
  if (AResult result = CheckFlagOptions(options); !result) {
    return AResult::Misuse("flag: " + files.from() + ": " + result.message());
  }
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options.selection, options, host); !result) return result;
  FlagSummary summary;
  AResult result = FlagUVX(input, files.to(), options, &summary);
  NoteAll(summary.remarks, host);
  if (!result) return result;
  ReportUVX(host, files.to());
  return DeliverSummary(input.contents(), summary, host);
}

}  // namespace

AJob FlagJob() {
  return JobOf<FlagOptions, RunFlag>(FlagDescription, true);
}

}  // namespace zeltra
