// SPDX-License-Identifier: MIT
#include "zeltra/ops/PlanParts.h"

#include <algorithm>
#include <limits>
#include <set>

#include "zeltra/ops/IntervalPlanInternal.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra {
namespace {

PlannedPart Described(const IntervalPlan& plan, const IntervalPart& part, int recordBytes) {
  PlannedPart planned;
  planned.first = std::numeric_limits<int>::max();
  std::set<int> sources, setups;
  const AUVXPosition& scans = plan.contents().scans();
  for (const RecordRange& range : part.ranges) {
    planned.first = std::min(planned.first, range.first);
    planned.last = std::max(planned.last, range.end - 1);
    planned.records += range.end - range.first;
    for (int scan = plan.ScanOf(range.first); scan < scans.count() && scans(scan).startVis <= range.end; ++scan) {
      const int stream = plan.StreamOf(scan);
      if (stream < 0) continue;
      sources.insert(plan.streams()[static_cast<size_t>(stream)].source);
      setups.insert(plan.streams()[static_cast<size_t>(stream)].setup);
    }
  }
  planned.bytes = planned.records * recordBytes;
  planned.sources.assign(sources.begin(), sources.end());
  planned.setups.assign(setups.begin(), setups.end());
  return planned;
}

AJobDescription DescribePlan() {
  AJobDescriber<PlanOptions> job(
      "plan", "List the parts that --part of average and closure refers to",
      "One line per part, in time order. A part holds whole intervals of all sources and setups of its records, some "
      "16 MiB. Worker K of N does the parts K, K + N, K + 2 N, ...: zeltra average --part K/N -o OUT on each of N "
      "machines, then zeltra join --parts OUT. The parts do not depend on how many workers there are.");
  job.Input(UVXInputFile());
  DescribeIntervals(job, {.leftOut = kUVRange | kFrequencies | kStokes, .sources = "each by itself"});
  job.Option("parts", &PlanOptions::workers, "number of workers, to show which worker does which part")
      .Range(1, PartShare::kMost)
      .Otherwise("one");
  job.IntegerColumn("part", "number of the part, from 1");
  job.IntegerColumn("worker", "number of the worker that does it, from 1");
  job.TextColumn("sources", "numbers of the sources that are selected");
  job.TextColumn("setups", "numbers of their frequency setups");
  job.IntegerColumn("first", "number of the first record, from 1");
  job.IntegerColumn("last", "number of the last record; if a file goes back in time there are others between them");
  job.IntegerColumn("records", "number of records to read");
  job.IntegerColumn("bytes", "their bytes");
  return job.Finish();
}

}  // namespace

AResult PlanParts(AUVXInput& from, const PlanOptions& options, std::vector<PlannedPart>& parts) {
  parts.clear();
  IntervalPlan plan(from, options);
  if (AResult result = plan.Open(RecordChoice::Nothing); !result) return from.Settle(result);
  for (const IntervalPart& part : plan.parts()) {
    if (AResult result = plan.CheckTimes(part); !result) return from.Settle(result);
    parts.push_back(Described(plan, part, from.uvx().recSize()));
  }
  return from.Settle(AResult::Ok());
}

const AJobDescription& PlanDescription() {
  static const AJobDescription description = DescribePlan();
  return description;
}

}  // namespace zeltra
