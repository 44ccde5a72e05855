// Tables on standard output: aligned text, CSV, JSON.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_TABLEPRINTER_H_
#define ZELTRA_APPS_TABLEPRINTER_H_

#include <string>
#include <string_view>
#include <vector>

#include "apps/zeltra/StandardOutput.h"
#include "zeltra/platform/Types.h"

namespace zeltra::app {

enum class TableFormat { Text, CSV, JSON };

/// A column of a printed table.
struct PrintedColumn {
  std::string name;
  bool isText = false;  ///< aligned to the left
};

/// Prints a table row by row, cell by cell from left to right, in any of the formats:
///   Text  aligned columns for people: numbers rounded to their significant digits
///   CSV   a line of names, then one line per row; numbers read back to the same double (32-bit floats as doubles)
///   JSON  an array of objects, one per line; numbers as in CSV, null if not finite
/// Rows are not kept, except the first thousand of a text, which determine the widths of its columns.
class TablePrinter {
 public:
  /// @param indent  blanks before every line of a text
  TablePrinter(StandardOutput& out, TableFormat format, std::vector<PrintedColumn> columns, int indent = 0);

  void Integer(int64 value);
  void Real(double value);
  void Real(float value);
  /// Control characters become question marks, or escapes in JSON; bytes that are not UTF-8 become replacement
  /// characters.
  void Text(std::string_view text);
  /// A cell without a value: empty, null in JSON.
  void Nothing();
  void EndRow();

  /// Print the rest: the end of the array, or the names of a table without rows.
  void Finish();

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

/// `text` with control characters replaced by question marks, since text from a file must not command a terminal. That
/// includes 8-bit ones, as single bytes and in UTF-8; all other characters are kept, even bytes that are not UTF-8.
std::string Printable(std::string_view text);

/// `text` in ASCII, with question marks for everything else: text from a file may contain any bytes.
std::string PlainText(std::string_view text);

/// `text` as a JSON string with its quotes, in ASCII; bytes that are not UTF-8 become replacement characters.
std::string JSONString(std::string_view text);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_TABLEPRINTER_H_
