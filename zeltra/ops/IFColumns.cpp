// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>
#include <string_view>

#include "zeltra/fits/TableRowsInternal.h"
#include "zeltra/ops/IFColumnsInternal.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {
namespace {

// Beginnings of the names of columns about IFs, table by table (AIPS Memo 117).
struct KnownTable {
  std::string_view code;
  std::vector<std::string_view> names;  // an empty one begins every name
};

const KnownTable* FindKnown(const std::string& code) {
  static const KnownTable tables[] = {
      {"FQ", {""}},
      {"CQ", {""}},
      {"SU", {"IFLUX", "QFLUX", "UFLUX", "VFLUX", "FREQOFF", "LSRVEL", "RESTFREQ"}},
      {"AN", {"POLCAL", "BEAMFWHM"}},
      {"SN", {"REAL", "IMAG", "RATE", "DELAY", "WEIGHT", "REFANT"}},
      {"CL", {"REAL", "IMAG", "RATE", "DELAY", "WEIGHT", "REFANT", "DOPPOFF"}},
      {"TY", {"TSYS", "TANT"}},
      {"BP", {"REAL", "IMAG", "BREAL", "BIMAG", "WEIGHT", "REFANT", "IF FREQ", "BANDFREQ"}},
      {"GC", {"TYPE", "NTERM", "X_TYP", "Y_TYP", "X_VAL", "Y_VAL", "GAIN", "SENS"}},
      {"PC", {"PC_", "PC ", "STATE"}},
      {"CD", {"TCAL"}},
      {"SY", {"POWER", "POST"}},
  };
  const auto* found =
      std::find_if(std::begin(tables), std::end(tables), [&](const KnownTable& table) { return table.code == code; });
  return found == std::end(tables) ? nullptr : found;
}

}  // namespace

bool FillsRows(const AUVXTable& table) {
  int64 width = 0;
  for (int i = 0; i < table.columnCount(); ++i) width += FieldBytes(table.ParseFormat(i));
  return width == table.rowBytes();
}

int ElementsOfIF(const AUVXTable& table, int column, int IFs) {
  const AXTblFormat format = table.ParseFormat(column);
  if (IFs < 2 || format.type == 'X' || format.count <= 0 || format.count % IFs != 0) return 0;
  const int elements = format.count / IFs;
  const KnownTable* known = FindKnown(table.Code());
  if (!known) return format.type == 'A' ? 0 : elements;
  const std::string name = table.columns()(column).Name();
  const bool isNamed = std::any_of(known->names.begin(), known->names.end(),
                                   [&](std::string_view part) { return name.compare(0, part.size(), part) == 0; });
  return isNamed ? elements : 0;
}

bool HasColumnsOfIFs(const AUVXTable& table, int IFs) {
  for (int i = 0; i < table.columnCount(); ++i) {
    if (ElementsOfIF(table, i, IFs) > 0) return true;
  }
  return false;
}

bool HasKnownColumnsOfIFs(const AUVXTable& table) {
  return FindKnown(table.Code()) != nullptr;
}

bool IsAboutChannels(const AUVXTable& table) {
  const std::string code = table.Code();
  return code == "BP" || code == "PD" || code == "CP";
}

void SetKeyWord(AUVXTable& table, const std::string& key, const std::string& value) {
  for (int i = 0; i < table.keywords().count(); ++i) {
    AUVXTableKeyWord& keyWord = table.keywords()(i);
    if (keyWord.Key() == key) SetFieldText(keyWord.value, sizeof keyWord.value, value);
  }
}

AUVXTable KeepIFs(const AUVXTable& table, int IFs, const std::vector<int>& kept, int count) {
  // A piece of a row to copy.
  struct Piece {
    size_t from, bytes;
  };
  AUVXTable reduced;
  reduced.Create(table.ID());
  for (int i = 0; i < table.keywords().count(); ++i) reduced.keywords().Add(table.keywords()(i));
  for (const char* key : {"NO_IF", "NO_BAND"}) SetKeyWord(reduced, key, std::to_string(count));
  std::vector<Piece> pieces;
  size_t from = 0;
  for (int i = 0; i < table.columnCount(); ++i) {
    const AUVXTableManual& column = table.columns()(i);
    const AXTblFormat format = table.ParseFormat(i);
    const auto elements = static_cast<size_t>(ElementsOfIF(table, i, IFs));
    const std::string repeat = std::to_string(elements * kept.size()) + std::string(1, format.type);
    reduced.AddColumn(column.Name(), column.Unit(), elements > 0 ? repeat : column.Format());
    const size_t bytes = elements * static_cast<size_t>(ElementBytes(format.type));
    for (const int place : kept) {
      if (elements > 0) pieces.push_back({from + static_cast<size_t>(place) * bytes, bytes});
    }
    if (elements == 0) pieces.push_back({from, static_cast<size_t>(FieldBytes(format))});
    from += static_cast<size_t>(FieldBytes(format));
  }
  reduced.SetRows(table.rows());
  for (int row = 0; row < reduced.rows(); ++row) {
    char* to = reduced.Row(row);
    for (const Piece& piece : pieces) {
      std::memcpy(to, table.Row(row) + piece.from, piece.bytes);
      to += piece.bytes;
    }
  }
  return reduced;
}

}  // namespace zeltra
