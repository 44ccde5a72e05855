// The job closure: closure phases and closure amplitudes as a table.
// SPDX-License-Identifier: MIT
#include <vector>

#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/ClosurePhases.h"
#include "zeltra/uvx/AStokesMix.h"

namespace zeltra {
namespace {

// The columns for phases or for amplitudes.
std::vector<AJobColumn> Columns(const ClosureOptions& options) {
  std::vector<AJobColumn> columns = ClosureDescription().columns;
  std::erase_if(columns, [&](const AJobColumn& column) {
    const bool isOfAmplitudes = column.name == "ant4" || column.name == "log_amplitude";
    return column.name == "phase" ? options.amplitudes : isOfAmplitudes && !options.amplitudes;
  });
  if (!options.share) columns.erase(columns.begin());
  return columns;
}

void DeliverNumber(ATableSink& table, int place) {
  place < 0 ? table.Nothing() : table.Integer(place + 1);
}

void DeliverClosure(ATableSink& table, const ClosureOptions& options, const AClosure& closure) {
  if (options.share) table.Integer(closure.part + 1);
  table.Time(closure.time);
  table.Integer(closure.source);
  closure.stokes == 0 ? table.Nothing() : table.Text(AStokesItem(0, closure.stokes).asShortString());
  DeliverNumber(table, closure.IF);
  DeliverNumber(table, closure.channel);
  for (int i = 0; i < (options.amplitudes ? 4 : 3); ++i) table.Integer(closure.antennas[i]);
  table.RoundedToFloat(closure.value);
  table.RoundedToFloat(closure.sigma);
  table.EndRow();
}

AResult RunClosure(const AJobFiles& files, ClosureOptions& options, AJobHost& host) {
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options.selection, options, host); !result) return result;
  NoteSources(input, options.selection, host);
  ATableSink& table = host.BeginTable(Columns(options));
  int64 closures = 0;
  AClosureCounts counts;
  const auto deliver = [&](const AClosure& closure) {
    DeliverClosure(table, options, closure);
    ++closures;
    return table.good() ? AResult::Ok() : table.Finish();
  };
  if (AResult result = FormClosures(input, options, deliver, &counts); !result) return result;
  if (counts.weak > 0) {
    host.Note(std::to_string(counts.weak) + " of " + std::to_string(counts.formed) +
              " closure amplitudes of single IFs, channels and polarisations are left out, since a baseline has a "
              "signal-to-noise ratio of 3 or less");
  } else if (closures == 0 && !options.share) {
    host.Note(options.amplitudes ? "no four of the antennas selected have valid baselines at any time"
                                 : "no triangle of the baselines selected has three valid ones at any time");
  }
  return table.Finish();
}

}  // namespace

AJob ClosureJob() {
  return JobOf<ClosureOptions, RunClosure>(ClosureDescription, true);
}

}  // namespace zeltra
