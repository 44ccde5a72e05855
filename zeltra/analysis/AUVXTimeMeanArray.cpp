// SPDX-License-Identifier: MIT
#include "zeltra/analysis/AUVXTimeMeanArray.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "zeltra/analysis/SearchInternal.h"
#include "zeltra/analysis/TriangleWalkInternal.h"
#include "zeltra/core/Units.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {
namespace {

AArray<AClosePhItem>* Triangles(const AUVXTimeMeanArray& means, std::optional<int> tlsc) {
  auto* triangles = new AArray<AClosePhItem>(0, 0, 64);
  WalkTriangles(
      means.count(), [&](int i) { return means(i)->baseLine; }, tlsc,
      [&](int a, int b, bool reversed, int d, int) {
        triangles->Add({a, reversed ? -b : b, -d});
      });
  return triangles;
}

}  // namespace

template class AArray<AClosePhItem>;
template class AArray<AUVXTimeMeanItem*>;
template class APtrArray<AUVXTimeMeanItem*>;

double APhJustify::Justify(double phase) {
  if (first) {
    first = 0;
    lastPhase = unwrapped = phase;
    return phase;
  }
  const double plain = phase - lastPhase;
  lastPhase = phase;
  double step = plain;
  if (std::fabs(plain - kTwoPi) < std::fabs(step)) step = plain - kTwoPi;
  if (std::fabs(plain + kTwoPi) < std::fabs(step)) step = plain + kTwoPi;
  return unwrapped += step;
}

AUVXTimeMeanArray::AUVXTimeMeanArray(AUVXTimeMeanArray&& other) noexcept
    : APtrArray(std::move(other)), scope_(std::exchange(other.scope_, {})), complexMean_(other.complexMean_) {}

AUVXTimeMeanArray& AUVXTimeMeanArray::operator=(AUVXTimeMeanArray&& other) noexcept {
  if (this == &other) return *this;
  APtrArray::operator=(std::move(other));
  scope_ = std::exchange(other.scope_, {});
  complexMean_ = other.complexMean_;
  return *this;
}

void AUVXTimeMeanArray::Init() {
  Free();
  scope_ = {};
}

void AUVXTimeMeanArray::Add(AUVXVisibility* vis, AUVXGroup& group, int pos, double t1, double t2) {
  ABaseLineItem base(group);
  Add(vis, base, pos, t1, t2);
}

void AUVXTimeMeanArray::Add(AUVXVisibility* vis, ABaseLineItem& base, int pos, double t1, double t2) {
  scope_.startTime = std::min(scope_.startTime, t1);
  scope_.stopTime = std::max(scope_.stopTime, t2);
  scope_.startPos = std::min(scope_.startPos, pos);
  scope_.endPos = std::max(scope_.endPos, pos);

  int index = 0;
  if (Find(base, index)) {
    Accumulate(*(*this)(index), *vis);
  } else {
    InsertAt(index, NewItem(*vis, base));
  }
}

// A value as the accumulators hold it: amplitude and phase in amplitude/phase mode.
AUVXComplex AUVXTimeMeanArray::Slots(const AUVXComplex& value) const {
  if (complexMean_) return value;
  AUVXComplex slots = value;
  slots.re = static_cast<float>(value.ampl());
  slots.im = static_cast<float>(value.phase());
  return slots;
}

AUVXTimeMeanItem* AUVXTimeMeanArray::NewItem(const AUVXVisibility& vis, const ABaseLineItem& base) const {
  auto* item = new AUVXTimeMeanItem;
  item->baseLine = base;
  item->baseLine.setFlag(0);
  item->sum = vis;
  item->count.GrowBy(vis.count());
  item->count = 1;
  item->justify.GrowBy(vis.count(), 0);
  if (complexMean_) return item;
  for (int i = 0; i < vis.count(); ++i) {
    AUVXComplex& slots = item->sum.lpArray()[i];
    slots = Slots(slots);
    item->justify(i).Justify(slots.im);
  }
  return item;
}

void AUVXTimeMeanArray::Accumulate(AUVXTimeMeanItem& item, const AUVXVisibility& vis) const {
  const int values = std::min(item.sum.count(), vis.count());
  for (int i = 0; i < values; ++i) {
    const AUVXComplex& value = vis.lpArray()[i];
    if (!(value.weight > 0)) continue;
    const AUVXComplex slots = Slots(value);
    AUVXComplex& sum = item.sum.lpArray()[i];
    if (!(sum.weight > 0)) {
      // The unwrapper keeps its state, so that later phases continue from the last one that it saw.
      sum = slots;
      item.count(i) = 1;
      continue;
    }
    sum.re += slots.re;
    sum.im = complexMean_ ? sum.im + slots.im : static_cast<float>(sum.im + item.justify(i).Justify(slots.im));
    sum.weight += slots.weight;
    ++item.count(i);
  }
}

void AUVXTimeMeanArray::CalculateMean() {
  for (int k = 0; k < count(); ++k) {
    AUVXTimeMeanItem& item = *(*this)(k);
    for (int i = 0; i < item.sum.count(); ++i) {
      AUVXComplex& value = item.sum.lpArray()[i];
      if (item.count(i) > 0) {
        const float share = 1.0F / static_cast<float>(item.count(i));
        value.re *= share;
        value.im *= share;
        value.weight *= share;
        item.count(i) = 1;
      }
      if (complexMean_) continue;
      const double amplitude = value.re;
      const double phase = value.im;
      value.re = static_cast<float>(amplitude * std::cos(phase));
      value.im = static_cast<float>(amplitude * std::sin(phase));
    }
  }
}

double AUVXTimeMeanArray::GetMeanTime() const {
  return std::trunc((scope_.startTime + scope_.stopTime) * 50.0 + 0.5) * 0.01;
}

bool AUVXTimeMeanArray::Find(const ABaseLineItem& base, int& index) const {
  return BinarySearch(
      count(), [&](int i) { return fnBLItemCompare(base, (*this)(i)->baseLine); }, index);
}

int AUVXTimeMeanArray::SearchBaseLine(const ABaseLineItem& base) const {
  int index = 0;
  return Find(base, index) ? index : -1;
}

int AUVXTimeMeanArray::GetScopeMap(AArray<int>& antennas) const {
  antennas.Free();
  for (int i = 0; i < count(); ++i) {
    InsertNumber(antennas, (*this)(i)->baseLine.tlsc1());
    InsertNumber(antennas, (*this)(i)->baseLine.tlsc2());
  }
  return antennas.count();
}

AArray<AClosePhItem>* AUVXTimeMeanArray::GetClosePhase() const {
  return Triangles(*this, std::nullopt);
}

AArray<AClosePhItem>* AUVXTimeMeanArray::GetClosePhase(int tlsc) const {
  return Triangles(*this, SignedAntenna(tlsc));
}

}  // namespace zeltra
