// SPDX-License-Identifier: MIT
#include "zeltra/ops/SortUVX.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>

#include "zeltra/core/BlockReaderInternal.h"
#include "zeltra/core/SortUnlessCancelledInternal.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/RecordReaderInternal.h"
#include "zeltra/ops/SharedOptionsInternal.h"
#include "zeltra/ops/SortKeysInternal.h"
#include "zeltra/ops/SortedRunsInternal.h"
#include "zeltra/platform/System.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

// Reading this many bytes takes about as long as one more request: from the system's memory, and from a disk.
constexpr int kCachedRequest = 1 << 12;
constexpr int kDiskRequest = 1 << 17;
// The cost of runs on the disk, in passes over the file: they are written, which takes longer than reading, and read
// again.
constexpr int kPassesOfRuns = 4;
// Memory in MiB: of blocks, lists and the program itself; the least for records, and how many must fit.
constexpr int kOtherMemory = 24;
constexpr int kLeastMemory = 1;
constexpr int kLeastRecords = 4;

AUVXGroup GroupAt(const char* record) {
  AUVXGroup group;
  std::memcpy(static_cast<void*>(&group), record, AUVXGroup::kBytes);
  return group;
}

class Sorter {
 public:
  Sorter(AUVXInput& from, const std::string& to, const SortOptions& options, SortSummary& summary);

  AResult Run();

 private:
  // A record that is wanted, and its place in the window.
  struct Wanted {
    std::int32_t record, place;
  };

  AResult CopyWhileSorted();
  AResult ReadKeys(int first);
  bool IsNext(const AUVXGroup& group, int record);
  bool SettleKeys();
  AResult Write(const char* record, int number);

  int64 WindowRecords() const;
  std::vector<Wanted> WantedOf(int64 first, int64 count) const;
  size_t EndOfStretch(const std::vector<Wanted>& wanted, size_t first) const;
  double GatherCost() const;
  AResult Gather();
  AResult FillWindow(const std::vector<Wanted>& wanted, char* window);

  AResult MergeRuns();
  AResult WriteRun(const char* records, int first, int count, SortedRuns& runs);
  SortKey KeyOf(const AUVXGroup& group, int record);

  AResult CannotRead(int record) const {
    return AResult::Fail(from_.path() + ": cannot be read in record " + std::to_string(record + 1));
  }
  AResult Cancelled() const { return AResult::Cancel(from_.path() + ": cancelled before its last record"); }
  void ShowProgress(int64 done) { SendProgress(options_.progress, done, int64{count_}, lastPercent_); }

  AUVXInput& from_;
  const std::string to_;
  const SortOptions options_;
  SortSummary& summary_;
  const int count_, recordBytes_;
  const double memory_, bytes_;  // for the job; of all records
  const bool keepsKeys_;
  const int requestBytes_;
  AUVXIntegrationCursor integrations_;
  AUVXWriter writer_;
  SortOrder order_;
  StreamRanks streams_;
  std::vector<std::uint32_t> ranks_;
  std::vector<SortKey> keys_;
  SortKey last_;  // of the previous record, like its stream
  std::uint32_t lastStream_ = 0;
  bool isSorted_ = true;
  int lastPercent_ = -1;
};

Sorter::Sorter(AUVXInput& from, const std::string& to, const SortOptions& options, SortSummary& summary)
    : from_(from),
      to_(to),
      options_(options),
      summary_(summary),
      count_(from.uvx().count()),
      recordBytes_(from.uvx().recSize()),
      memory_(std::max(
          {options.memory - (kOtherMemory << 20), double{kLeastMemory << 20}, double{kLeastRecords} * recordBytes_})),
      bytes_(static_cast<double>(int64{recordBytes_} * count_)),
      keepsKeys_(double{sizeof(SortKey)} * count_ <= memory_ / 2),
      requestBytes_(bytes_ < static_cast<double>(FreeMemory()) / 2 ? kCachedRequest : kDiskRequest),
      integrations_(from.contents().integrations()) {}

