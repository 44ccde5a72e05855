// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXPosition.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "zeltra/core/Units.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXPositionInternal.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {

template class AArray<AUVXPositionItem>;

namespace {

/// Above this number of scans, storage doubles: files that change source with every record have as many scans as
/// records.
constexpr int kLongList = 4096;
constexpr int kLargestDoubled = 1 << 30;

/// Times are still in days here. Of two names that begin alike, the longer is tried first.
void ReadColumn(const AUVXTable& table, const ListColumn& column, AUVXPositionItem* items) {
  using Item = AUVXPositionItem;
  if (!column.IsNumeric()) return;
  if (column.Names("TIME INTERVAL")) {
    ReadField(table, column, items, &Item::duration);
  } else if (column.Names("TIME")) {
    ReadField(table, column, items, &Item::start);
  } else if (column.Names("SOURCE ID")) {
    ReadField(table, column, items, &Item::sourceId);
  } else if (column.Names("START")) {
    ReadField(table, column, items, &Item::startVis);
  } else if (column.Names("END")) {
    ReadField(table, column, items, &Item::endVis);
  } else if (column.Names("FREQ")) {
    ReadField(table, column, items, &Item::freqId);
  } else if (column.Names("SUBARRAY")) {
    ReadField(table, column, items, &Item::subarray);
  }
}

}  // namespace

void AUVXPosition::Init(const AUVXTable& table) {
  Free();
  AUVXPositionItem* items = AppendItems(*this, table);
  for (const ListColumn& column : ListColumns(table)) ReadColumn(table, column, items);
  for (int i = 0; i < count(); ++i) {
    AUVXPositionItem& scan = items[i];
    scan.start = (scan.start - scan.duration / 2) * kSecondsPerDay;
    scan.duration *= kSecondsPerDay;
  }
}

int AUVXPosition::CheckUVGroup(const AUVXGroup& group, int recordIndex) {
  AUVXPositionItem* last = count() > 0 ? lpArray() + count() - 1 : nullptr;
  if (last && last->sourceId == group.sourceNo() && last->freqId == group.freqSel()) {
    last->endVis = recordIndex + 1;
    const double dt = group.uvTime() - last->start;
    if (!(dt >= 0)) {
      last->duration -= dt;
    } else if (dt > last->duration) {
      last->duration = dt;
    }
    return count();
  }
  const bool isPowerOfTwo = (count() & (count() - 1)) == 0;
  if (count() >= kLongList && count() < kLargestDoubled && isPowerOfTwo) Reallocate(2 * count());
  AUVXPositionItem scan;
  scan.start = group.uvTime();
  scan.sourceId = group.sourceNo();
  scan.subarray = 1;
  scan.startVis = scan.endVis = recordIndex + 1;
  scan.freqId = group.freqSel();
  Add(scan);
  return count();
}

void AUVXPosition::AddStartTime(double julianDate) {
  double whole = 0;
  const double fraction = std::modf(julianDate, &whole);
  // Julian dates begin at noon.
  const double sinceMidnight = (fraction >= 0.5 ? fraction - 0.5 : fraction + 0.5) * kSecondsPerDay;
  for (int i = 0; i < count(); ++i) (*this)(i).start += sinceMidnight;
}

int AUVXPosition::FreqSelForSrc(int sourceId) const {
  for (int i = 0; i < count(); ++i) {
    if ((*this)(i).sourceId == sourceId) return (*this)(i).freqId;
  }
  return 1;
}

int AUVXPosition::CountForSrc(int sourceId) const {
  int64 records = 0;
  for (int i = 0; i < count(); ++i) {
    const AUVXPositionItem& scan = (*this)(i);
    if (scan.sourceId == sourceId) records += int64{scan.endVis} - scan.startVis + 1;
  }
  return static_cast<int>(std::clamp<int64>(records, INT_MIN, INT_MAX));
}

AArray<int>* AUVXPosition::GetFreqSels(int sourceId) const {
  auto setups = std::make_unique<AArray<int>>();
  GetFreqSels(sourceId, *setups);
  return setups.release();
}

AArray<int>& AUVXPosition::GetFreqSels(int sourceId, AArray<int>& out) const {
  std::vector<int> setups;
  for (const AUVXPositionItem& scan : *this) {
    if (scan.sourceId == sourceId) setups.push_back(scan.freqId);
  }
  std::sort(setups.begin(), setups.end());
  setups.erase(std::unique(setups.begin(), setups.end()), setups.end());
  out.Free();
  out += AArray<int>(setups.data(), static_cast<int>(setups.size()), 0, 1);
  return out;
}

AUVXTable* AUVXPosition::ToUVXTable() const {
  auto table = std::make_unique<AUVXTable>();
  table->Create(AUVXTable::toHash("NX", 0));
  table->AddColumn(PaddedToEight("TIME"), PaddedToEight("DAYS"), "1E");
  table->AddColumn(PaddedToEight("TIME INTERVAL"), PaddedToEight("DAYS"), "1E");
  for (const char* name : {"SOURCE ID", "SUBARRAY", "START VIS", "END VIS", "FREQ ID"}) {
    table->AddColumn(PaddedToEight(name), "", "1J");
  }
  table->SetRows(count());
  for (int row = 0; row < table->rows(); ++row) {
    const IndexRow image((*this)(row));
    std::memcpy(table->Row(row), &image, sizeof image);
  }
  return table.release();
}

}  // namespace zeltra
