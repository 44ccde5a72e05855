// The jobs, each in its own source file; JobList.cpp puts them together.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_JOBS_JOBSINTERNAL_H_
#define ZELTRA_JOBS_JOBSINTERNAL_H_

#include "zeltra/jobs/JobHost.h"

namespace zeltra {

/// A job whose runner takes options of the description's type:
///
///     AResult RunCopy(const AJobFiles& files, CopyOptions& options, AJobHost& host);
///
///     AJob CopyJob() { return JobOf<CopyOptions, RunCopy>(CopyDescription); }
template <typename Options, AResult (*run)(const AJobFiles&, Options&, AJobHost&)>
AJob JobOf(const AJobDescription& (*description)(), bool hasTable = false) {
  const auto runAny = [](const AJobFiles& files, JobOptions& options, AJobHost& host) {
    return run(files, static_cast<Options&>(options), host);
  };
  return {description, runAny, hasTable};
}

AJob ApplyJob();
AJob AverageJob();
AJob AverageFrequencyJob();
AJob CleanJob();
AJob ClosureJob();
AJob CopyJob();
AJob DeleteIFsJob();
AJob ExportJob();
AJob FitJob();
AJob FlagJob();
AJob GainsJob();
AJob ImageJob();
AJob ImportJob();
AJob InfoJob();
AJob JoinJob();
AJob LoopsJob();
AJob PlanJob();
AJob RecordsJob();
AJob SelfCalJob();
AJob ShiftJob();
AJob SimulateJob();
AJob SolveJob();
AJob SortJob();
AJob SplitJob();
AJob SqueezeJob();
AJob TableJob();
AJob UVWJob();
AJob UnfoldJob();

}  // namespace zeltra

#endif  // ZELTRA_JOBS_JOBSINTERNAL_H_
