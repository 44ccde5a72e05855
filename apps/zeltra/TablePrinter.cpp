// SPDX-License-Identifier: MIT
#include "apps/zeltra/TablePrinter.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "zeltra/core/Dates.h"
#include "zeltra/core/JSON.h"
#include "zeltra/core/Text.h"

namespace zeltra::app {
namespace {

constexpr size_t kRowsForWidths = 1000;

std::string CSVText(std::string_view given) {
  const std::string text = Printable(given);
  const bool plain =
      text.find_first_of(",\"") == text.npos && (text.empty() || (text.front() != ' ' && text.back() != ' '));
  if (plain) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + '"';
}

}  // namespace

std::vector<PrintedColumn> PrintedColumns(const std::vector<AJobColumn>& columns, TableFormat format) {
  std::vector<PrintedColumn> printed;
  const bool isForPeople = format == TableFormat::Text;
  for (const AJobColumn& column : columns) {
    const bool isText = column.kind == AColumnKind::Text || (column.kind == AColumnKind::Time && isForPeople);
    printed.push_back({isForPeople && !column.title.empty() ? column.title : column.name, isText});
  }
  return printed;
}

TablePrinter::TablePrinter(StandardOutput& out, TableFormat format, std::vector<PrintedColumn> columns, int indent)
    : out_(out), format_(format), columns_(std::move(columns)), indent_(indent) {
  if (format_ != TableFormat::JSON) return;
  for (const PrintedColumn& column : columns_) {
    keys_.push_back(std::string(keys_.empty() ? "{" : ",").append(JSONString(column.name)).append(":"));
  }
}

void TablePrinter::Integer(int64 value) {
  BeginCell();
  Exact(value);
}

void TablePrinter::Real(double value) {
  BeginCell();
  if (format_ == TableFormat::Text) {
    collected_.back().push_back(ReadableNumber(value));
  } else if (format_ == TableFormat::JSON && !std::isfinite(value)) {
    out_.Append("null");
  } else {
    Exact(value);
  }
}

void TablePrinter::Real(float value) {
  if (format_ != TableFormat::Text) return Real(static_cast<double>(value));
  BeginCell();
  collected_.back().push_back(valToStr(value));
}

void TablePrinter::Rounded(double value, int digits) {
  if (format_ != TableFormat::Text) return Real(value);
  BeginCell();
  collected_.back().push_back(RoundedNumber(value, digits));
}

void TablePrinter::RoundedToFloat(double value) {
  format_ == TableFormat::Text ? Real(static_cast<float>(value)) : Real(value);
}

void TablePrinter::Time(double julianDate) {
  format_ == TableFormat::Text ? Text(DateAndTime(julianDate)) : Real(julianDate);
}

void TablePrinter::Text(std::string_view text) {
  BeginCell();
  switch (format_) {
    case TableFormat::Text:
      collected_.back().push_back(PlainText(text));
      break;
    case TableFormat::CSV:
      out_.Append(CSVText(text));
      break;
    case TableFormat::JSON:
      out_.Append(JSONString(text));
      break;
  }
}

void TablePrinter::Nothing() {
  BeginCell();
  if (format_ == TableFormat::Text) collected_.back().emplace_back();
  if (format_ == TableFormat::JSON) out_.Append("null");
}

void TablePrinter::EndRow() {
  cell_ = 0;
  ++row_;
  if (format_ == TableFormat::CSV) out_.Append("\n");
  if (format_ == TableFormat::JSON) out_.Append("}");
  if (format_ == TableFormat::Text && (namesPrinted_ || collected_.size() >= kRowsForWidths)) PrintCollected();
}

AResult TablePrinter::Finish() {
  End();
  return out_.Flush();
}

void TablePrinter::End() {
  if (format_ == TableFormat::Text) PrintCollected();
  if (format_ == TableFormat::CSV) PrintNames();
  if (format_ == TableFormat::JSON) out_.Append(row_ == 0 ? "[]\n" : "\n]\n");
}

// Print what precedes a cell.
void TablePrinter::BeginCell() {
  const bool first = cell_ == 0;
  switch (format_) {
    case TableFormat::Text:
      if (first) collected_.emplace_back();
      break;
    case TableFormat::CSV:
      if (first) {
        PrintNames();
      } else {
        out_.Append(",");
      }
      break;
    case TableFormat::JSON:
      if (first) out_.Append(row_ == 0 ? "[\n" : ",\n");
      out_.Append(keys_[cell_]);
      break;
  }
  ++cell_;
}

void TablePrinter::PrintNames() {
  if (namesPrinted_) return;
  namesPrinted_ = true;
  std::vector<std::string> names;
  for (const PrintedColumn& column : columns_) {
    names.push_back(format_ == TableFormat::Text ? PlainText(column.name) : Printable(column.name));
  }
  if (format_ == TableFormat::Text) return PrintLine(names);
  for (size_t i = 0; i < names.size(); ++i) {
    if (i > 0) out_.Append(",");
    out_.Append(CSVText(names[i]));
  }
  out_.Append("\n");
}

// Print the waiting rows of a text, which first determine the widths.
void TablePrinter::PrintCollected() {
  if (!namesPrinted_) {
    for (const PrintedColumn& column : columns_) widths_.push_back(column.name.size());
    for (const auto& row : collected_) {
      for (size_t i = 0; i < row.size(); ++i) widths_[i] = std::max(widths_[i], row[i].size());
    }
    PrintNames();
  }
  for (const auto& row : collected_) PrintLine(row);
  collected_.clear();
}

void TablePrinter::PrintLine(const std::vector<std::string>& cells) {
  std::string line(static_cast<size_t>(indent_), ' ');
  for (size_t i = 0; i < cells.size(); ++i) {
    const std::string padding(widths_[i] - std::min(widths_[i], cells[i].size()), ' ');
    if (i > 0) line += "  ";
    line += columns_[i].isText ? cells[i] + padding : padding + cells[i];
  }
  line.erase(line.find_last_not_of(' ') + 1);
  out_.Append(line + "\n");
}

template <typename Number>
void TablePrinter::Exact(Number value) {
  constexpr size_t kLongest = 32;
  if (format_ == TableFormat::Text) {
    collected_.back().push_back(std::to_string(value));
    return;
  }
  char* to = out_.Room(kLongest);
  out_.Used(std::to_chars(to, to + kLongest, value).ptr);
}

}  // namespace zeltra::app
