// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>
#include <utility>

#include "zeltra/core/Text.h"
#include "zeltra/fits/FITSHeaderWriterInternal.h"
#include "zeltra/fits/FITSTextInternal.h"
#include "zeltra/fits/ParseFITSstr.h"
#include "zeltra/interchange/UVFITSTablesInternal.h"

namespace zeltra {
namespace {

// FITS-IDI tables whose AIPS names differ in more than their first letters.
constexpr std::pair<const char*, const char*> kInterchangeNames[] = {
    {"FREQUENCY", "AIPS FQ"}, {"ARRAY_GEOMETRY", "AIPS AN"}, {"SOURCE", "AIPS SU"}, {"ANTENNA", "AIPS AT"}};

bool StartsWith(const std::string& text, const char* start) {
  return text.rfind(start, 0) == 0;
}

// Bytes of a field in a row, or -1 if the format is not one of FITS.
int64 FieldBytes(char type, int64 count) {
  switch (type) {
    case 'A':
    case 'L':
    case 'B':
      return count;
    case 'X':
      return (count + 7) / 8;
    case 'I':
      return 2 * count;
    case 'J':
    case 'E':
      return 4 * count;
    case 'D':
    case 'K':
    case 'C':
    case 'P':
      return 8 * count;
    case 'M':
    case 'Q':
      return 16 * count;
    default:
      return -1;
  }
}

struct Field {
  char type;
  int count;
  int64 offset, bytes;
};

// A table counts the elements of a column in 16 bits.
bool CanCarry(const Field& field) {
  return std::strchr("ADEIJLX", field.type) != nullptr && field.count <= INT16_MAX;
}

// The place of every field; also gives each format its repeat count. Empty if the formats contradict the row length.
std::vector<Field> Layout(AFITSxtbl& extension) {
  std::vector<Field> fields;
  int64 offset = 0;
  for (int i = 0; i < extension.tfields(); ++i) {
    const std::string form = Trimmed(extension.tform(i));
    const size_t letter = form.find_first_not_of("0123456789");
    if (letter == std::string::npos || letter > 6) return {};
    const char type = form[letter];
    const std::string repeat = letter == 0 ? "1" : form.substr(0, letter);
    const int count = std::atoi(repeat.c_str());
    const int64 bytes = FieldBytes(type, count);
    if (bytes < 0) return {};
    fields.push_back({type, count, offset, bytes});
    // A table reads the last character as the type, so the width of shorter texts, as in 60A12, is dropped.
    extension.tform(i) = CanCarry(fields.back()) ? repeat + type : repeat + form.substr(letter);
    offset += bytes;
  }
  if (offset != extension.AxisLength(1)) fields.clear();
  return fields;
}

// The fields that a table carries, in its order: that of the file, except that columns of bits come last in the lists
// of antennas, sources and scans, whose readers find no column after one of bits.
std::vector<int> OrderOf(const std::vector<Field>& fields, const std::string& code) {
  std::vector<int> order;
  for (int i = 0; i < static_cast<int>(fields.size()); ++i) {
    if (CanCarry(fields[static_cast<size_t>(i)])) order.push_back(i);
  }
  const auto isNoBits = [&](int i) { return fields[static_cast<size_t>(i)].type != 'X'; };
  if (code == "AN" || code == "SU" || code == "NX") std::stable_partition(order.begin(), order.end(), isNoBits);
  return order;
}

bool IsAboutColumn(const std::string& key) {
  for (const char* name : {"TSCAL", "TZERO", "TNULL", "TDIM", "TDISP"}) {
    if (key == name) return true;
  }
  return false;
}

// Keywords about a column, such as TSCAL3, move with it or are dropped with it.
void RenumberKeyWords(AUVXTable& table, const std::vector<int>& order) {
  AArray<AUVXTableKeyWord> kept;
  for (int i = 0; i < table.keywords().count(); ++i) {
    AUVXTableKeyWord keyword = table.keywords()(i);
    const std::string key = keyword.Key();
    const size_t digits = key.find_first_of("0123456789");
    if (digits == std::string::npos || !IsAboutColumn(key.substr(0, digits))) {
      kept.Add(keyword);
      continue;
    }
    const auto column = std::find(order.begin(), order.end(), std::atoi(key.c_str() + digits) - 1);
    if (column == order.end()) continue;
    SetFieldText(keyword.key, sizeof keyword.key, key.substr(0, digits) + std::to_string(column - order.begin() + 1));
    kept.Add(keyword);
  }
  table.keywords() = kept;
}

// Copy fields side by side: a table's rows have no gaps between columns.
bool Repack(AFITSxtbl& extension, const std::vector<Field>& fields, const std::vector<int>& order, AUVXTable& table) {
  const AArray<AUVXTableKeyWord> keywords = table.keywords();
  table.Create(table.ID());
  table.keywords() = keywords;
  for (const int i : order) table.AddColumn(extension.ttype(i), extension.tunit(i), extension.tform(i));
  if (!table.SetRows(extension.GetRows())) return false;
  AFile& file = *extension.file();
  std::string row(static_cast<size_t>(extension.AxisLength(1)), '\0');
  for (int r = 0; r < table.rows(); ++r) {
    if (!file.Seek(extension.dataStart() + int64{r} * extension.AxisLength(1))) return false;
    if (!ReadWhole(file, row.data(), static_cast<int64>(row.size()))) return false;
    char* to = table.Row(r);
    for (const int i : order) {
      const Field& field = fields[static_cast<size_t>(i)];
      if (field.bytes == 0) continue;
      std::memcpy(to, row.data() + field.offset, static_cast<size_t>(field.bytes));
      to += field.bytes;
    }
  }
  table.Data_PC_UNIX();
  return true;
}

// Some writers leave garbage after the zero byte that ends a text.
int CleanTexts(AUVXTable& table) {
  int cleaned = 0;
  for (int column = 0; column < table.columnCount(); ++column) {
    const AXTblFormat format = table.ParseFormat(column);
    const int offset = table.ColumnOffset(column);
    if (format.type != 'A' || format.count < 1 || offset < 0) continue;
    for (int r = 0; r < table.rows(); ++r) {
      char* end = nullptr;
      if (ClearAfterZero(table.Row(r) + offset, format.count, end)) ++cleaned;
    }
  }
  return cleaned;
}

// A table reads keywords only from the cards after the last TUNIT. Writers put them anywhere, so the others are added.
void AddKeyWords(AFITSxtbl& extension, AUVXTable& table, const std::string& label, std::vector<std::string>& remarks) {
  std::set<std::string> present;
  for (int i = 0; i < table.keywords().count(); ++i) present.insert(table.keywords()(i).Key());
  for (int i = 0; i < extension.CardCount(); ++i) {
    ParseFITSstr parsed;
    parsed.Parse(std::string(extension.CardText(i)));
    const int index = parsed.GetNumber();
    const std::string key = parsed.strKey() + (index >= 0 ? std::to_string(index) : "");
    if (IsStructuralKeyword(key)) continue;
    if (parsed.strPar().size() > sizeof(AUVXTableKeyWord::value) - 1) {
      remarks.push_back(label + "the value of " + key + " is cut to 31 characters");
    }
    if (index >= 0 && (parsed.strKey() == "TSCAL" || parsed.strKey() == "TZERO")) {
      remarks.push_back(label + "the column that " + key + " scales keeps its numbers as stored");
    }
    if (present.insert(key).second) table.AddKeyWord(key, parsed.strPar(), !parsed.IsParString());
  }
}

void RemarkOnCutTexts(AFITSxtbl& extension, const std::string& label, std::vector<std::string>& remarks) {
  for (int i = 0; i < extension.tfields(); ++i) {
    const std::string &name = extension.ttype(i), &unit = extension.tunit(i);
    if (name.size() >= sizeof AUVXTableManual::name || unit.size() >= sizeof AUVXTableManual::unit) {
      remarks.push_back(label + "name or unit of the column " + name + " are cut");
    }
  }
}

std::string Capitals(std::string text) {
  for (char& c : text) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return text;
}

}  // namespace

std::unique_ptr<AUVXTable> ConvertTable(AFITSxtbl& extension, std::vector<std::string>& remarks) {
  const std::string given = extension.extname();
  const std::string label = "table \"" + given + "\": ";
  if (extension.tableKind() == 0 || extension.naxis() != 2 || extension.valueBytes() != 1) {
    remarks.push_back("extension \"" + given + "\" is not a binary table and is left out");
    return nullptr;
  }
  const std::vector<Field> fields = Layout(extension);
  if (static_cast<int>(fields.size()) != extension.tfields()) {
    remarks.push_back(label + "its columns do not add up to its rows, it is left out");
    return nullptr;
  }
  for (const auto& [interchange, aips] : kInterchangeNames) {
    if (given == interchange) extension.extname() = aips;
  }

  std::string dropped;
  for (int i = 0; i < extension.tfields(); ++i) {
    if (CanCarry(fields[static_cast<size_t>(i)])) continue;
    dropped += (dropped.empty() ? "" : ", ") + extension.ttype(i) + " (" + extension.tform(i) + ")";
  }
  if (!dropped.empty()) {
    remarks.push_back(label + "columns of types or lengths that cannot be carried are left out: " + dropped);
  }
  RemarkOnCutTexts(extension, label, remarks);
  auto table = std::make_unique<AUVXTable>(extension);
  const std::vector<int> order = OrderOf(fields, table->Code());
  const bool isAsStored = std::is_sorted(order.begin(), order.end()) && dropped.empty();
  const bool isRead = isAsStored ? table->rows() == extension.GetRows() || extension.DataBytes() == 0
                                 : Repack(extension, fields, order, *table);
  if (!isRead) {
    remarks.push_back(label + "its rows cannot be read, it is left out");
    return nullptr;
  }
  if (const int cleaned = CleanTexts(*table)) {
    remarks.push_back(label + "bytes after the end of " + std::to_string(cleaned) + " texts were cleared");
  }
  AddKeyWords(extension, *table, label, remarks);
  if (!isAsStored) RenumberKeyWords(*table, order);
  // Give tables with FITS-IDI columns the names of AIPS.
  const std::string code = table->Code();
  const bool isList = code == "FQ" || code == "AN" || code == "SU" || code == "NX";
  // Column names are the same in upper and lower case (FITS standard 4.0, section 7.2.2); readers of UVX look for upper
  // case.
  for (int i = 0; i < table->columnCount() && isList; ++i) {
    AUVXTableManual& column = table->columns()(i);
    SetFieldText(column.name, sizeof column.name, Capitals(column.Name()));
  }
  if (!StartsWith(given, "AIPS ") || code == "FQ" || code == "AN" || code == "SU") table->CorrectIDI_FTS();
  return table;
}

}  // namespace zeltra
