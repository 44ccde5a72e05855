// SPDX-License-Identifier: MIT
#include "zeltra/analysis/ABaseLine.h"

#include <algorithm>

#include "zeltra/analysis/AntennaFlagsInternal.h"
#include "zeltra/analysis/SearchInternal.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {
namespace {

template <typename Drop>
int DeleteFromTheEnd(ABaseLine& list, Drop drop) {
  const int before = list.count();
  for (int i = before - 1; i >= 0; --i) {
    if (drop(list(i))) list.DeleteItems(i, 1);
  }
  return before - list.count();
}

}  // namespace

template class AArray<ABaseLineItem>;

std::string ABL::Str() const {
  return std::to_string(tlsc1()) + "-" + std::to_string(tlsc2());
}

ABaseLineItem::ABaseLineItem(const AUVXGroup& group)
    : ABaseLineItem(group.tlsc1(), group.tlsc2(), (group.flag & 1) != 0) {}

std::string ABaseLineItem::asString() const {
  return std::to_string(tlsc1()) + "-" + std::to_string(tlsc2());
}

int fnBLItemCompare(const ABaseLineItem& key, const ABaseLineItem& item) {
  const int order = CompareValues(key.tlsc1(), item.tlsc1());
  return order != 0 ? order : CompareValues(key.tlsc2(), item.tlsc2());
}

void ABaseLine::Init(const AUVXBaseLines& table, int source) {
  Free();
  const AUVXBaseLineItem* begin = table.lpArray();
  const AUVXBaseLineItem* end = begin + std::max(table.count(), 0);
  const auto* first = std::lower_bound(begin, end, source,
                                       [](const AUVXBaseLineItem& item, int wanted) { return item.source < wanted; });
  if (first == end || first->source != source) return;
  const auto* last = std::upper_bound(first, end, source,
                                      [](int wanted, const AUVXBaseLineItem& item) { return wanted < item.source; });
  GrowBy(static_cast<int>(last - first));
  std::transform(first, last, lpArray(), [](const AUVXBaseLineItem& item) {
    return ABaseLineItem(item.tlsc1, item.tlsc2, false).setFlag(item.flag);
  });
}

int ABaseLine::hasBase(const ABaseLineItem& base, int& index) const {
  index = -1;
  if (count() < 1) return 0;
  return BinarySearch(
      count(), [&](int i) { return fnBLItemCompare(base, (*this)(i)); }, index);
}

short ABaseLine::checkBase(const ABaseLineItem& base) {
  int index = 0;
  if (hasBase(base, index)) {
    if (base.isValid()) (*this)(index).setFlag(0);
  } else {
    index = InsertAt(std::max(index, 0), base);
  }
  return static_cast<short>(index);
}

int ABaseLine::DeleteEQBase() {
  return DeleteFromTheEnd(*this, [](const ABaseLineItem& item) { return item.tlsc1() == item.tlsc2(); });
}

int ABaseLine::GetMarkItem() const {
  return static_cast<int>(
      std::count_if(lpArray(), lpArray() + count(), [](const ABaseLineItem& item) { return item.isValid(); }));
}

int ABaseLine::deleteUnMarkItem() {
  return DeleteFromTheEnd(*this, [](const ABaseLineItem& item) { return !item.isValid(); });
}

short ABaseLine::getScopeMap(char* antennas, char* flags) const {
  AntennaFlags found;
  for (int i = 0; i < count(); ++i) {
    const ABaseLineItem& item = (*this)(i);
    found.Add(item.tlsc1(), static_cast<uint8_t>(item.flag()));
    found.Add(item.tlsc2(), static_cast<uint8_t>(item.flag()));
  }
  return static_cast<short>(found.Write(antennas, flags, kScopeMapSize));
}

}  // namespace zeltra
