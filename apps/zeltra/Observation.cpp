// SPDX-License-Identifier: MIT
#include "apps/zeltra/Observation.h"

#include <algorithm>
#include <cmath>
#include <set>

#include "apps/zeltra/TablePrinter.h"
#include "zeltra/uvx/AStokesMix.h"

namespace zeltra::app {
namespace {

int FindEither(const AUVXTable& table, const char* name, const char* otherName) {
  const int column = table.FindColumn(name);
  return column >= 0 ? column : table.FindColumn(otherName);
}

int WholeNumber(double value) {
  return value > -2147483648.0 && value < 2147483647.0 ? static_cast<int>(std::lround(value)) : 0;
}

}  // namespace

Observation::Observation(UVXInput& input) : header(input.uvx()) {
  for (int i = 0; i < header.stokes.count(); ++i) {
    stokesNames.push_back(AStokesItem(i, header.stokes(i)).asShortString());
  }
  const AUVXTableHeader directory(input.uvx());
  std::set<std::string> seen;
  for (int i = 0; i < directory.count(); ++i) {
    TableSummary summary;
    AUVXTable unread;
    unread.SetID(int{directory(i).ID});
    const std::unique_ptr<AUVXTable> table = input.Table(directory(i));
    summary.code = unread.Code();
    summary.id = unread.ID();
    summary.name = unread.IDtoStr();
    summary.bytes = directory(i).size;
    summary.offset = directory(i).position;
    if (!table) {
      remarks.push_back(input.path() + ": the table " + Printable(summary.code) + " at byte " +
                        std::to_string(summary.offset) + " is damaged");
    } else {
      summary.rows = table->rows();
      summary.columns = table->columnCount();
      summary.rowBytes = table->rowBytes();
    }
    tables.push_back(summary);
    if (!table || !seen.insert(summary.code).second) continue;
    if (summary.code == "AN") {
      antennas.Init(*table);
      center[0] = antennas.ArrayX();
      center[1] = antennas.ArrayY();
      center[2] = antennas.ArrayZ();
    }
    if (summary.code == "SU") sources.Init(*table);
    if (summary.code == "NX") scans = AUVXPosition(*table);
    if (summary.code == "FQ") ReadSetups(*table);
  }
}

void Observation::ReadSetups(const AUVXTable& table) {
  const int id = FindEither(table, "FRQSEL", "FREQID");
  const int start = FindEither(table, "IF FREQ", "BANDFREQ");
  const int delta = FindEither(table, "CH WIDTH", "CH_WIDTH");
  for (int row = 0; row < table.rows(); ++row) {
    SetupSummary setup;
    setup.id = WholeNumber(table.Number(row, id));
    // IFs that the table lacks have no numbers, so the header's count is not believed blindly.
    const int ifs = std::max(int{header.IFs}, 1);
    for (int i = 0; i < ifs && !std::isnan(table.Number(row, start, i)); ++i) {
      setup.ifs.push_back({header.freq0 + table.Number(row, start, i), table.Number(row, delta, i)});
    }
    setups.push_back(setup);
  }
}

}  // namespace zeltra::app