AResult Sorter::Run() {
  if (AResult result = from_.CheckTables(); !result) return result;
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = order_.Open(options_.order); !result) return result;
  if (AResult result = writer_.Create(to_, AUVXHeader(from_.uvx()), options_, from_.path()); !result) return result;
  // Where time goes back and forth, a gap means nothing.
  if (!order_.IsByTime()) writer_.SetScanGap(std::numeric_limits<double>::max());
  SendProgressRange(options_.progress);
  AResult result = CopyWhileSorted();
  summary_.wasSorted = isSorted_;
  if (result && !isSorted_) {
    result = writer_.Rewind();
    lastPercent_ = -1;
    SendProgressText(options_.progress, "Sorting...");
    if (result) result = keepsKeys_ && GatherCost() <= kPassesOfRuns * bytes_ ? Gather() : MergeRuns();
  }
  if (result) result = CopyTables(from_, writer_, SortDescription().Command(options_));
  if (!result) return result;
  if (const std::string remark = writer_.IndexRemark(); !remark.empty()) summary_.remarks.push_back(remark);
  return writer_.Finish();
}

// Most files are in order, so the output is written from the start; from the first record that is out of order, only
// keys are read.
AResult Sorter::CopyWhileSorted() {
  if (keepsKeys_) keys_.reserve(static_cast<size_t>(count_));
  RecordReader reader(from_);
  for (int next = 0; next < count_;) {
    if (IsCancelled(options_)) return Cancelled();
    const int count = reader.Read(next, count_);
    if (count == 0) return CannotRead(next);
    for (int i = 0; i < count; ++i, ++next) {
      const char* record = reader.records() + int64{i} * recordBytes_;
      if (!IsNext(GroupAt(record), next)) return ReadKeys(next + 1);
      if (AResult result = Write(record, next); !result) return result;
    }
    ShowProgress(next);
  }
  return AResult::Ok();
}

AResult Sorter::ReadKeys(int first) {
  BlockReader reader(from_.file());
  for (int record = first; record < count_; ++record) {
    if (record % 4096 == 0 && IsCancelled(options_)) return Cancelled();
    reader.Seek(from_.uvx().DataOffset() + int64{record} * recordBytes_);
    const char* bytes = reader.Next(AUVXGroup::kBytes);
    if (!bytes) return CannotRead(record);
    IsNext(GroupAt(bytes), record);
  }
  return SettleKeys() ? AResult::Ok() : Cancelled();
}

// Take the key of the next record. @return whether all so far are in order
bool Sorter::IsNext(const AUVXGroup& group, int record) {
  SortKey key = order_.KeyOf(group, record);
  std::uint32_t stream = 0, number = 0;
  if (order_.TellsStreams()) {
    stream = StreamRanks::StreamOf(group);
    number = streams_.NumberOf(stream);
  }
  if (record > 0 && isSorted_) {
    const bool isSame = key.high == last_.high && key.low == last_.low;
    isSorted_ = isSame ? stream >= lastStream_ : key > last_;
  }
  last_ = key;
  lastStream_ = stream;
  key.low |= number;
  if (keepsKeys_) keys_.push_back(key);
  return isSorted_;
}

// All streams are known: their numbers become ranks. @return false if the job was cancelled
bool Sorter::SettleKeys() {
  ranks_ = streams_.Ranks();
  if (order_.TellsStreams()) {
    for (SortKey& key : keys_) {
      key.low = (key.low & ~SortOrder::kStreamBits) | ranks_[key.low & SortOrder::kStreamBits];
    }
  }
  return SortUnlessCancelled(keys_.begin(), keys_.end(), options_, std::less<>());
}

AResult Sorter::Write(const char* record, int number) {
  writer_.SetIntegration(integrations_.Stored(number));
  return writer_.Append(record, 1);
}

