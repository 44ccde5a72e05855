// SPDX-License-Identifier: MIT
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "zeltra/core/PartRunnerInternal.h"
#include "zeltra/ops/IntervalWalkInternal.h"
#include "zeltra/ops/RecordReaderInternal.h"

namespace zeltra {
namespace {

// What the threads hold together: blocks of records, sums, and what is made of them.
constexpr int64 kMostBytes = 128 << 20;
// Sums of intervals whose baselines stay together, of one thread. What does not fit depends on this and on the file,
// not on the number of threads, and so do the results.
constexpr int64 kTogetherBytes = 32 << 20;
// A block of records.
constexpr int64 kBlockBytes = 1 << 19;
// Streams that a thread has intervals of at one time, each with a table of its own.
constexpr size_t kMostOpen = 128;
// What is made of intervals is handed on in pieces of this size.
constexpr size_t kPieceBytes = 1 << 20;

constexpr double kNever = std::numeric_limits<double>::lowest();

struct WalkShape {
  AUVXInput& input;
  const IntervalPlan& plan;
  const ValueChoice& choice;
  const MeanForm form;
  const IntervalWalk::Shape& shape;
  const IntervalWalk::Finish& finish;
  int64 sumBytes;   // of one thread
  double interval;  // seconds; negative: every time stamp
  PartShare share;
  std::atomic<bool>& hasInterval;
};

// An interval that records are still added to.
struct OpenInterval {
  explicit OpenInterval(SumPool& pool) : sums(pool) {}

  size_t stream = 0;
  int scan = 0;  // place of its scan in the index; of the first entry, if the scan has several
  double cell = 0;
  double firstTicks = 0;
  double reference = 0;  // Julian date of its first record; times are added up as distances from it
  double weight = 0, weightedDays = 0, days = 0;
  int64 count = 0;
  double seconds = 0, stampSeconds = 0;  // integration times of all time stamps but the last one, and of that
  double stamp = kNever;                 // ticks
  int firstRecord = 0, lastRecord = 0;
  bool isWhole = true;        // whether its sums fit
  std::vector<bool> present;  // baselines, by IntervalSums::KeyOf, where they do not
  IntervalSums sums;
  std::unique_ptr<IntervalState> state;

  void BeginPieces() {
    isWhole = false;
    state.reset();
    present.assign(IntervalSums::kKeys, false);
    sums.MarkPresent(present);
    sums.Clear();
  }
  double Time(bool weighted) const {
    if (weighted && weight > 0) return reference + weightedDays / weight;
    return reference + days / static_cast<double>(count);
  }
};

// What has been made of intervals that have ended, kept until nothing earlier can come.
struct Finished {
  double time;
  size_t stream;
  std::vector<char> bytes;
};

// What is known of a stream in a part.
struct StreamState {
  double lastTicks = kNever;
  int scan = -1;       // place of its last record's scan in the index
  int firstScan = -1;  // of the first entry of that scan, if it has several
  OpenInterval* open = nullptr;
};

// Times of the first and the last record of a scan, ticks.
struct ScanTimes {
  int scan = -1;
  double first = kNever, last = kNever;
};

// Adds a record that is read again.
using AddRead = std::function<void(AUVXGroup& group, const char* stored)>;

class IntervalWorker : public PartWorker {
 public:
  explicit IntervalWorker(const WalkShape& shape)
      : shape_(shape),
        clock_(shape.plan.clock()),
        choice_(shape.plan.choice()),
        scans_(shape.plan.contents().scans()),
        reader_(shape.input),
        room_(static_cast<size_t>(shape.choice.count())),
        integrations_(shape.plan.contents().integrations()),
        pool_(shape.form, shape.sumBytes),
        states_(shape.plan.streams().size()) {
    if (shape.shape.adder) add_ = shape.shape.adder();
  }

  AResult Run(int part, PartOutput& output) override;

