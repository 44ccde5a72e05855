// SPDX-License-Identifier: MIT
#include <algorithm>
#include <memory>
#include <optional>
#include <string>

#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/RowNumbersInternal.h"
#include "zeltra/uvx/AUVXAntenns.h"

namespace zeltra {
namespace {

AResult CopyTable(AUVXInput& from, const AUVXTableItem& item, AUVXWriter& to,
                  const std::function<bool(AUVXTable&)>& change) {
  const std::unique_ptr<AUVXTable> table = from.Table(item);
  if (!table) return AResult::Fail(from.path() + ": a table cannot be read any more");
  return !change || change(*table) ? to.AddTable(*table) : AResult::Ok();
}

// Keep the rows of these sources, in ascending order.
void DropSources(AUVXTable& list, const AArray<short>& sources, const RowNumbers& numbers) {
  const int column = numbers.columns().front().place;
  KeepRows(list, [&](int row) {
    return std::binary_search(sources.lpArray(), sources.lpArray() + sources.count(), list.Number(row, column));
  });
}

}  // namespace

AResult CopyTables(AUVXInput& from, AUVXWriter& to, const std::string& command,
                   const std::function<bool(AUVXTable&)>& change) {
  return CopyTables(from, to, from.contents().cards(), command, change);
}

AResult CopyTables(AUVXInput& from, AUVXWriter& to, const AUVXHeaderCards& cards, const std::string& command,
                   const std::function<bool(AUVXTable&)>& change) {
  const AUVXTableHeader directory(from.uvx());
  const int index = AUVXTable::toHash("NX", 0), baseLines = AUVXTable::toHash("BL", 0);
  AResult result = AResult::Ok();
  for (int i = 0; i < directory.count() && result; ++i) {
    const int code = directory(i).ID & 0xFFFF;
    if (AUVXTable::IsProvenance(directory(i).ID)) continue;
    // An index may be large: the old one is not read.
    result = code == index       ? to.AddIndex()
             : code == baseLines ? to.AddBaseLines()
                                 : CopyTable(from, directory(i), to, change);
  }
  if (result && directory.HasTable(index) < 0) result = to.AddIndex();
  if (result && directory.HasTable(baseLines) < 0) result = to.AddBaseLines();
  if (result) result = to.AddProvenance(cards, command);
  return result ? from.Check() : result;
}

void DropUnusedRows(AUVXTable& table, const AUVXBaseLines& baseLines) {
  if (table.Code() == "AN") {
    AUVXBaseLines present = baseLines;
    const std::unique_ptr<AArray<int>> unused(AUVXAntenns(table).GetDeleteRows(present));
    table.DeleteRows(*unused);
  } else {
    // Source 0 stands for all of them.
    const std::unique_ptr<AArray<short>> sources(baseLines.getSourceMap());
    const short* begin = sources->lpArray();
    const int place = static_cast<int>(std::lower_bound(begin, begin + sources->count(), short{0}) - begin);
    const bool hasZero = place < sources->count() && (*sources)(place) == 0;
    if (!hasZero) sources->InsertAt(place, 0);
    if (table.Code() != "SU") {
      table.CheckSources(sources.get());
    } else if (const std::optional<RowNumbers> numbers = RowNumbers::Of(table); numbers && !hasZero) {
      DropSources(table, *sources, *numbers);
    }
  }
}

}  // namespace zeltra
