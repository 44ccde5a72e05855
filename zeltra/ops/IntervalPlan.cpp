// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <set>
#include <string>

#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/IntervalPlanInternal.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {
namespace {

// Small enough to spread the load evenly over threads, large enough to make the cost of starting a part negligible.
constexpr int64 kPartBytes = 16 << 20;
constexpr int kSamplesPerPart = 8;
// An observation date this far from the records is ignored.
constexpr double kFarDays = 10000;

}  // namespace

// IntervalClock

IntervalClock::IntervalClock(double midnight, const RecordChoice& choice, double interval) : midnight_(midnight) {
  if (choice.start()) first_ = origin_ = Ticks(choice.start()->value);
  if (choice.stop()) last_ = Ticks(choice.stop()->value);
  if (interval > 0) length_ = interval * kTicksPerSecond;
  // 0.07 s are 700.0000000000001 ticks.
  if (std::fabs(length_ - std::round(length_)) < 1e-9 * length_) length_ = std::round(length_);
}

double IntervalClock::Ticks(double julianDate) const {
  return std::round((julianDate - midnight_) * (kSecondsPerDay * kTicksPerSecond));
}

double IntervalClock::Cell(double ticks) const {
  return length_ > 0 ? std::floor((ticks - origin_) / length_) : ticks;
}

double IntervalClock::Begin(double cell) const {
  return length_ > 0 ? std::ceil(origin_ + cell * length_) : cell;
}

// IntervalPlan

AResult IntervalPlan::Open(unsigned leftOut) {
  const double interval = options_.interval;
  if (!(interval < 0) && !(interval >= 1e-3 && interval <= 1e9)) {
    return AResult::Fail(input_.path() + ": cannot be cut into intervals of " + valToStr(interval) +
                         " s; the least is 0.001 s, and -1 makes each time stamp an interval");
  }
  if (AResult result = contents_.CheckLists(); !result) return result;
  if (AResult result = choice_.Open(input_, options_.selection, leftOut); !result) return result;
  FindStreams();
  if (AResult result = SetClock(); !result) return result;
  if (AResult result = FindStretches(); !result) return result;
  Cut(Bounds());
  return AResult::Ok();
}

void IntervalPlan::FindStreams() {
  const AUVXPosition& scans = contents_.scans();
  for (int i = 0; i < scans.count(); ++i) {
    if (!choice_.TakesScan(i)) continue;
    const int place = static_cast<int>(streams_.size());
    if (places_.emplace(std::pair(scans(i).sourceId, scans(i).freqId), place).second) {
      streams_.push_back({scans(i).sourceId, scans(i).freqId});
    }
  }
}

int IntervalPlan::StreamOf(int scan) const {
  const AUVXPositionItem& item = contents_.scans()(scan);
  return choice_.TakesScan(scan) ? places_.at({item.sourceId, item.freqId}) : -1;
}

double IntervalPlan::TimeOf(int record) const {
  double date = 0;
  return input_.ReadTime(record, date) ? date : std::numeric_limits<double>::quiet_NaN();
}

// Times count from 0 h of the observation date, or of the day of the first record if that is before it or far from it.
AResult IntervalPlan::SetClock() {
  const AUVXPosition& scans = contents_.scans();
  double first = std::numeric_limits<double>::max();
  std::set<int> seen;
  for (int i = 0; i < scans.count() && seen.size() < streams_.size(); ++i) {
    const int stream = StreamOf(i);
    if (stream < 0 || !seen.insert(stream).second || scans(i).startVis < 1) continue;
    const double date = TimeOf(scans(i).startVis - 1);
    if (!std::isfinite(date)) return HasNoTime(scans(i).startVis - 1);
    first = std::min(first, date);
  }
  const double date = contents_.header().info.dateObs;
  const bool isNear = first >= date && first - date < kFarDays;
  clock_ = IntervalClock(isNear || streams_.empty() ? date : MidnightBefore(first), choice_, options_.interval);
  return AResult::Ok();
}

AResult IntervalPlan::FindStretches() {
  std::vector<double> ends(streams_.size(), std::numeric_limits<double>::lowest());
  int place = 0;
  int backward = -1;  // a record that is earlier than the end of a preceding scan
  AResult result = contents_.CheckIndex(
      input_, [&](const AUVXPositionItem& scan, const AUVXGroup& firstRecord, const AUVXGroup& lastRecord) {
        const int stream = StreamOf(place++);
        const double first = clock_.Ticks(firstRecord.date), last = clock_.Ticks(lastRecord.date);
        if (stream >= 0) {
          double& end = ends[static_cast<size_t>(stream)];
          if (first < end && backward < 0) backward = scan.startVis - 1;
          end = last;
        }
        if (stretches_.empty() || first < stretches_.back().last) {
          stretches_.push_back({{scan.startVis - 1, scan.endVis}, first, last});
        } else {
          stretches_.back().records.end = scan.endVis;
          stretches_.back().last = last;
        }
      });
  return result && backward >= 0 ? GoesBack(backward) : result;
}

