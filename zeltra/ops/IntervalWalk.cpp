// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>

#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/IntervalWalkInternal.h"

namespace zeltra {
namespace {

constexpr double kTicksPerSecond = 1e4;
constexpr double kTicksPerDay = 86400.0 * kTicksPerSecond;
// Every stream keeps a record, and looks its scans up in a list of all of them.
constexpr int64 kMostStreamBytes = 64 << 20;
constexpr int64 kMostLookedUp = 1 << 24;

double MidnightBefore(double julianDate) {
  return std::floor(julianDate - 0.5) + 0.5;
}

}  // namespace

// IntervalWatch

void IntervalWatch::Start(double midnight, int64 records) {
  midnight_ = midnight;
  records_ = records;
  if (options_.start) begin_ = Seconds(*options_.start);
  if (options_.stop) end_ = Seconds(*options_.stop);
  SendProgressRange(options_.progress);
}

double IntervalWatch::Seconds(double julianDate) const {
  return std::round((julianDate - midnight_) * kTicksPerDay) / kTicksPerSecond;
}

bool IntervalWatch::CountRecord() {
  if (IsStopped()) return false;
  // Records of an interval that does not fit the memory are read several times.
  read_ = std::min(read_ + 1, records_);
  SendProgress(options_.progress, read_, records_, lastPercent_);
  return true;
}

void IntervalWatch::Fail(const std::string& sentence) {
  if (failure_.empty()) failure_ = path_ + ": " + sentence;
}

AResult IntervalWatch::Why() const {
  if (!failure_.empty()) return AResult::Fail(failure_);
  return IsStopped() ? AResult::Cancel(path_ + ": cancelled before its last record") : AResult::Ok();
}

// RangeRead

RangeRead::RangeRead(AUVXFile& file, const IntervalStream& stream, int first, int last)
    : AUVXRead_FqS(&file, stream.source, stream.setup, nullptr) {
  const AUVXPosition& all = cursor_.positions();
  AUVXPosition own;
  for (int i = 0; i < all.count(); ++i) {
    AUVXPositionItem scan = all(i);
    scan.startVis = std::max(scan.startVis - 1, first) + 1;
    scan.endVis = std::min(scan.endVis - 1, last) + 1;
    if (!IsDropPosItem(scan) && scan.startVis <= scan.endVis) own.Add(scan);
  }
  cursor_.positions() = own;
  const auto none = [](AUVXPositionItem&) { return false; };
  Select(none);
  total_ = cursor_.CountRecords(none);
}

// SecondsRead

SecondsRead::SecondsRead(RangeRead* reader, const IntervalStream& stream, IntervalWatch& watch,
                         const IntervalOptions& options, AArray<AStokesMix>* mix)
    : AUVXTIRead_RL(reader, stream.begin, watch.end(), options.interval, mix, options.complexMean),
      stream_(stream),
      watch_(watch),
      complexMean_(options.complexMean) {}

int SecondsRead::IsDropUVVis(AUVXGroup& group, AUVXVisibility& vis, int pos) {
  ++read_;
  const double seconds = watch_.Seconds(group.date);
  if (group.sourceNo() != stream_.source || group.freqSel() != stream_.setup) {
    watch_.Fail("record " + std::to_string(pos) + " is of another source or setup than the index table NX says");
  } else if (!std::isfinite(seconds)) {
    watch_.Fail("the time of record " + std::to_string(pos) + " is no number");
  } else if (seconds < last_) {
    watch_.Fail("record " + std::to_string(pos) +
                " goes back in time; the records of a file are averaged in time order");
  }
  if (!watch_.CountRecord()) {
    group.date = std::numeric_limits<double>::infinity();
    return 0;
  }
  last_ = seconds;
  group.date = seconds;
  return AUVXTIRead_RL::IsDropUVVis(group, vis, pos) || !watch_.IsInside(seconds);
}

void SecondsRead::AddToArray(AUVXGroup& group, AUVXVisibility& vis, int pos, double t1, double t2) {
  const int place = complexMean_ ? -1 : means().SearchBaseLine(ABaseLineItem(group));
  if (place < 0) return AUVXTIRead_RL::AddToArray(group, vis, pos, t1, t2);
  AUVXTimeMeanItem& item = *means()(place);
  invalid_.clear();
  for (int i = 0; i < item.sum.count(); ++i) {
    if (!(item.sum.lpArray()[i].weight > 0)) invalid_.push_back(i);
  }
  AUVXTIRead_RL::AddToArray(group, vis, pos, t1, t2);
  for (const int i : invalid_) {
    const AUVXComplex& slots = item.sum.lpArray()[i];
    if (!(slots.weight > 0)) continue;
    item.justify(i) = APhJustify();
    item.justify(i).Justify(slots.im);
  }
}

void FlagOddValues(AUVXComplex* values, int count) {
  // Integers, so that the compiler tests four numbers at a time: an exponent of all ones is an infinity or no number.
  constexpr uint32_t kExponent = 0x7F800000;
  const char* bytes = reinterpret_cast<const char*>(values);
  uint32_t odd = 0;
  for (int i = 0; i < 3 * count; ++i) {
    uint32_t word;
    std::memcpy(&word, bytes + size_t{4} * static_cast<size_t>(i), 4);
    odd |= (word & kExponent) == kExponent;
  }
  if (!odd) return;
  for (int i = 0; i < count; ++i) {
    AUVXComplex& value = values[i];
    if (!std::isfinite(value.re) || !std::isfinite(value.im) || !std::isfinite(value.weight)) value = {0.0, 0.0, 0.0};
  }
}

// IntervalWalk

AResult IntervalWalk::Open() {
  if (!(options_.interval < 0) && !(options_.interval >= 1e-3 && options_.interval <= 1e9)) {
    return AResult::Fail(input_.path() + ": cannot be cut into intervals of " + valToStr(options_.interval) +
                         " s: they take 0.001 s at least, -1 makes one of every time stamp");
  }
  const AUVXContents contents(input_);
  if (AResult result = contents.CheckIndex(input_); !result) return result;
  if (AResult result = FindStreams(contents); !result) return result;
  return SettleTimes(contents);
}

AResult IntervalWalk::FindStreams(const AUVXContents& contents) {
  int source = 0;
  if (!options_.source.empty()) {
    if (AResult result = contents.FindSource(options_.source, source); !result) return result;
  }
  std::vector<std::string> setups;
  const AUVXPosition& scans = contents.scans();
  for (int i = 0; i < scans.count(); ++i) {
    const AUVXPositionItem& scan = scans(i);
    if (!options_.source.empty() && scan.sourceId != source) continue;
    const std::string setup = std::to_string(scan.freqId);
    if (std::find(setups.begin(), setups.end(), setup) == setups.end()) setups.push_back(setup);
    if (options_.freqSel && scan.freqId != *options_.freqSel) continue;
    const auto known = std::find_if(streams_.begin(), streams_.end(), [&](const IntervalStream& stream) {
      return stream.source == scan.sourceId && stream.setup == scan.freqId;
    });
    const int records = scan.endVis - scan.startVis + 1;
    if (known == streams_.end()) {
      streams_.push_back({scan.sourceId, scan.freqId, records});
    } else {
      known->records += records;
    }
    const auto count = static_cast<int64>(streams_.size());
    if (count * scans.count() > kMostLookedUp || count * input_.uvx().recSize() > kMostStreamBytes) {
      if (count > 1) return AResult::Fail(input_.path() + ": holds too many sources for one run, choose one of them");
    }
  }
  if (!streams_.empty() || scans.count() == 0) return AResult::Ok();
  std::string list;
  for (const std::string& setup : setups) list += (list.empty() ? "" : ", ") + setup;
  return AResult::Fail(input_.path() + ": no record of frequency setup " + std::to_string(*options_.freqSel) +
                       "; there are " + list);
}

// Times count from 0 h of the observation date, or of the day of the first record where that is earlier or far away.
AResult IntervalWalk::SettleTimes(const AUVXContents& contents) {
  AUVXFile& uvx = input_.uvx();
  int64 records = 0;
  double first = std::numeric_limits<double>::max();
  std::vector<double> firsts;
  for (const IntervalStream& stream : streams_) {
    RangeRead reader(uvx, stream);
    AUVXGroup group;
    AUVXVisibility nothing;
    int index = 0;
    if (!reader.GetUVGVis(group, nothing, index) || !std::isfinite(group.date)) {
      return AResult::Fail(input_.path() + ": the time of record " + std::to_string(index) + " is no number");
    }
    firsts.push_back(group.date);
    first = std::min(first, firsts.back());
    records += stream.records;
  }
  constexpr double kFarDays = 10000;
  const double date = contents.header().info.dateObs;
  const bool isNear = first >= date && first - date < kFarDays;
  watch_.Start(isNear || streams_.empty() ? date : MidnightBefore(first), records);
  for (size_t i = 0; i < streams_.size(); ++i) {
    if (options_.interval < 0) {
      streams_[i].begin = std::numeric_limits<double>::lowest();
    } else if (options_.start) {
      streams_[i].begin = watch_.Seconds(*options_.start);
    } else {
      streams_[i].begin = std::floor(watch_.Seconds(firsts[i]) / options_.interval) * options_.interval;
    }
  }
  return AResult::Ok();
}

struct IntervalWalk::Lane {
  Lane(AUVXFile& uvx, const IntervalStream& source) : stream(source), reader(uvx, source), place(uvx.GetPos()) {}