// Gathering: the records of a window of the output are read in the order of the input.

int64 Sorter::WindowRecords() const {
  const double room = memory_ - double{sizeof(SortKey)} * count_;
  return std::max(static_cast<int64>(room / (recordBytes_ + sizeof(Wanted))), int64{1});
}

std::vector<Sorter::Wanted> Sorter::WantedOf(int64 first, int64 count) const {
  std::vector<Wanted> wanted(static_cast<size_t>(count));
  for (size_t i = 0; i < wanted.size(); ++i) {
    wanted[i] = {keys_[static_cast<size_t>(first) + i].record, static_cast<std::int32_t>(i)};
  }
  // A job that is cancelled here ends before it reads any of them.
  SortUnlessCancelled(wanted.begin(), wanted.end(), options_, [](Wanted a, Wanted b) { return a.record < b.record; });
  return wanted;
}

// The end of the records that are read in one go, including unwanted ones between them.
size_t Sorter::EndOfStretch(const std::vector<Wanted>& wanted, size_t first) const {
  const int readOver = requestBytes_ / recordBytes_;
  size_t end = first + 1;
  while (end < wanted.size() && wanted[end].record - wanted[end - 1].record <= readOver + 1) ++end;
  return end;
}

// Bytes to read, counting a request as the bytes that could be read in its time; estimated from a few windows.
double Sorter::GatherCost() const {
  constexpr int64 kLookedAt = 4;
  const int64 size = WindowRecords(), windows = (count_ + size - 1) / size,
              step = std::max(windows / kLookedAt, int64{1});
  double bytes = 0, looked = 0;
  for (int64 window = 0; window < windows; window += step, ++looked) {
    const int64 first = window * size;
    const std::vector<Wanted> wanted = WantedOf(first, std::min(size, count_ - first));
    for (size_t i = 0, end; i < wanted.size(); i = end) {
      end = EndOfStretch(wanted, i);
      bytes += (wanted[end - 1].record - wanted[i].record + 1.0) * recordBytes_ + requestBytes_;
    }
  }
  return bytes / looked * static_cast<double>(windows);
}

AResult Sorter::Gather() {
  const int64 size = std::min(WindowRecords(), int64{count_});
  const std::unique_ptr<char[]> window(new char[static_cast<size_t>(size) * static_cast<size_t>(recordBytes_)]);
  for (int64 first = 0; first < count_; first += size) {
    const int64 count = std::min(size, count_ - first);
    if (AResult result = FillWindow(WantedOf(first, count), window.get()); !result) return result;
    for (int64 i = 0; i < count; ++i) {
      if (i % 4096 == 0 && IsCancelled(options_)) return Cancelled();
      AResult result = Write(window.get() + i * recordBytes_, keys_[static_cast<size_t>(first + i)].record);
      if (!result) return result;
    }
    ShowProgress(first + count);
  }
  return AResult::Ok();
}

AResult Sorter::FillWindow(const std::vector<Wanted>& wanted, char* window) {
  RecordReader reader(from_);
  for (size_t i = 0, end; i < wanted.size(); i = end) {
    end = EndOfStretch(wanted, i);
    for (size_t k = i; k < end;) {
      if (IsCancelled(options_)) return Cancelled();
      const int first = wanted[k].record, count = reader.Read(first, wanted[end - 1].record + 1);
      if (count == 0) return CannotRead(first);
      for (; k < end && wanted[k].record - first < count; ++k) {
        std::memcpy(window + int64{wanted[k].place} * recordBytes_,
                    reader.records() + int64{wanted[k].record - first} * recordBytes_,
                    static_cast<size_t>(recordBytes_));
      }
    }
  }
  return AResult::Ok();
}

// Merging.

SortKey Sorter::KeyOf(const AUVXGroup& group, int record) {
  SortKey key = order_.KeyOf(group, record);
  if (order_.TellsStreams()) key.low |= ranks_[streams_.NumberOf(StreamRanks::StreamOf(group))];
  return key;
}

