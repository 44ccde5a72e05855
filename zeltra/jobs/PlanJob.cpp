// The job plan: the parts that a job over intervals is done in.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/PlanParts.h"

namespace zeltra {
namespace {

std::string ListOf(const std::vector<int>& numbers) {
  std::string text;
  for (const int number : numbers) text.append(text.empty() ? "" : ",").append(std::to_string(number));
  return text;
}

AResult RunPlan(const AJobFiles& files, PlanOptions& options, AJobHost& host) {
  AUVXInput input;
  if (AResult result = OpenInput(input, files.from(), options.selection, options, host); !result) return result;
  std::vector<PlannedPart> parts;
  if (AResult result = PlanParts(input, options, parts); !result) return result;
  ATableSink& table = host.BeginTable(PlanDescription().columns);
  for (size_t i = 0; i < parts.size(); ++i) {
    const PlannedPart& part = parts[i];
    table.Integer(static_cast<int64>(i) + 1);
    table.Integer(static_cast<int64>(i) % std::max(options.workers, 1) + 1);
    table.Text(ListOf(part.sources));
    table.Text(ListOf(part.setups));
    table.Integer(part.first + 1);
    table.Integer(part.last + 1);
    table.Integer(part.records);
    table.Integer(part.bytes);
    table.EndRow();
  }
  return table.Finish();
}

}  // namespace

AJob PlanJob() {
  return JobOf<PlanOptions, RunPlan>(PlanDescription, true);
}

}  // namespace zeltra
