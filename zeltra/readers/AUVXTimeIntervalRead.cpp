// SPDX-License-Identifier: MIT
#include "zeltra/readers/AUVXTimeIntervalRead.h"

#include <algorithm>
#include <cmath>

namespace zeltra {

AUVXTimeIntervalRead::AUVXTimeIntervalRead(AUVXRead* reader, double startTime, double stopTime, double interval)
    : startTime_(startTime),
      stopTime_(stopTime),
      interval_(interval),
      reader_(reader),
      vis_(std::make_shared<AUVXVisibility>(reader->uvx())) {}

AUVXTimeIntervalRead::~AUVXTimeIntervalRead() = default;

void* AUVXTimeIntervalRead::GetArray() {
  return nullptr;
}

int AUVXTimeIntervalRead::IsDropUVVis(AUVXGroup& group, AUVXVisibility&, int) {
  return group.flag != 0;
}

void AUVXTimeIntervalRead::AllocateArray() {}

void AUVXTimeIntervalRead::AddToArray(AUVXGroup&, AUVXVisibility&, int, double, double) {}

// Reads up to the next record that is not dropped.
void AUVXTimeIntervalRead::ReadRecord() {
  do {
    eof_ = !reader_->GetUVGVis(group_, *vis_, pos_);
  } while (!eof_ && IsDropUVVis(group_, *vis_, pos_));
}

void AUVXTimeIntervalRead::GoToStart() {
  if (!first_) return;
  do {
    ReadRecord();
  } while (!eof_ && IsBeforeStart());
  first_ = 0;
}

void* AUVXTimeIntervalRead::GetTimeInterval() {
  GoToStart();
  if (eof_) return nullptr;

  const double time = group_.uvTime();
  double low = time;
  double high = time + eps_;
  double second = time;
  // A length that would not advance time, such as zero, counts as negative.
  if (time + interval_ > time) {
    low = std::trunc((time - startTime_) / interval_ + eps_) * interval_ + startTime_;
    // If the start is too far away, such as -1e38 for the beginning, the grid of intervals has no resolution here.
    if (!(std::fabs(time - low) <= 2 * interval_)) low = time;
    second = high = low + interval_;
    // Rounding may count a stamp that lies on a bound to the interval that ends there: it begins the next one. Only
    // records at the stop time stay.
    if (!(high > time) && high != stopTime_) {
      low = high;
      second = high = low + interval_;
    }
  }
  if (low > stopTime_) return nullptr;
  // Records stamped exactly at the stop time fall into the last interval.
  if (high == stopTime_) high += eps_;

  AllocateArray();
  // The first record belongs to the interval whatever rounding makes of its bounds, so every call advances by at least
  // one record.
  do {
    AddToArray(group_, *vis_, pos_, low, second);
    ReadRecord();
  } while (!eof_ && high > group_.uvTime());
  if (high > stopTime_) eof_ = 1;
  return GetArray();
}

AUVXTIRead::AUVXTIRead(AUVXRead* reader, double startTime, double stopTime, double interval, int complexMean)
    : AUVXTimeIntervalRead(reader, startTime, stopTime, interval), complexMean_(complexMean) {}

AUVXTIRead::~AUVXTIRead() = default;

void* AUVXTIRead::GetArray() {
  return array_.get();
}

void AUVXTIRead::AllocateArray() {
  array_ = std::make_shared<AUVXTimeMeanArray>(complexMean_);
}

void AUVXTIRead::AddToArray(AUVXGroup& group, AUVXVisibility& vis, int pos, double t1, double t2) {
  array_->Add(&vis, group, pos, t1, t2);
}

AUVXTimeMeanArray* AUVXTIRead::GetTimeInterval() {
  return static_cast<AUVXTimeMeanArray*>(AUVXTimeIntervalRead::GetTimeInterval());
}

AUVXTIRead_RL::AUVXTIRead_RL(AUVXRead* reader, double startTime, double stopTime, double interval,
                             const AArray<AStokesMix>* mix, int complexMean)
    : AUVXTIRead(reader, startTime, stopTime, interval, complexMean), mix_(mix) {}

AUVXTIRead_RL::~AUVXTIRead_RL() = default;

void AUVXTIRead_RL::AddToArray(AUVXGroup& group, AUVXVisibility& vis, int pos, double t1, double t2) {
  if (!mix_) {
    AUVXTIRead::AddToArray(group, vis, pos, t1, t2);
    return;
  }
  AUVXVisibility mixed(std::max(1, vis.IFs()), vis.channels(), mix_->count());
  for (int s = 0; s < mix_->count(); ++s) {
    const AStokesMix& mix = (*mix_)(s);
    const bool held = mix.item1.index < vis.stokes() && mix.item2.index < vis.stokes();
    for (int f = 0; f < vis.freqs(); ++f) {
      mixed(f, s) = held ? mix.GetVisible(vis(f), 0) : AUVXComplex(0.0, 0.0, 0.0);
    }
  }
  AUVXTIRead::AddToArray(group, mixed, pos, t1, t2);
}

}  // namespace zeltra
