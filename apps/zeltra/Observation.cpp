// SPDX-License-Identifier: MIT
#include "apps/zeltra/Observation.h"

#include <set>

#include "apps/zeltra/TablePrinter.h"
#include "zeltra/uvx/AStokesMix.h"

namespace zeltra::app {
namespace {

TableSummary Summarise(const AUVXTableItem& item, const AUVXTable* table) {
  AUVXTable unread;
  unread.SetID(int{item.ID});
  TableSummary summary;
  summary.code = unread.Code();
  summary.id = unread.ID();
  summary.name = unread.IDtoStr();
  summary.bytes = item.size;
  summary.offset = item.position;
  if (!table) return summary;
  summary.rows = table->rows();
  summary.columns = table->columnCount();
  summary.rowBytes = table->rowBytes();
  return summary;
}

}  // namespace

Observation::Observation(UVXInput& input) : header(input.uvx()), setups(input.uvx()) {
  for (int i = 0; i < header.stokes.count(); ++i) {
    stokesNames.push_back(AStokesItem(i, header.stokes(i)).asShortString());
  }
  const AUVXTableHeader directory(input.uvx());
  std::set<std::string> seen;
  for (int i = 0; i < directory.count(); ++i) {
    const std::unique_ptr<AUVXTable> table = input.Table(directory(i));
    tables.push_back(Summarise(directory(i), table.get()));
    const TableSummary& summary = tables.back();
    if (!table) {
      remarks.push_back(input.path() + ": the table " + Printable(summary.code) + " at byte " +
                        std::to_string(summary.offset) + " is damaged");
    } else if (seen.insert(summary.code).second) {
      Read(*table, summary.code);
    }
  }
}

void Observation::Read(const AUVXTable& table, const std::string& code) {
  if (code == "AN") {
    antennas.Init(table);
    center[0] = antennas.ArrayX();
    center[1] = antennas.ArrayY();
    center[2] = antennas.ArrayZ();
  }
  if (code == "SU") sources.Init(table);
  if (code == "NX") scans.Init(table);
}

}  // namespace zeltra::app