AResult Sorter::MergeRuns() {
  keys_ = {};
  SortedRuns runs(to_, recordBytes_, options_);
  if (AResult result = runs.Create(); !result) return result;
  {
    const int size = static_cast<int>(std::clamp(memory_ / runs.entryBytes(), 1.0, static_cast<double>(count_)));
    const std::unique_ptr<char[]> records(new char[static_cast<size_t>(size) * static_cast<size_t>(recordBytes_)]);
    for (int first = 0; first < count_;) {
      const int count = std::min(size, count_ - first);
      const int64 bytes = int64{count} * recordBytes_;
      const int64 position = from_.uvx().DataOffset() + int64{first} * recordBytes_;
      if (IsCancelled(options_)) return Cancelled();
      if (from_.file().ReadAt(position, records.get(), bytes) != bytes) return CannotRead(first);
      if (AResult result = WriteRun(records.get(), first, count, runs); !result) return result;
      first += count;
      ShowProgress(first / 2);
    }
  }
  keys_ = {};
  int64 written = 0;
  return runs.Merge(memory_, [&](const SortKey& key, const char* record) {
    ShowProgress((int64{count_} + ++written) / 2);
    return Write(record, key.record);
  });
}

AResult Sorter::WriteRun(const char* records, int first, int count, SortedRuns& runs) {
  keys_.clear();
  keys_.reserve(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) keys_.push_back(KeyOf(GroupAt(records + int64{i} * recordBytes_), first + i));
  if (!SortUnlessCancelled(keys_.begin(), keys_.end(), options_, std::less<>())) return Cancelled();
  for (const SortKey& key : keys_) {
    AResult result = runs.Append(key, records + int64{key.record - first} * recordBytes_);
    if (!result) return result;
  }
  return runs.EndRun();
}

AJobDescription DescribeSort() {
  static constexpr ASuffix kBinary[] = {{"k", 1.0 / 1024}, {"M", 1}, {"G", 1024}};
  AJobDescriber<SortOptions> job(
      "sort", "Sort the records of a UVX file",
      "Records are not changed, and those whose keys are the same keep their order. An order is two letters, of which "
      "the second varies fastest: B baseline, T time, U, V, W the coordinate, R length and P position angle of u, v, X "
      "descending |u|, Y descending |v|, Z ascending |u|, M ascending |v|, as second one also * for none. Records of "
      "one "
      "time and baseline are ordered by source, then setup, in TB and BT. The list of scans is made anew.\n\n"
      "Averages and closures need time order, the default. A file that is in order is copied. Where the records "
      "do not fit into the memory, some are read several times, or as much room as the file takes is needed beside the "
      "output for as long as the job runs.");
  job.Input({"IN", "UVX, or UV FITS, which is imported first", "", 0, {}});
  job.Output(UVXOutputFile());
  job.Parsed(
         "order", [](const std::string& text, SortOptions& o) { return SortOrder().Open(o.order = text); },
         [](const SortOptions& o) { return o.order; }, "two keys, of which the second varies fastest")
      .Form("KEYS");
  job.Option("memory", &SortOptions::memory, "the most memory to take, 25 at least; k, M or G may follow, as in 2G")
      .Form("MIB")
      .Unit("MiB")
      .Scale(1 << 20)
      .Suffixes(kBinary)
      .From(kOtherMemory + kLeastMemory)
      .KeepsResult();
  job.Overwrite();
  return job.Finish();
}

}  // namespace

AResult ResortUVXFile(AUVXInput& from, const std::string& to, const SortOptions& options, SortSummary* summary) {
  SortSummary unseen;
  AResult result = Sorter(from, to, options, summary ? *summary : unseen).Run();
  return result ? result : from.Settle(result);
}

const AJobDescription& SortDescription() {
  static const AJobDescription description = DescribeSort();
  return description;
}

}  // namespace zeltra
