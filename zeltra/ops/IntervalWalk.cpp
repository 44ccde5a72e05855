// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <utility>

#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/IntervalWalkInternal.h"
#include "zeltra/uvx/AUVXPosition.h"

namespace zeltra {
namespace {

constexpr double kTicksPerSecond = 1e4;
constexpr double kTicksPerDay = 86400.0 * kTicksPerSecond;
// Every stream that has begun keeps two records, as bytes and as values, and looks its scans up in a list of all.
constexpr int64 kMostStreamBytes = 128 << 20;
constexpr int64 kMostLookedUp = 1 << 24;

}  // namespace

// IntervalWatch

void IntervalWatch::Start(double midnight, int64 records) {
  midnight_ = midnight;
  records_ = records;
  if (options_.start) begin_ = Seconds(options_.start->value);
  if (options_.stop) end_ = Seconds(options_.stop->value);
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

// SecondsRead

SecondsRead::SecondsRead(AUVXRead_FqS* reader, const IntervalStream& stream, IntervalWatch& watch,
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

void SecondsRead::Release() {
  means().Init();
  invalid_ = {};
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
  if (AResult result = contents.SettleTimes(options_.start, options_.stop); !result) return result;
  scans_ = contents.sharedScans();
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
      streams_.push_back({scan.sourceId, scan.freqId, scan.startVis - 1, records});
    } else {
      known->records += records;
    }
    const auto count = static_cast<int64>(streams_.size());
    if (count > 1 && count * scans.count() > kMostLookedUp) {
      return AResult::Fail(input_.path() + ": holds too many sources for one run, choose one of them");
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
    AUVXGroup group;
    if (!uvx.SeekUVGroup(stream.firstRecord) || !group.load(uvx) || !std::isfinite(group.date)) {
      return AResult::Fail(input_.path() + ": the time of record " + std::to_string(stream.firstRecord) +
                           " is no number");
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
    IntervalStream& stream = streams_[i];
    stream.first = watch_.Seconds(firsts[i]);
    if (options_.start) stream.first = std::max(stream.first, watch_.Seconds(options_.start->value));
    if (options_.interval < 0) {
      stream.begin = std::numeric_limits<double>::lowest();
    } else if (options_.start) {
      stream.begin = watch_.Seconds(options_.start->value);
    } else {
      stream.begin = std::floor(stream.first / options_.interval) * options_.interval;
    }
  }
  return AResult::Ok();
}

std::shared_ptr<AUVXPosition> IntervalWalk::ScansOf(int first, int last) const {
  const AUVXPositionItem* scans = scans_->lpArray();
  const AUVXPositionItem* end = scans + scans_->count();
  const AUVXPositionItem* from =
      std::partition_point(scans, end, [=](const AUVXPositionItem& scan) { return scan.endVis <= first; });
  const AUVXPositionItem* to =
      std::partition_point(from, end, [=](const AUVXPositionItem& scan) { return scan.startVis <= last + 1; });
  auto part = std::make_shared<AUVXPosition>();
  part->GrowBy(static_cast<int>(to - from));
  std::copy(from, to, part->lpArray());
  if (from == to) return part;
  (*part)(0).startVis = std::max((*part)(0).startVis, first + 1);
  (*part)(part->count() - 1).endVis = std::min((*part)(part->count() - 1).endVis, last + 1);
  return part;
}

// Mean time of the interval of a record as its reader forms and rounds it, hundredths of a second.
double IntervalWalk::MeanTime(const IntervalStream& stream, double seconds) const {
  double low = seconds, high = seconds;
  if (options_.interval > 0) {
    constexpr double kTolerance = 1e-5;
    low = std::trunc((seconds - stream.begin) / options_.interval + kTolerance) * options_.interval + stream.begin;
    high = low + options_.interval;
  }
  return std::trunc((low + high) * 50.0 + 0.5);
}

struct IntervalWalk::Lane {
  Lane(AUVXFile& uvx, const IntervalStream& stream, std::shared_ptr<AUVXPosition> scans)
      : reader(&uvx, stream.source, stream.setup, std::move(scans)) {}

  AUVXRead_FqS reader;
  std::unique_ptr<SecondsRead> intervals;
  int64 place = 0;  // of the file
};

AResult IntervalWalk::Begin(std::unique_ptr<Lane>& lane, const IntervalStream& stream, const Make& make) {
  AUVXFile& uvx = input_.uvx();
  if (++begun_ > 1 && 2 * begun_ * uvx.recSize() > kMostStreamBytes) {
    return AResult::Fail(input_.path() + ": the records of too many sources alternate for one run, choose one source");
  }
  lane = std::make_unique<Lane>(uvx, stream, scans_);
  lane->intervals = make(lane->reader, stream, watch_);
  lane->intervals->GoToStart();
  lane->place = uvx.GetPos();
  return watch_.Why();
}

AResult IntervalWalk::TakeNext(std::unique_ptr<Lane>& lane, const IntervalStream& stream, const Take& take) {
  AUVXFile& uvx = input_.uvx();
  if (uvx.GetPos() != lane->place) uvx.Seek(lane->place);
  AUVXTimeMeanArray* means = lane->intervals->GetTimeInterval();
  lane->place = uvx.GetPos();
  if (!means && !options_.stop && lane->intervals->read() != stream.records && !watch_.IsStopped()) {
    watch_.Fail("cannot be read to the last record of source " + std::to_string(stream.source));
  }
  if (AResult result = watch_.Why(); !result) return result;
  if (!means) {
    lane.reset();
    --begun_;
    return AResult::Ok();
  }
  hasTaken_ = true;
  AResult result = take(*lane->intervals, *means, stream, watch_.JulianDate(means->GetMeanTime()));
  lane->intervals->Release();
  return result;
}

AResult IntervalWalk::Run(const Make& make, const Take& take) {
  // By the mean time of the next interval, in hundredths of a second, and the place of the stream. A stream that has
  // not begun has no lane, and an interval is in memory no longer than its turn takes, however many sources there are.
  std::map<std::pair<double, size_t>, std::unique_ptr<Lane>> turns;
  for (size_t i = 0; i < streams_.size(); ++i) turns[{MeanTime(streams_[i], streams_[i].first), i}] = nullptr;
  while (!turns.empty()) {
    auto turn = turns.extract(turns.begin());
    const IntervalStream& stream = streams_[turn.key().second];
    std::unique_ptr<Lane>& lane = turn.mapped();
    AResult result = lane ? TakeNext(lane, stream, take) : Begin(lane, stream, make);
    if (!result) return result;
    if (!lane) continue;
    turn.key().first = MeanTime(stream, lane->intervals->last());
    turns.insert(std::move(turn));
  }
  const bool isBounded = options_.start || options_.stop;
  return isBounded && !hasTaken_ && !streams_.empty() ? input_.NothingSelected() : AResult::Ok();
}

}  // namespace zeltra