 private:
  AResult WalkRange(const RecordRange& range, PartOutput& output);
  void EnterScan(int record);
  AResult TakeRecord(const char* bytes, int record);
  AResult EnterTime(const AUVXGroup& group, int record);
  bool EndsScan(const StreamState& state, double ticks) const;
  ScanTimes TimesOf(int scan) const;
  AResult Begin(StreamState& state, int record, const AUVXGroup& group);
  void AddRecord(OpenInterval& interval, AUVXGroup& group, const char* stored, int record);
  AResult EndBefore(double cell);
  AResult End(StreamState& state);
  void Make(OpenInterval& interval, double time, IntervalSums& sums, int firstValue = 0,
            Interval::Complete complete = Interval::All);
  void MakeTimeStamp(OpenInterval& interval, IntervalSums& sums, int firstValue = 0);
  AResult MakeInPieces(OpenInterval& interval, double time);
  AResult MakeInGroups(OpenInterval& interval, double time);
  int GroupOf(const OpenInterval& interval) const;
  AResult AddAgain(const OpenInterval& interval, const AddRead& add);
  void Keep(double time, size_t stream, std::vector<char> bytes);
  bool Release();
  bool HandOn(bool all);
  AResult Unreadable(int record) const {
    return AResult::Fail(shape_.input.path() + ": cannot be read in record " + std::to_string(record + 1));
  }

