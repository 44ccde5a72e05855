// The job join: several UVX files, or the parts of an output, become one file.
// SPDX-License-Identifier: MIT
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/JoinParts.h"
#include "zeltra/ops/JoinUVX.h"

namespace zeltra {
namespace {

AResult JoinInputs(const AJobFiles& files, JoinOptions& options, AJobHost& host) {
  options.open = [&options, &host](const std::string& path, std::unique_ptr<AUVXInput>& input) {
    auto opened = std::make_unique<AUVXInput>();
    AResult result = OpenInput(*opened, path, options, host);
    input = std::move(opened);
    return result;
  };
  JoinSummary summary;
  AResult result = JoinUVX(files.inputs, files.to(), options, &summary);
  NoteAll(summary.remarks, host);
  return result;
}

AResult RunJoin(const AJobFiles& files, JoinOptions& options, AJobHost& host) {
  const std::string& to = files.to();
  const bool isAlone = files.inputs.empty();
  if (isAlone != options.parts) {
    return AResult::Fail(to + (isAlone ? ": there is nothing to join; --parts joins its parts"
                                       : ": is not the only file that is named; --parts takes the output alone"));
  }
  AResult result = isAlone ? JoinParts(to, options) : JoinInputs(files, options, host);
  if (result) ReportUVX(host, to);
  return result;
}

}  // namespace

AJob JoinJob() {
  return JobOf<JoinOptions, RunJoin>(JoinDescription);
}

}  // namespace zeltra
