// zeltra delete-if, average-frequency, squeeze, unfold: files with other IFs or channels.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/AverageFrequency.h"
#include "zeltra/ops/DeleteIFs.h"
#include "zeltra/ops/SqueezeUVX.h"
#include "zeltra/ops/UnfoldUVX.h"

namespace zeltra::app {
namespace {

template <typename Options>
struct Arguments {
  std::string from;
  std::string to;
  Options options;
};

template <typename Options>
using Job = AResult (*)(AUVXInput&, const std::string&, const Options&, CopySummary*);

template <typename Options>
AResult Run(Job<Options> job, Arguments<Options>& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.from, session); !result) return result;
  CopySummary summary;
  AResult result = job(input, arguments.to, arguments.options, &summary);
  for (const std::string& remark : summary.remarks) session.Note(remark);
  if (result) ReportUVX(session, arguments.to);
  return result;
}

// Add a command whose job makes a UVX file of another.
template <typename Options>
void AddJob(CLI::App& app, Session& session, const AJobDescription& description, Job<Options> job) {
  auto arguments = std::make_shared<Arguments<Options>>();
  AddCommand(app, session, description, {arguments->options, {&arguments->from, &arguments->to}},
             [arguments, job, &session] { return Run(job, *arguments, session); });
}

}  // namespace

void AddFrequencyCommands(CLI::App& app, Session& session) {
  AddJob<DeleteIFsOptions>(app, session, DeleteIFsDescription(), DeleteIFs);
  AddJob<AverageFrequencyOptions>(app, session, AverageFrequencyDescription(), AverageFrequency);
  AddJob<SqueezeOptions>(app, session, SqueezeDescription(), SaveAndSQ);
  AddJob<UnfoldOptions>(app, session, UnfoldDescription(), UnfoldUVX);
}

}  // namespace zeltra::app