  const WalkShape& shape_;
  const IntervalClock& clock_;
  const RecordChoice& choice_;
  const AUVXPosition& scans_;
  RecordReader reader_;
  std::vector<AUVXComplex> room_;
  AUVXIntegrationCursor integrations_;
  IntervalWalk::Add add_;
  SumPool pool_;
  std::vector<StreamState> states_;
  int place_ = 0;  // of the part in the plan
  const IntervalPart* part_ = nullptr;
  PartOutput* output_ = nullptr;
  bool isInOrder_ = false;   // whether nothing earlier comes from another range of the part
  int scan_ = 0;             // place of the current record's scan
  int stream_ = 0;           // of that scan; -1 if it is not selected
  IntervalStream expected_;  // of that scan
  bool isNewScan_ = true;    // until its first record is taken
  ScanTimes recent_[8];      // of scans that were read, each at its place modulo 8
  double date_ = 0;          // of the record before
  bool isSelected_ = false;  // whether that time counts
  double cell_ = kNever;     // of the last time that counts
  std::vector<std::unique_ptr<OpenInterval>> intervals_;
  std::vector<OpenInterval*> open_, idle_;
  std::vector<Finished> finished_;
  std::vector<char> piece_;
};

AResult IntervalWorker::Run(int part, PartOutput& output) {
  place_ = shape_.share.number - 1 + part * shape_.share.count;
  part_ = &shape_.plan.parts()[static_cast<size_t>(place_)];
  output_ = &output;
  isInOrder_ = part_->ranges.size() == 1;
  std::fill(states_.begin(), states_.end(), StreamState());
  for (const RecordRange& range : part_->ranges) {
    if (AResult result = WalkRange(range, output); !result) return result;
    if (AResult result = EndBefore(std::numeric_limits<double>::infinity()); !result) return result;
  }
  if (Release()) HandOn(true);
  return AResult::Ok();
}

AResult IntervalWorker::WalkRange(const RecordRange& range, PartOutput& output) {
  std::fill(std::begin(recent_), std::end(recent_), ScanTimes());
  const AUVXPositionItem* scans = scans_.lpArray();
  const auto isBefore = [&](const AUVXPositionItem& scan, int record) { return scan.endVis <= record; };
  scan_ = static_cast<int>(std::lower_bound(scans, scans + scans_.count(), range.first, isBefore) - scans) - 1;
  int scanEnd = range.first;
  cell_ = kNever;
  for (int next = range.first; next < range.end;) {
    const int first = next;
    const int count = reader_.Read(first, range.end);
    if (count == 0) return Unreadable(first);
    for (int i = 0; i < count; next = first + ++i) {
      if (next >= scanEnd) {
        EnterScan(next);
        scanEnd = std::min(scans_(scan_).endVis, range.end);
      }
      if (stream_ < 0) {
        i = scanEnd - first - 1;  // skips the rest of a scan that is not selected, which may end after this block
        continue;
      }
      const char* record = reader_.records() + int64{i} * reader_.recordBytes();
      if (AResult result = TakeRecord(record, next); !result) return result;
    }
    if (!output.Count(std::min(next, range.end) - first)) return AResult::Ok();
  }
  return AResult::Ok();
}

void IntervalWorker::EnterScan(int record) {
  while (scan_ < 0 || scans_(scan_).endVis <= record) ++scan_;
  stream_ = shape_.plan.StreamOf(scan_);
  isNewScan_ = true;
  if (stream_ >= 0) expected_ = shape_.plan.streams()[static_cast<size_t>(stream_)];
}

AResult IntervalWorker::TakeRecord(const char* bytes, int record) {
  AUVXGroup group;
  std::memcpy(static_cast<void*>(&group), bytes, AUVXGroup::kBytes);
  if (group.source != expected_.source || group.frqsel != expected_.setup) {
    return shape_.plan.contents().IndexDenies(record, group);
  }
  // Records of one time stamp follow each other.
  if (isNewScan_ || group.date != date_) {
    if (AResult result = EnterTime(group, record); !result) return result;
  }
  StreamState& state = states_[static_cast<size_t>(stream_)];
  if (group.flag != 0 || !isSelected_ || !choice_.TakesBaseline(group)) return AResult::Ok();
  if (!state.open) {
    if (AResult result = Begin(state, record, group); !result) return result;
  }
  AddRecord(*state.open, group, bytes + AUVXGroup::kBytes, record);
  return AResult::Ok();
}

AResult IntervalWorker::EnterTime(const AUVXGroup& group, int record) {
  const double ticks = clock_.Ticks(group.date);
  if (!std::isfinite(ticks)) return shape_.plan.HasNoTime(record);
  StreamState& state = states_[static_cast<size_t>(stream_)];
  const bool isInOrder = ticks >= state.lastTicks && ticks >= part_->begin && ticks < part_->end;
  if (!isInOrder) return shape_.plan.GoesBack(record);
  if (shape_.shape.byTimeStamp && state.open && state.open->isWhole && ticks > state.lastTicks) {
    MakeTimeStamp(*state.open, state.open->sums);
  }
  const bool endsScan = isNewScan_ && EndsScan(state, ticks);
  if (endsScan || state.scan < 0) state.firstScan = scan_;
  ScanTimes& times = recent_[scan_ % std::ssize(recent_)];
  if (isNewScan_) times = {scan_, ticks, ticks};
  times.last = ticks;
  state.lastTicks = ticks;
  state.scan = scan_;
  isNewScan_ = false;
  date_ = group.date;
  isSelected_ = clock_.IsSelected(ticks);
  if (endsScan) {
    if (AResult result = End(state); !result) return result;
  }
  const double cell = clock_.Cell(ticks);
  if (!isSelected_ || cell <= cell_) return AResult::Ok();
  cell_ = cell;
  return EndBefore(cell);
}

// Whether the scan that a stream was in has ended where the index has a new entry for it. It goes on if every entry
// between the two has a single time stamp, the stream's last one or this one: records of another subarray, say, then
// lie between those of each stamp.
bool IntervalWorker::EndsScan(const StreamState& state, double ticks) const {
  if (state.scan < 0 || state.scan == scan_ - 1) return state.scan >= 0;
  for (int scan = state.scan + 1; scan < scan_; ++scan) {
    const ScanTimes times = TimesOf(scan);
    if (times.first != times.last || (times.first != state.lastTicks && times.first != ticks)) return true;
  }
  return false;
}

ScanTimes IntervalWorker::TimesOf(int scan) const {
  const ScanTimes& recent = recent_[scan % std::ssize(recent_)];
  if (recent.scan == scan) return recent;
  const AUVXPositionItem& item = scans_(scan);
  return {scan, clock_.Ticks(shape_.plan.TimeOf(item.startVis - 1)), clock_.Ticks(shape_.plan.TimeOf(item.endVis - 1))};
}

AResult IntervalWorker::Begin(StreamState& state, int record, const AUVXGroup& group) {
  if (open_.size() == kMostOpen) {
    return AResult::Fail(shape_.input.path() +
                         ": the records of too many sources alternate for one run, choose one source");
  }
  if (idle_.empty()) {
    intervals_.push_back(std::make_unique<OpenInterval>(pool_));
    idle_.push_back(intervals_.back().get());
  }
  OpenInterval& interval = *idle_.back();
  idle_.pop_back();
  open_.push_back(&interval);
  state.open = &interval;
  interval.stream = static_cast<size_t>(stream_);
  interval.scan = state.firstScan;
  interval.cell = cell_;
  interval.firstTicks = state.lastTicks;
  interval.reference = group.date;
  interval.weight = interval.weightedDays = interval.days = 0;
  interval.count = 0;
  interval.seconds = interval.stampSeconds = 0;
  interval.stamp = kNever;
  interval.firstRecord = record;
  interval.isWhole = true;
  interval.state.reset();
  if (shape_.choice.count() > shape_.shape.mostValues) interval.BeginPieces();
  return AResult::Ok();
}

void IntervalWorker::AddRecord(OpenInterval& interval, AUVXGroup& group, const char* stored, int record) {
  const double weight = shape_.choice.Weight(stored);
  const double days = group.date - interval.reference;
  interval.weight += weight;
  interval.weightedDays += weight * days;
  interval.days += days;
  ++interval.count;
  if (const double ticks = states_[interval.stream].lastTicks; ticks != interval.stamp) {
    interval.seconds += std::exchange(interval.stampSeconds, 0);
    interval.stamp = ticks;
  }
  // Baselines may have been integrated for different times: the longest one covers the others.
  interval.stampSeconds = std::max<double>(interval.stampSeconds, integrations_.Usable(record));
  interval.lastRecord = record;
  if (add_) return add_(interval.state, group, stored, record);
  const char* values = shape_.choice.Pick(group, stored, room_.data());
  if (interval.isWhole && interval.sums.IsNew(group) && !pool_.HasRoom()) {
    // From here on, its baselines are only noted; its records are read again when all of these are known.
    interval.BeginPieces();
  }
  if (interval.isWhole) {
    interval.sums.Add(group, values, weight);
  } else {
    interval.present[IntervalSums::KeyOf(group)] = true;
  }
}

// End all intervals whose time is over.
AResult IntervalWorker::EndBefore(double cell) {
  // Backwards, since End takes an interval out of the list.
  for (size_t i = open_.size(); i-- > 0;) {
    if (!(open_[i]->cell < cell)) continue;
    if (AResult result = End(states_[open_[i]->stream]); !result) return result;
  }
  return AResult::Ok();
}

AResult IntervalWorker::End(StreamState& state) {
  if (!state.open) return AResult::Ok();
  OpenInterval& interval = *std::exchange(state.open, nullptr);
  open_.erase(std::find(open_.begin(), open_.end(), &interval));
  const double time = interval.Time(shape_.form.weighted);
  AResult result = AResult::Ok();
  if (interval.isWhole) {
    Make(interval, time, interval.sums);
  } else {
    const bool keepsBaselines = shape_.shape.pieces == IntervalWalk::Pieces::Values;
    result = keepsBaselines ? MakeInGroups(interval, time) : MakeInPieces(interval, time);
  }
  interval.sums.Clear();
  interval.state.reset();
  idle_.push_back(&interval);
  if (isInOrder_) Release();
  return result;
}

void IntervalWorker::Make(OpenInterval& interval, double time, IntervalSums& sums, int firstValue,
                          Interval::Complete complete) {
  shape_.hasInterval = true;
  std::vector<char> bytes;
  const std::function<bool(std::vector<char>&)> handOn = [&](std::vector<char>& made) {
    Keep(time, interval.stream, std::exchange(made, {}));
    // Pieces are large: where nothing earlier can come, they are handed on one by one.
    return !isInOrder_ || !open_.empty() || Release();
  };
  const IntervalStream& stream = shape_.plan.streams()[interval.stream];
  // Time stamps that overlap cover no more than the interval.
  double seconds = interval.seconds + interval.stampSeconds;
  if (shape_.interval > 0 && interval.seconds > 0) seconds = std::min(seconds, shape_.interval);
  shape_.finish({stream, place_, interval.scan, time, static_cast<float>(seconds), sums, firstValue, complete,
                 interval.state, handOn},
                bytes);
  if (!bytes.empty()) Keep(time, interval.stream, std::move(bytes));
}

void IntervalWorker::MakeTimeStamp(OpenInterval& interval, IntervalSums& sums, int firstValue) {
  if (sums.count() == 0) return;
  Make(interval, 0, sums, firstValue, Interval::TimeStamp);
  sums.Clear();
}

// Read the records of an interval again for as many of its baselines at a time as fit.
AResult IntervalWorker::MakeInPieces(OpenInterval& interval, double time) {
  std::vector<bool> wanted;
  int64 count = 0;
  for (size_t place = 0; place < IntervalSums::kKeys; ++place) {
    const size_t key = place ^ 0x8080;  // antennas ascend as signed bytes
    const bool isLast = place == IntervalSums::kKeys - 1;
    wanted.resize(IntervalSums::kKeys);
    if (interval.present[key]) {
      wanted[key] = true;
      ++count;
    }
    if (count == 0 || (count < pool_.most() && !isLast)) continue;
    interval.sums.Clear();
    AResult result = AddAgain(interval, [&](AUVXGroup& group, const char* stored) {
      const char* values = shape_.choice.Pick(group, stored, room_.data());
      if (wanted[IntervalSums::KeyOf(group)]) interval.sums.Add(group, values, shape_.choice.Weight(stored));
    });
    if (!result) return result;
    Make(interval, time, interval.sums);
    if (isInOrder_ && open_.empty() && !Release()) return AResult::Ok();
    wanted.clear();
    count = 0;
  }
  return AResult::Ok();
}

// How many values at a time have room for their sums on all baselines.
int IntervalWorker::GroupOf(const OpenInterval& interval) const {
  MeanForm form = shape_.form;
  form.values = 0;
  const int64 fixed = SumPool::BaselineBytes(form);
  form.values = 1;
  const int64 value = SumPool::BaselineBytes(form) - fixed;
  const auto baselines = std::count(interval.present.begin(), interval.present.end(), true);
  const int64 fit = (kTogetherBytes / std::max<int64>(baselines, 1) - fixed) / value;
  return static_cast<int>(std::clamp<int64>(fit, 1, std::min(shape_.shape.mostValues, shape_.choice.count())));
}

// Read the records of an interval again for as many values at a time as fit.
AResult IntervalWorker::MakeInGroups(OpenInterval& interval, double time) {
  const int group = GroupOf(interval), all = shape_.choice.count();
  for (int first = 0; first < all; first += group) {
    MeanForm form = shape_.form;
    form.values = std::min(group, all - first);
    SumPool pool(form, std::numeric_limits<int64>::max());
    IntervalSums sums(pool);
    double ticks = kNever;
    AResult result = AddAgain(interval, [&](AUVXGroup& record, const char* stored) {
      const double now = clock_.Ticks(record.date);
      if (shape_.shape.byTimeStamp && now != std::exchange(ticks, now)) MakeTimeStamp(interval, sums, first);
      const char* values = shape_.choice.Pick(record, stored, room_.data());
      sums.Add(record, values + static_cast<size_t>(first) * sizeof(AUVXComplex), shape_.choice.Weight(stored));
    });
    if (!result) return result;
    Make(interval, time, sums, first, first + group < all ? Interval::Values : Interval::All);
    if (isInOrder_ && open_.empty() && !Release()) return AResult::Ok();
  }
  return AResult::Ok();
}

AResult IntervalWorker::AddAgain(const OpenInterval& interval, const AddRead& add) {
  const IntervalStream& stream = shape_.plan.streams()[interval.stream];
  RecordReader reader(shape_.input);
  for (int first = interval.firstRecord; first <= interval.lastRecord;) {
    const int count = reader.Read(first, interval.lastRecord + 1);
    if (count == 0) return Unreadable(first);
    if (!output_->Count(0)) return AResult::Ok();
    for (int i = 0; i < count; ++i) {
      const char* bytes = reader.records() + int64{i} * reader.recordBytes();
      AUVXGroup group;
      std::memcpy(static_cast<void*>(&group), bytes, AUVXGroup::kBytes);
      if (group.sourceNo() != stream.source || group.freqSel() != stream.setup || group.flag != 0) continue;
      if (!clock_.IsSelected(clock_.Ticks(group.date)) || !choice_.TakesBaseline(group)) continue;
      if (!choice_.TakesScanOf(group, first + i)) continue;
      add(group, bytes + AUVXGroup::kBytes);
    }
    first += count;
  }
  return AResult::Ok();
}

void IntervalWorker::Keep(double time, size_t stream, std::vector<char> bytes) {
  finished_.push_back({time, stream, std::move(bytes)});
}

// Move what is earlier than anything that may still come to the piece that is handed on next.
// @return false if the job has ended
bool IntervalWorker::Release() {
  std::stable_sort(finished_.begin(), finished_.end(), [](const Finished& a, const Finished& b) {
    return a.time != b.time ? a.time < b.time : a.stream < b.stream;
  });
  double earliest = std::numeric_limits<double>::infinity();
  for (const OpenInterval* interval : open_) earliest = std::min(earliest, interval->firstTicks);
  size_t released = 0;
  for (; released < finished_.size() && clock_.Ticks(finished_[released].time) < earliest; ++released) {
    std::vector<char>& bytes = finished_[released].bytes;
    if (piece_.empty()) {
      piece_ = std::move(bytes);
    } else {
      piece_.insert(piece_.end(), bytes.begin(), bytes.end());
    }
    if (!HandOn(false)) return false;
  }
  finished_.erase(finished_.begin(), finished_.begin() + static_cast<std::ptrdiff_t>(released));
  return true;
}

bool IntervalWorker::HandOn(bool all) {
  if (piece_.empty() || (!all && piece_.size() < kPieceBytes)) return true;
  return output_->Put(std::exchange(piece_, {}));
}

}  // namespace

AResult IntervalWalk::Run(const ValueChoice& choice, const Shape& shape, const Finish& finish, const Take& take) {
  const PartShare share = options_.share.value_or(PartShare());
  const int number = std::max(this->parts() - share.number + share.count, 0) / share.count;
  const MeanForm form = {choice.count(), options_.complexMean, options_.mean == MeanKind::Weighted};
  // A thread needs a block of records, the record that a mean becomes, and the sums of a baseline at least, or those of
  // all baselines twice. How the rest is shared out changes how much is read again, but no result.
  const bool keepsBaselines = shape.pieces == Pieces::Values;
  const int64 baselineBytes = SumPool::BaselineBytes(form);
  const int64 otherBytes = kBlockBytes + 4 * int64{input_.uvx().recSize()};
  const int64 antennas = contents().antennas().count();
  const int64 allBytes = 2 * std::min(kTogetherBytes, antennas * antennas / 2 * baselineBytes);
  const int64 leastBytes = otherBytes + (keepsBaselines ? allBytes : baselineBytes);
  JobOptions options = options_;
  options.threads = static_cast<int>(std::clamp<int64>(kMostBytes / leastBytes, 1, ThreadsFor(number, options_)));
  const int64 sumBytes =
      keepsBaselines ? kTogetherBytes : std::max(kMostBytes / options.threads - otherBytes, baselineBytes);
  std::atomic<bool> hasInterval = false;
  const WalkShape walk = {input_, plan_, choice, form, shape, finish, sumBytes, options_.interval, share, hasInterval};
  PartJob job;
  job.name = input_.path();
  job.parts = number;
  for (int i = 0; i < number; ++i) job.work += plan_.RecordsOf(share.number - 1 + i * share.count);
  job.worker = [&] { return std::make_unique<IntervalWorker>(walk); };
  job.take = take;
  if (AResult result = RunParts(job, options); !result) return result;
  // A share of the parts may have no interval at all.
  const bool mayBeEmpty = options_.share || input_.uvx().count() == 0;
  return hasInterval || mayBeEmpty ? AResult::Ok() : plan_.choice().NothingSelected(input_, options_);
}

}  // namespace zeltra