AResult IntervalPlan::GoesBack(int record) const {
  return AResult::Fail(input_.path() + ": record " + std::to_string(record + 1) +
                       " goes back in time; averaging needs time order, which 'zeltra sort' establishes");
}

int IntervalPlan::ScanOf(int record) const {
  const AUVXPositionItem* list = contents_.scans().lpArray();
  const auto isBefore = [](const AUVXPositionItem& scan, int place) { return scan.endVis <= place; };
  return static_cast<int>(std::lower_bound(list, list + contents_.scans().count(), record, isBefore) - list);
}

AResult IntervalPlan::HasNoTime(int record) const {
  return AResult::Fail(input_.path() + ": the time of record " + std::to_string(record + 1) + " is not a number");
}

AResult IntervalPlan::CheckTimes(const IntervalPart& part) const {
  const AUVXPosition& scans = contents_.scans();
  std::vector<double> last(streams_.size(), part.begin);
  for (const RecordRange& range : part.ranges) {
    for (int scan = ScanOf(range.first); scan < scans.count() && scans(scan).startVis <= range.end; ++scan) {
      const int stream = StreamOf(scan);
      const int end = stream < 0 ? 0 : std::min(scans(scan).endVis, range.end);
      for (int record = std::max(scans(scan).startVis - 1, range.first); record < end; ++record) {
        const double ticks = clock_.Ticks(TimeOf(record));
        double& before = last[static_cast<size_t>(stream)];
        if (!std::isfinite(ticks)) return HasNoTime(record);
        if (ticks < before || ticks >= part.end) return GoesBack(record);
        before = ticks;
      }
    }
  }
  return AResult::Ok();
}

// Times of evenly spaced records, which show roughly how many records lie between two times.
std::vector<IntervalPlan::Sample> IntervalPlan::SampleTimes() const {
  const int step = static_cast<int>(std::max<int64>(kPartBytes / kSamplesPerPart / input_.uvx().recSize(), 1));
  std::vector<Sample> samples;
  for (const Stretch& stretch : stretches_) {
    for (int64 record = stretch.records.first; record < stretch.records.end; record += step) {
      const int64 count = std::min<int64>(step, stretch.records.end - record);
      const double ticks = clock_.Ticks(TimeOf(static_cast<int>(record)));
      if (std::isfinite(ticks)) samples.push_back({ticks, count});
    }
  }
  std::stable_sort(samples.begin(), samples.end(), [](const Sample& a, const Sample& b) { return a.ticks < b.ticks; });
  return samples;
}

// Where all parts but the first begin: at bounds of intervals, some kPartBytes apart.
std::vector<double> IntervalPlan::Bounds() const {
  std::vector<double> bounds;
  int64 bytes = 0;
  for (const Sample& sample : SampleTimes()) {
    if (bytes >= kPartBytes) {
      double bound = clock_.Begin(clock_.Cell(sample.ticks));
      const double before = bounds.empty() ? std::numeric_limits<double>::lowest() : bounds.back();
      if (bound <= before) bound = clock_.Begin(clock_.Cell(sample.ticks) + 1);
      if (bound > before) {
        bounds.push_back(bound);
        bytes = 0;
      }
    }
    bytes += sample.records * input_.uvx().recSize();
  }
  return bounds;
}

void IntervalPlan::Cut(const std::vector<double>& bounds) {
  parts_.resize(bounds.size() + 1);
  for (size_t i = 0; i < bounds.size(); ++i) parts_[i].end = parts_[i + 1].begin = bounds[i];
  for (const Stretch& stretch : stretches_) {
    int first = stretch.records.first;
    const auto isOver = [](double ticks, const IntervalPart& part) { return ticks < part.end; };
    auto part = std::upper_bound(parts_.begin(), parts_.end(), stretch.first, isOver);
    for (; part != parts_.end(); ++part) {
      const int end = stretch.last < part->end ? stretch.records.end : FirstFrom(stretch, first, part->end);
      if (end > first) part->ranges.push_back({first, end});
      first = end;
      if (first == stretch.records.end) break;
    }
    // If the stretch contains a bad time, the rest of its records is walked too, so that it is found.
    if (first < stretch.records.end) parts_.back().ranges.push_back({first, stretch.records.end});
  }
  std::erase_if(parts_, [this](const IntervalPart& part) {
    return part.ranges.empty() || !clock_.MaySelect(part.begin, part.end);
  });
}

int64 IntervalPlan::RecordsOf(int part) const {
  int64 records = 0;
  for (const RecordRange& range : parts_[static_cast<size_t>(part)].ranges) records += range.end - range.first;
  return records;
}

// The first record of a stretch, from `from` on, that is not earlier than a time.
int IntervalPlan::FirstFrom(const Stretch& stretch, int from, double bound) const {
  int low = from, high = stretch.records.end;
  while (low < high) {
    const int middle = low + (high - low) / 2;
    if (clock_.Ticks(TimeOf(middle)) < bound) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low;
}

}  // namespace zeltra
