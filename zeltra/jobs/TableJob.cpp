// The job table: one table of a UVX file, row by row.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <vector>

#include "zeltra/core/Text.h"
#include "zeltra/fits/AFITSxtbl.h"
#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra {
namespace {

// How many elements of a column people see.
constexpr int kShownElements = 4;
// How many cells a line of a table may have. A table without rows may claim any number.
constexpr int64 kMostCells = 1 << 20;

struct TableOptions : JobOptions {
  std::string code;
  int version = 1;
};

// A column of the table in the file.
struct Column {
  int number;
  char letter;
  int elements;
};

void DeliverCell(ATableSink& to, const AUVXTable& table, int row, const Column& column, int element) {
  const double value = table.Number(row, column.number, element);
  switch (column.letter) {
    case 'A':
    case 'X':
      return to.Text(table.Text(row, column.number));
    case 'L':
      return std::isnan(value) ? to.Nothing() : to.Text(value != 0 ? "T" : "F");
    case 'I':
    case 'J':
      return to.Integer(static_cast<int64>(value));
    case 'E':
      return to.Real(static_cast<float>(value));
    default:
      return to.Real(value);
  }
}

AColumnKind KindOf(char letter) {
  switch (letter) {
    case 'A':
    case 'X':
    case 'L':
      return AColumnKind::Text;
    case 'I':
    case 'J':
      return AColumnKind::Integer;
    default:
      return AColumnKind::Real;
  }
}

AResult Deliver(AUVXTable& table, const std::string& path, const TableOptions& options, AJobHost& host) {
  std::vector<Column> columns;
  std::vector<AJobColumn> delivered;
  bool isCut = false;
  for (int i = 0; i < table.columnCount(); ++i) {
    const std::string name = table.columns()(i).Name();
    const AXTblFormat format = table.ParseFormat(i);
    if (table.ColumnOffset(i) < 0) {
      host.Note("the column " + Printable(name) + " of format " + Printable(table.columns()(i).Format()) +
                " cannot be read");
      continue;
    }
    const bool isText = format.type == 'A' || format.type == 'X';
    int elements = isText ? std::min<int>(format.count, 1) : format.count;
    if (host.IsForPeople() && elements > kShownElements) {
      elements = kShownElements;
      isCut = true;
    }
    if (static_cast<int64>(delivered.size()) + elements > kMostCells) {
      return AResult::Fail(path + ": the table " + table.Code() + " has more columns than fit on a line");
    }
    columns.push_back({i, format.type, elements});
    for (int k = 0; k < elements; ++k) {
      const bool isArray = !isText && format.count > 1;
      delivered.push_back({isArray ? name + "[" + std::to_string(k + 1) + "]" : name, table.columns()(i).Unit(), "",
                           KindOf(format.type)});
    }
  }

  const int rows = delivered.empty() ? 0 : table.rows();
  ATableSink& to = host.BeginTable(std::move(delivered));
  for (int row = 0; row < rows; ++row) {
    if (IsCancelled(options)) return AResult::Cancel(path + ": not all rows are printed");
    for (const Column& column : columns) {
      for (int element = 0; element < column.elements; ++element) DeliverCell(to, table, row, column, element);
    }
    to.EndRow();
    if (!to.good()) break;
  }
  AResult result = to.Finish();
  if (result && isCut) {
    host.Report("the first " + std::to_string(kShownElements) + " elements of a column are shown, --csv prints all");
  }
  return result;
}

AResult RunTable(const AJobFiles& files, TableOptions& options, AJobHost& host) {
  AUVXInput input;
  std::unique_ptr<AUVXTable> table;
  if (AResult result = OpenInput(input, files.from(), options, host); !result) return result;
  if (AResult result = input.FindTable(options.code, options.version, table); !result) return result;
  return Deliver(*table, files.from(), options, host);
}

AJobDescription DescribeTable() {
  AJobDescriber<TableOptions> job(
      "table", "Print a table of a UVX file",
      "One line per row, one column per element, as in STABXYZ[1]; 'zeltra info' lists the tables.");
  job.Input(UVXInputFile());
  job.Option("code", &TableOptions::code, "the two characters that name the table, as in AN").Form("CODE").Word();
  job.Option("version", &TableOptions::version, "which of several tables with this code, from 1").From(1);
  return job.Finish();
}

const AJobDescription& TableDescription() {
  static const AJobDescription description = DescribeTable();
  return description;
}

}  // namespace

AJob TableJob() {
  return JobOf<TableOptions, RunTable>(TableDescription, true);
}

}  // namespace zeltra
