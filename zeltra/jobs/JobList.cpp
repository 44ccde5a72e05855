// SPDX-License-Identifier: MIT
#include "zeltra/jobs/JobList.h"

#include <algorithm>
#include <vector>

#include "zeltra/jobs/JobsInternal.h"

namespace zeltra {

std::span<const AJob> Jobs() {
  static const std::vector<AJob> jobs = {
      ImportJob(),  ExportJob(), InfoJob(), RecordsJob(), TableJob(), AverageJob(),   ClosureJob(),
      LoopsJob(),   CopyJob(),   SortJob(), SplitJob(),   JoinJob(),  DeleteIFsJob(), AverageFrequencyJob(),
      SqueezeJob(), UnfoldJob(), UVWJob(),  FlagJob(),    ShiftJob(), PlanJob(),      GainsJob(),
      ApplyJob(),   SolveJob(),  FitJob(),  ImageJob(),   CleanJob(), SelfCalJob(),   SimulateJob()};
  return jobs;
}

const AJob* FindJob(std::string_view name) {
  const std::span<const AJob> jobs = Jobs();
  const auto found =
      std::find_if(jobs.begin(), jobs.end(), [&](const AJob& job) { return job.description().name == name; });
  return found == jobs.end() ? nullptr : &*found;
}

}  // namespace zeltra