  const IntervalStream& stream;
  RangeRead reader;
  std::unique_ptr<SecondsRead> intervals;
  AUVXTimeMeanArray* next = nullptr;  // the interval that waits; none at the end
  int64 place;                        // of the file
};

AResult IntervalWalk::Advance(Lane& lane) {
  AUVXFile& uvx = input_.uvx();
  if (uvx.GetPos() != lane.place) uvx.Seek(lane.place);
  lane.next = lane.intervals->GetTimeInterval();
  lane.place = uvx.GetPos();
  const bool isWhole = options_.stop || lane.intervals->read() == lane.stream.records;
  if (!lane.next && !isWhole && !watch_.IsStopped()) {
    watch_.Fail("cannot be read to the last record of source " + std::to_string(lane.stream.source));
  }
  return watch_.Why();
}

AResult IntervalWalk::Run(const Make& make, const Take& take) {
  std::vector<std::unique_ptr<Lane>> lanes;
  for (const IntervalStream& stream : streams_) {
    Lane& lane = *lanes.emplace_back(std::make_unique<Lane>(input_.uvx(), stream));
    lane.intervals = make(lane.reader, stream, watch_);
    if (AResult result = Advance(lane); !result) return result;
  }
  for (;;) {
    Lane* first = nullptr;
    for (const auto& lane : lanes) {
      if (lane->next && (!first || lane->next->GetMeanTime() < first->next->GetMeanTime())) first = lane.get();
    }
    if (!first) return AResult::Ok();
    const double time = watch_.JulianDate(first->next->GetMeanTime());
    if (AResult result = take(*first->intervals, *first->next, first->stream, time); !result) return result;
    if (AResult result = Advance(*first); !result) return result;
  }
}

}  // namespace zeltra
