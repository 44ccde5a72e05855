// zeltra table: one table of a UVX file, row by row.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/core/Text.h"
#include "zeltra/fits/AFITSxtbl.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra::app {
namespace {

// How many elements of a column text shows.
constexpr int kShownElements = 4;
// How many cells a line of a table may have. A table without rows may claim any number.
constexpr int64 kMostCells = 1 << 20;

struct Arguments : JobOptions {
  std::string path;
  std::string code;
  int version = 1;
  TableFormat format = TableFormat::Text;
};

// A column to be printed.
struct Column {
  int number;
  char letter;
  int elements;
};

void PrintCell(TablePrinter& printer, const AUVXTable& table, int row, const Column& column, int element) {
  const double value = table.Number(row, column.number, element);
  switch (column.letter) {
    case 'A':
    case 'X':
      return printer.Text(table.Text(row, column.number));
    case 'L':
      return std::isnan(value) ? printer.Nothing() : printer.Text(value != 0 ? "T" : "F");
    case 'I':
    case 'J':
      return printer.Integer(static_cast<int64>(value));
    case 'E':
      return printer.Real(static_cast<float>(value));
    default:
      return printer.Real(value);
  }
}

AResult Print(AUVXTable& table, const Arguments& arguments, Session& session) {
  std::vector<Column> columns;
  std::vector<PrintedColumn> printed;
  bool isCut = false;
  for (int i = 0; i < table.columnCount(); ++i) {
    const std::string name = table.columns()(i).Name();
    const AXTblFormat format = table.ParseFormat(i);
    if (table.ColumnOffset(i) < 0) {
      session.Note("the column " + Printable(name) + " of format " + Printable(table.columns()(i).Format()) +
                   " cannot be read");
      continue;
    }
    const bool isText = format.type == 'A' || format.type == 'X';
    int elements = isText ? std::min<int>(format.count, 1) : format.count;
    if (arguments.format == TableFormat::Text && elements > kShownElements) {
      elements = kShownElements;
      isCut = true;
    }
    if (static_cast<int64>(printed.size()) + elements > kMostCells) {
      return AResult::Fail(arguments.path + ": the table " + table.Code() + " has more columns than fit on a line");
    }
    columns.push_back({i, format.type, elements});
    for (int k = 0; k < elements; ++k) {
      const bool isArray = !isText && format.count > 1;
      printed.push_back({isArray ? name + "[" + std::to_string(k + 1) + "]" : name, isText || format.type == 'L'});
    }
  }

  StandardOutput out;
  TablePrinter printer(out, arguments.format, printed);
  for (int row = 0; row < (printed.empty() ? 0 : table.rows()); ++row) {
    if (session.IsCancelled()) return AResult::Cancel(arguments.path + ": not all rows are printed");
    for (const Column& column : columns) {
      for (int element = 0; element < column.elements; ++element) PrintCell(printer, table, row, column, element);
    }
    printer.EndRow();
    if (!out.good()) break;
  }
  printer.Finish();
  AResult result = out.Flush();
  if (result && isCut) {
    session.Report("the first " + std::to_string(kShownElements) + " elements of a column are shown, --csv prints all");
  }
  return result;
}

AResult PrintTable(const Arguments& arguments, Session& session) {
  UVXInput input;
  std::unique_ptr<AUVXTable> table;
  if (AResult result = input.Open(arguments.path, session); !result) return result;
  if (AResult result = input.FindTable(arguments.code, arguments.version, table); !result) return result;
  return Print(*table, arguments, session);
}

AJobDescription DescribeTable() {
  AJobDescriber<Arguments> job(
      "table", "Print a table of a UVX file",
      "One line per row, one column per element, as in STABXYZ[1]; 'zeltra info' lists the tables.");
  job.Input(UVXInputFile());
  job.Option("code", &Arguments::code, "the two characters that name the table, as in AN").Form("CODE").Word();
  job.Option("version", &Arguments::version, "which of several tables with this code, from 1").From(1);
  return job.Finish();
}

}  // namespace

void AddTableCommand(CLI::App& app, Session& session) {
  static const AJobDescription description = DescribeTable();
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, description, {*arguments, {&arguments->path}, &arguments->format},
             [arguments, &session] { return PrintTable(*arguments, session); });
}

}  // namespace zeltra::app
