// SPDX-License-Identifier: MIT
#include "zeltra/analysis/ABaseClosedSearch.h"

#include <algorithm>
#include <cstdlib>

#include "zeltra/analysis/SearchInternal.h"

namespace zeltra {

ABaseClosedSearch::ABaseClosedSearch(const ABaseClosedSearch& other) {
  *this = other;
}

ABaseClosedSearch& ABaseClosedSearch::operator=(const ABaseClosedSearch& other) {
  if (this == &other) return *this;
  loops_.Free();
  for (int i = 0; i < other.loops_.count(); ++i) loops_.Add(new AArray<int>(*other.loops_(i)));
  scopeMap_ = other.scopeMap_;
  path_ = other.path_;
  indexes_ = other.indexes_;
  endIndex_ = other.endIndex_;
  startIndex_ = other.startIndex_;
  maxLink_ = other.maxLink_;
  return *this;
}

int ABaseClosedSearch::GetBaseLines() {
  return 0;
}

ABL ABaseClosedSearch::GetBase(int i) {
  return ABL(1, i + 1);
}

int ABaseClosedSearch::CaculateIndexes() {
  const int baselines = GetBaseLines();
  scopeMap_.Free();
  for (int i = 0; i < baselines; ++i) {
    const ABL base = GetBase(i);
    if (base.tlsc1() == base.tlsc2()) continue;
    InsertNumber(scopeMap_, base.tlsc1());
    InsertNumber(scopeMap_, base.tlsc2());
  }
  indexes_.reSize(scopeMap_.count(), scopeMap_.count());
  for (int i = 0; i < baselines; ++i) {
    const ABL base = GetBase(i);
    if (base.tlsc1() == base.tlsc2()) continue;
    int row = 0;
    int column = 0;
    if (!FindNumber(scopeMap_, base.tlsc1(), row) || !FindNumber(scopeMap_, base.tlsc2(), column)) return 0;
    indexes_(row, column) = static_cast<short>(i + 1);
    indexes_(column, row) = static_cast<short>(-(i + 1));
  }
  return 1;
}

int ABaseClosedSearch::SearchBL(const ABL& base) {
  path_.Free();
  loops_.Free();
  if (!FindNumber(scopeMap_, base.tlsc1(), startIndex_) || !FindNumber(scopeMap_, base.tlsc2(), endIndex_)) return 0;
  const int reversed = indexes_(endIndex_, startIndex_);
  if (reversed == 0) return 0;
  auto* itself = new AArray<int>;
  itself->Add(-reversed);
  loops_.Add(itself);
  Cicle(endIndex_, startIndex_, scopeMap_.count());
  return 1;
}

int ABaseClosedSearch::Cicle(int prev, int cur, int n) {
  if (path_.count() >= maxLink_) return 0;
  const int searched = std::abs(indexes_(endIndex_, startIndex_));
  const int walked = std::abs(indexes_(prev, cur));
  for (int next = 0; next < n; ++next) {
    const int step = indexes_(cur, next);
    const int number = std::abs(step);
    if (step == 0 || number == searched || number == walked || IsIndexExists(step)) continue;
    const int length = path_.count();
    path_.Add(step);
    if (next == endIndex_) {
      loops_.Add(new AArray<int>(path_));
    } else {
      Cicle(cur, next, n);
    }
    path_.DeleteItems(length, 1);
  }
  return 1;
}

int ABaseClosedSearch::IsIndexExists(int number) const {
  return std::any_of(path_.lpArray(), path_.lpArray() + path_.count(),
                     [&](int step) { return std::abs(step) == std::abs(number); });
}

}  // namespace zeltra
