// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <numeric>

#include "zeltra/ops/IFColumnsInternal.h"
#include "zeltra/ops/UnfoldedTablesInternal.h"
#include "zeltra/uvx/AUVXFqTblInternal.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {
namespace {

// The last of several columns, as in AUVXFqTbl; -1 if there is none.
int FindSetupColumn(const AUVXTable& table) {
  int found = -1;
  for (int i = 0; i < table.columnCount(); ++i) {
    const std::string name = table.columns()(i).Name();
    const bool isNumber = std::isfinite(table.Number(0, i)) && table.ParseFormat(i).type != 'L';
    if (isNumber && (FqColumnOf(name) == FqColumn::Id || name.find("FREQ ID") != std::string::npos)) found = i;
  }
  return found;
}

// All IFs, or all channels, averaged: used for tables without setup numbers.
FrequencyChange Stacked(const UnfoldedSetups& setups, const AUVXHeader& header) {
  FrequencyChange change = FrequencyChange::None(header);
  if (setups.byIF && change.IFs > 1) {
    std::vector<int> all(static_cast<size_t>(change.IFs));
    std::iota(all.begin(), all.end(), 0);
    change.parts = {all};
    change.isStacked = true;
  }
  if (setups.byChannel && change.channels > 1) {
    change.step = change.width = change.channels;
    change.count = 1;
  }
  return change;
}

}  // namespace

UnfoldedTables::UnfoldedTables(const UnfoldedSetups& setups, const AUVXHeader& header)
    : setups_(setups), others_(Stacked(setups, header), header.freq0, nullptr) {}

bool UnfoldedTables::Change(AUVXTable& table) {
  const int column = FindSetupColumn(table);
  if (column < 0 && table.Code() != "FG") return others_.Change(table);
  if (table.rows() == 0 || (column >= 0 && Unfold(table, column))) return true;
  others_.LeaveOut(table);
  return false;
}

bool UnfoldedTables::Unfold(AUVXTable& table, int setupColumn) {
  if (setups_.byChannel && IsAboutChannels(table)) return false;
  const bool isFlags = table.Code() == "FG";
  ifsColumn_ = channelsColumn_ = -1;
  if (isFlags ? !FindFlagColumns(table, ifsColumn_, channelsColumn_) : !FillsRows(table)) return false;
  const int IFs = setups_.byIF ? setups_.IFs : 1;
  if (HasColumnsOfIFs(table, IFs) && !HasKnownColumnsOfIFs(table) && !isFlags) return false;
  const bool isCut = !isFlags && IFs > 1;
  std::vector<AUVXTable> byIF;
  for (int i = 0; i < (isCut ? IFs : 1); ++i) byIF.push_back(isCut ? KeepIFs(table, IFs, {i}, 1) : table);
  AUVXTable to = byIF[0];
  to.SetRows(0);
  for (int row = 0; row < table.rows(); ++row) {
    if (!UnfoldRow(table, row, setupColumn, byIF, to)) return false;
  }
  table = to;
  return true;
}

// Append the rows that a row becomes. @return false if there are too many
bool UnfoldedTables::UnfoldRow(const AUVXTable& from, int row, int setupColumn, const std::vector<AUVXTable>& byIF,
                               AUVXTable& to) const {
  using Range = FrequencyChange::Range;
  const int number = RoundedInt(from.Number(row, setupColumn));
  const bool isSetup = from.Code() == "FQ", isFlag = ifsColumn_ >= 0;
  const Range ifs = isFlag ? FlaggedRange(from, row, ifsColumn_, setups_.IFs) : Range{0, setups_.IFs - 1};
  const Range channels =
      isFlag ? FlaggedRange(from, row, channelsColumn_, setups_.channels) : Range{0, setups_.channels - 1};
  const auto holds = [](const Range& range, int place) { return range.first <= place && place <= range.last; };
  for (size_t setup = 0; setup < setups_.numbers.size(); ++setup) {
    // 0 and below stand for all setups, except in the list of setups itself.
    if (number != setups_.numbers[setup] && (number > 0 || isSetup)) continue;
    for (int element = 0; element < setups_.count(); ++element) {
      const int i = setups_.IFOf(element);
      if (setups_.byIF && !holds(ifs, i)) continue;
      if (setups_.byChannel && !holds(channels, setups_.ChannelOf(element))) continue;
      if (!AddRow(byIF[byIF.size() > 1 ? static_cast<size_t>(i) : 0], row, setupColumn,
                  setups_.NewNumber(setup, element), to))
        return false;
      if (isSetup) MoveFrequencies(to, to.rows() - 1, element);
    }
  }
  return true;
}

// Append a row for a new setup; in a table of flags it covers all of the IFs or channels of that setup.
bool UnfoldedTables::AddRow(const AUVXTable& from, int row, int setupColumn, int number, AUVXTable& to) const {
  const int made = to.rows();
  if (!to.ResizeRows(made + 1)) return false;
  std::memcpy(to.Row(made), from.Row(row), static_cast<size_t>(to.rowBytes()));
  for (int end = 0; end < 2 && ifsColumn_ >= 0; ++end) {
    if (setups_.byIF) to.SetNumber(made, ifsColumn_, end, 0);
    if (setups_.byChannel) to.SetNumber(made, channelsColumn_, end, 0);
  }
  return to.SetNumber(made, setupColumn, 0, number) != 0;
}

void UnfoldedTables::MoveFrequencies(AUVXTable& setups, int row, int element) const {
  if (!setups_.byChannel) return;
  const SetupFrequencies frequencies(setups);
  for (int i = 0; i < (setups_.byIF ? 1 : setups_.IFs); ++i) {
    const double width = frequencies.Width(row, i);
    setups.SetNumber(row, frequencies.startColumn, i, frequencies.Start(row, i) + setups_.ChannelOf(element) * width);
    setups.SetNumber(row, frequencies.bandwidthColumn, i, std::fabs(width));
  }
}

}  // namespace zeltra
