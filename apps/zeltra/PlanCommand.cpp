// zeltra plan: the parts that a job over intervals is done in.
// SPDX-License-Identifier: MIT
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/PlanParts.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string path;
  TableFormat format = TableFormat::Text;
  PlanOptions options;
};

std::string ListOf(const std::vector<int>& numbers) {
  std::string text;
  for (const int number : numbers) text += (text.empty() ? "" : ",") + std::to_string(number);
  return text;
}

AResult PrintPlan(Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.path, arguments.options.selection, session); !result) return result;
  std::vector<PlannedPart> parts;
  if (AResult result = PlanParts(input, arguments.options, parts); !result) return result;
  std::vector<PrintedColumn> columns = PrintedColumns(PlanDescription(), arguments.format);
  columns[2].isText = columns[3].isText = true;
  StandardOutput out;
  TablePrinter printer(out, arguments.format, columns);
  for (size_t i = 0; i < parts.size(); ++i) {
    const PlannedPart& part = parts[i];
    printer.Integer(static_cast<int64>(i) + 1);
    printer.Integer(static_cast<int64>(i) % std::max(arguments.options.workers, 1) + 1);
    printer.Text(ListOf(part.sources));
    printer.Text(ListOf(part.setups));
    printer.Integer(part.first + 1);
    printer.Integer(part.last + 1);
    printer.Integer(part.records);
    printer.Integer(part.bytes);
    printer.EndRow();
  }
  printer.Finish();
  return out.Flush();
}

}  // namespace

void AddPlanCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, PlanDescription(), {arguments->options, {&arguments->path}, &arguments->format},
             [arguments, &session] { return PrintPlan(*arguments, session); });
}

}  // namespace zeltra::app
