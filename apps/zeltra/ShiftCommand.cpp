// zeltra shift: a UVX file with another phase centre.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/ShiftUVX.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string to;
  ShiftOptions options;
};

AResult Shift(Arguments& arguments, Session& session) {
  UVXInput input;
  UVXSelection named;
  named.sources = arguments.options.sources;
  if (AResult result = input.Open(arguments.from, named, session); !result) return result;
  ShiftSummary summary;
  AResult result = ShiftUVX(input, arguments.to, arguments.options, &summary);
  for (const std::string& remark : summary.remarks) session.Note(remark);
  if (!result) return result;
  for (const ShiftedSource& source : summary.sources) {
    session.Report("source " + input.contents().SourceList({source.number}) + " is at " +
                   RightAscensionText(source.position.ra) + " " + DeclinationText(source.position.dec) + ", equinox " +
                   ReadableNumber(source.position.equinox));
  }
  ReportUVX(session, arguments.to);
  return AResult::Ok();
}

}  // namespace

void AddShiftCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, ShiftDescription(), {arguments->options, {&arguments->from, &arguments->to}},
             [arguments, &session] { return Shift(*arguments, session); });
}

}  // namespace zeltra::app
