// The job uvw: a UVX file with its u, v, w recomputed.
// SPDX-License-Identifier: MIT
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/RecomputeUVW.h"

namespace zeltra {
namespace {

AResult DeliverDifference(const UVWDifference& difference, AJobHost& host) {
  constexpr int kDigits = 4;
  ATableSink& table = host.BeginTable({{"coordinate", "", "", AColumnKind::Text, " "},
                                       {"max_s", "s", "", AColumnKind::Real, "max / s"},
                                       {"rms_s", "s", "", AColumnKind::Real, "rms / s"},
                                       {"max_m", "m", "", AColumnKind::Real, "max / m"},
                                       {"rms_m", "m", "", AColumnKind::Real, "rms / m"}});
  for (int i = 0; i < 3; ++i) {
    table.Text(std::string(1, "uvw"[i]));
    for (const double unit : {1.0, kSpeedOfLight}) {
      for (const double seconds : {difference.largest[i], difference.rms[i]}) {
        table.Rounded(seconds * unit, kDigits);
      }
    }
    table.EndRow();
  }
  return FinishSummary(table);
}

AResult RunUVW(const AJobFiles& files, JobOptions& options, AJobHost& host) {
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options, host); !result) return result;
  UVWDifference difference;
  AResult result = RecomputeUVW(input, files.to(), options, difference);
  if (!result) return result;
  host.Report(files.to() + ": " + difference.frame.Text() + "; new minus old coordinates of " +
              std::to_string(difference.records) + " records, " + RoundedNumber(100 * difference.relative, 2) +
              " % of their root mean square");
  return DeliverDifference(difference, host);
}

}  // namespace

AJob UVWJob() {
  return JobOf<JobOptions, RunUVW>(UVWDescription);
}

}  // namespace zeltra
