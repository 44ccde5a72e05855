// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXBaseLines.h"

#include <algorithm>
#include <bitset>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {

template class AArray<AUVXBaseLineItem>;

namespace {

constexpr int kGrowBy = 128;

// Ascends by source, antenna 1, antenna 2.
int64 Key(const AUVXBaseLineItem& item) {
  return (int64{item.source} * 256 + item.tlsc1) * 256 + item.tlsc2;
}

bool Before(const AUVXBaseLineItem& a, const AUVXBaseLineItem& b) {
  return Key(a) < Key(b);
}

/// Flagged items come after the others of the same baseline.
bool BeforeWithFlag(const AUVXBaseLineItem& a, const AUVXBaseLineItem& b) {
  return 2 * Key(a) + (a.flag != 0) < 2 * Key(b) + (b.flag != 0);
}

/// A 16-bit number; a missing one reads as NaN and becomes 0.
int16_t ShortOf(double number) {
  return static_cast<int16_t>(std::isnan(number) ? 0.0 : std::clamp(number, -32768.0, 32767.0));
}

int AntennaNumber(int8_t stored) {
  return static_cast<uint8_t>(stored);
}

}  // namespace

AUVXBaseLineItem::AUVXBaseLineItem(const AUVXGroup& group)
    : source(group.source), tlsc1(group.ant1), tlsc2(group.ant2), flag(group.flag & 1) {}

AUVXBaseLines::AUVXBaseLines() : AArray(0, 0, kGrowBy) {}

AUVXBaseLines::AUVXBaseLines(const AUVXTable& table) : AUVXBaseLines() {
  const int source = table.FindColumn("SOURCE");
  const int first = table.FindColumn("ANT1");
  const int second = table.FindColumn("ANT2");
  const int flag = table.FindColumn("FLAG");
  std::vector<AUVXBaseLineItem> items(static_cast<size_t>(table.rows()));
  for (int row = 0; row < table.rows(); ++row) {
    AUVXBaseLineItem& item = items[static_cast<size_t>(row)];
    item.source = ShortOf(table.Number(row, source));
    item.tlsc1 = static_cast<int8_t>(ShortOf(table.Number(row, first)));
    item.tlsc2 = static_cast<int8_t>(ShortOf(table.Number(row, second)));
    item.flag = ShortOf(table.Number(row, flag)) != 0;
  }
  checkBases(std::move(items));
}

int AUVXBaseLines::checkBase(const AUVXBaseLineItem& item) {
  AUVXBaseLineItem* end = lpArray() + count();
  AUVXBaseLineItem* place = std::lower_bound(lpArray(), end, item, Before);
  const int index = static_cast<int>(place - lpArray());
  if (place == end || Before(item, *place)) return InsertAt(index, item);
  if (item.flag == 0) place->flag = 0;
  return index;
}

void AUVXBaseLines::checkBases(std::vector<AUVXBaseLineItem> items) {
  std::sort(items.begin(), items.end(), BeforeWithFlag);
  const int listed = count();
  *this += AArray(items.data(), static_cast<int>(items.size()), kGrowBy, 1);
  std::inplace_merge(begin(), begin() + listed, end(), BeforeWithFlag);
  const auto same = [](const AUVXBaseLineItem& a, const AUVXBaseLineItem& b) { return Key(a) == Key(b); };
  const AUVXBaseLineItem* rest = std::unique(begin(), end(), same);
  DeleteItems(static_cast<int>(rest - begin()), static_cast<int>(end() - rest));
}

AArray<short>* AUVXBaseLines::getSourceMap() const {
  auto map = std::make_unique<AArray<short>>();
  for (int i = 0; i < count(); ++i) {
    const short source = (*this)(i).source;
    if (map->count() == 0 || (*map)(map->count() - 1) != source) map->Add(source);
  }
  return map.release();
}

AArray<int>* AUVXBaseLines::getTlscMap() const {
  std::bitset<256> present;
  for (int i = 0; i < count(); ++i) {
    present.set(static_cast<size_t>(AntennaNumber((*this)(i).tlsc1)));
    present.set(static_cast<size_t>(AntennaNumber((*this)(i).tlsc2)));
  }
  auto map = std::make_unique<AArray<int>>();
  for (int number = 0; number < 256; ++number) {
    if (present.test(static_cast<size_t>(number))) map->Add(number);
  }
  return map.release();
}

AUVXTable* AUVXBaseLines::ToUVXTable() const {
  auto table = std::make_unique<AUVXTable>();
  table->Create(AUVXTable::toHash("BL", 1));
  for (const char* name : {"SOURCE", "ANT1", "ANT2", "FLAG"}) table->AddColumn(PaddedToEight(name), "", "1I");
  table->SetRows(count());
  for (int row = 0; row < table->rows(); ++row) {
    const AUVXBaseLineItem& item = (*this)(row);
    table->SetNumber(row, 0, 0, item.source);
    table->SetNumber(row, 1, 0, AntennaNumber(item.tlsc1));
    table->SetNumber(row, 2, 0, AntennaNumber(item.tlsc2));
    table->SetNumber(row, 3, 0, item.flag);
  }
  return table.release();
}

}  // namespace zeltra
