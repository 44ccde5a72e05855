// zeltra apply: a UVX file without the gains of its antennas.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/calibration/ApplyGains.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string to;
  ApplyOptions options;
};

AResult Apply(Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.from, session); !result) return result;
  ApplySummary summary;
  AResult result = ApplyGains(input, arguments.to, arguments.options, &summary);
  for (const std::string& remark : summary.remarks) session.Note(remark);
  if (!result) return result;
  ReportUVX(session, arguments.to,
            ", " + std::to_string(summary.corrected) + " visibilities corrected" +
                (summary.areWeightsScaled ? ", weights follow the amplitudes" : ", weights as they were"));
  return AResult::Ok();
}

}  // namespace

void AddApplyCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, ApplyDescription(), {arguments->options, {&arguments->from, &arguments->to}},
             [arguments, &session] { return Apply(*arguments, session); });
}

}  // namespace zeltra::app
