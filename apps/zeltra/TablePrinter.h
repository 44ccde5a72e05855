// Tables on standard output: aligned text, CSV, JSON.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_TABLEPRINTER_H_
#define ZELTRA_APPS_TABLEPRINTER_H_

#include <string>
#include <string_view>
#include <vector>

#include "apps/zeltra/StandardOutput.h"
#include "zeltra/jobs/JobHost.h"
#include "zeltra/platform/Types.h"

namespace zeltra::app {

enum class TableFormat { Text, CSV, JSON };

/// A column of a printed table.
struct PrintedColumn {
  std::string name;
  bool isText = false;  ///< aligned to the left
};
/// The columns of a job's table, as they are printed.
std::vector<PrintedColumn> PrintedColumns(const std::vector<AJobColumn>& columns, TableFormat format);

/// Prints a table row by row, cell by cell from left to right, in any of the formats:
///   Text  aligned columns for people: numbers rounded to their significant digits
///   CSV   a line of names, then one line per row; numbers read back to the same double (32-bit floats as doubles)
///   JSON  an array of objects, one per line; numbers as in CSV, null if not finite
/// Rows are not kept, except the first thousand of a text, which determine the widths of its columns.
class TablePrinter : public ATableSink {
 public:
  /// @param indent  blanks before every line of a text
  TablePrinter(StandardOutput& out, TableFormat format, std::vector<PrintedColumn> columns, int indent = 0);

  void Integer(int64 value) override;
  void Real(double value) override;
  void Real(float value) override;
  void Rounded(double value, int digits) override;
  void RoundedToFloat(double value) override;
  /// In text, a date and a time of day.
  void Time(double julianDate) override;
  /// Control characters become question marks, or escapes in JSON; bytes that are not UTF-8 become replacement
  /// characters.
  void Text(std::string_view text) override;
  /// A cell without a value: empty, null in JSON.
  void Nothing() override;
  void EndRow() override;

  bool good() const override { return out_.good(); }
  /// Print the rest: the end of the array, or the names of a table without rows.
  void End();
  AResult Finish() override;

 private:
  void BeginCell();
  void PrintNames();
  void PrintCollected();
  void PrintLine(const std::vector<std::string>& cells);
  template <typename Number>
  void Exact(Number value);

  StandardOutput& out_;
  const TableFormat format_;
  const std::vector<PrintedColumn> columns_;
  const int indent_;
  std::vector<std::string> keys_;  // JSON: the text before each cell
  size_t cell_ = 0;
  int64 row_ = 0;
  bool namesPrinted_ = false;
  std::vector<std::vector<std::string>> collected_;  // text: rows waiting for the widths, the last one incomplete
  std::vector<size_t> widths_;
};

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_TABLEPRINTER_H_
