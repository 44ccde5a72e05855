// zeltra sort: the records of a UVX file in another order.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/SortUVX.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string to;
  SortOptions options;
};

AResult Sort(Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.from, session); !result) return result;
  SortSummary summary;
  AResult result = ResortUVXFile(input, arguments.to, arguments.options, &summary);
  for (const std::string& remark : summary.remarks) session.Note(remark);
  if (result) ReportUVX(session, arguments.to, summary.wasSorted ? ", in order already" : "");
  return result;
}

}  // namespace

void AddSortCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, SortDescription(), {arguments->options, {&arguments->from, &arguments->to}},
             [arguments, &session] { return Sort(*arguments, session); });
}

}  // namespace zeltra::app
