// SPDX-License-Identifier: MIT
#include "zeltra/analysis/AClosePhaseArray.h"

#include <cmath>
#include <cstdlib>
#include <memory>

#include "zeltra/analysis/SearchInternal.h"
#include "zeltra/analysis/TriangleWalkInternal.h"

namespace zeltra {
namespace {

A3TlscsItem TriangleOf(const AUVXTimeMeanArray& mean, const AClosePhItem& legs) {
  const ABaseLineItem& first = mean(legs.base1)->baseLine;
  const ABaseLineItem& second = mean(std::abs(legs.base2))->baseLine;
  return A3TlscsItem(static_cast<char>(first.tlsc1()), static_cast<char>(first.tlsc2()),
                     static_cast<char>(second.tlsc2()), 0);
}

}  // namespace

template class AArray<AClosePhaseItem*>;
template class APtrArray<AClosePhaseItem*>;

int AClosePhaseItem::HasTime(double time, int& index) const {
  return BinarySearch(
      times.count(), [&](int i) { return CompareValues(time, times(i)); }, index);
}

void AClosePhaseItem::AddValue(double phase, double time, int selector) {
  AArray<double>& phases = selector ? phases1 : phases0;
  int t = 0;
  if (!HasTime(time, t)) {
    phases.Add(phase);
    times.Add(time);
  } else if (phases.count() > t) {
    phases(t) = phase;
  } else {
    phases.Add(phase);
  }
}

void AClosePhaseArray::GetPhasesForIndex(AUVXTimeMeanArray&, int, int, int, double&, double&, double&) {}

void AClosePhaseArray::Add(AUVXTimeMeanArray& mean, int selector) {
  if (!triangles_) return;
  const std::unique_ptr<AArray<AClosePhItem>> found(mean.GetClosePhase(tlscID_));
  for (int i = 0; i < found->count(); ++i) {
    const AClosePhItem& legs = (*found)(i);
    const A3TlscsItem triangle = TriangleOf(mean, legs);
    if (!IsUsable(triangle)) continue;
    ItemFor(triangle).AddValue(ClosurePhase(mean, legs), mean.GetMeanTime(), selector);
  }
}

bool AClosePhaseArray::IsUsable(const A3TlscsItem& triangle) const {
  int index = 0;
  return triangles_->HasItem(triangle, index) && (*triangles_)(index).flag() == 0;
}

double AClosePhaseArray::ClosurePhase(AUVXTimeMeanArray& mean, const AClosePhItem& legs) {
  double p1 = 0.0;
  double p2 = 0.0;
  double p3 = 0.0;
  GetPhasesForIndex(mean, std::abs(legs.base1), std::abs(legs.base2), std::abs(legs.base3), p1, p2, p3);
  if (legs.base1 < 0) p1 = -p1;
  if (legs.base2 < 0) p2 = -p2;
  if (legs.base3 < 0) p3 = -p3;
  return ClosureOf(p1, p2, p3);
}

AClosePhaseItem& AClosePhaseArray::ItemFor(const A3TlscsItem& triangle) {
  int index = 0;
  const auto compare = [&](int i) { return CompareTriangles(triangle, (*this)(i)->triangle); };
  if (!BinarySearch(count(), compare, index)) {
    auto* item = new AClosePhaseItem;
    item->triangle = triangle;
    InsertAt(index, item);
  }
  return *(*this)(index);
}

}  // namespace zeltra
