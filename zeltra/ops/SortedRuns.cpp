// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cstring>
#include <utility>

#include "zeltra/core/BlockBytesInternal.h"
#include "zeltra/ops/SortedRunsInternal.h"

namespace zeltra {
namespace {

// Shorter requests would cost more than they gain.
constexpr int kLeastBlock = 1 << 18;
constexpr int kLargestBlock = 1 << 23;

}  // namespace

// Goes through one run.
class SortedRuns::Cursor {
 public:
  /// @param block  bytes to read at a time, at least an entry
  Cursor(const SortedRuns& runs, Run run, int64 block)
      : runs_(runs), next_(run.begin), end_(run.end), capacity_(std::min(block, run.end - run.begin)) {
    capacity_ -= capacity_ % runs.entryBytes();
    block_.reset(new char[static_cast<size_t>(capacity_)]);
  }

  /// Go to the next entry, or set `isEnd`.
  AResult Next(bool& isEnd) {
    used_ += filled_ > 0 ? runs_.entryBytes() : 0;
    isEnd = used_ == filled_ && next_ == end_;
    if (isEnd || used_ < filled_) return AResult::Ok();
    filled_ = std::min(capacity_, end_ - next_);
    used_ = 0;
    AResult result = runs_.file_.ReadAt(next_, block_.get(), filled_);
    next_ += filled_;
    return result;
  }
  SortKey key() const {
    SortKey key;
    std::memcpy(&key, block_.get() + used_, sizeof key);
    return key;
  }
  const char* record() const { return block_.get() + used_ + sizeof(SortKey); }

 private:
  const SortedRuns& runs_;
  int64 next_;  // to read
  const int64 end_;
  int64 capacity_;
  std::unique_ptr<char[]> block_;
  int64 filled_ = 0, used_ = 0;
};

SortedRuns::SortedRuns(const std::string& output, int recordBytes, const JobOptions& options)
    : output_(output), recordBytes_(recordBytes), options_(options), block_(file_.file(), options.threads) {}

AResult SortedRuns::Write(const char* bytes, int64 n) {
  written_ += n;
  while (n > 0) {
    const int step = static_cast<int>(std::min<int64>(n, kBlockBytes));
    char* room = block_.Reserve(step);
    if (!room) return file_.WriteError();
    std::memcpy(room, bytes, static_cast<size_t>(step));
    bytes += step;
    n -= step;
  }
  return AResult::Ok();
}

AResult SortedRuns::Append(const SortKey& key, const char* record) {
  AResult result = Write(reinterpret_cast<const char*>(&key), sizeof key);
  return result ? Write(record, recordBytes_) : result;
}

AResult SortedRuns::EndRun() {
  const int64 begin = runs_.empty() ? 0 : runs_.back().end;
  runs_.push_back({begin, written_});
  return block_.Flush() ? AResult::Ok() : file_.WriteError();
}

AResult SortedRuns::MergeSome(size_t first, size_t end, double memory, const Sink& sink) const {
  const double share = std::min(memory / static_cast<double>(end - first), double{kLargestBlock});
  const int64 block = std::max(static_cast<int64>(share), int64{entryBytes()});
  std::vector<Cursor> cursors;
  std::vector<std::pair<SortKey, size_t>> heap;  // the least key on top
  const auto isLater = [](const auto& a, const auto& b) { return a.first > b.first; };
  const auto advance = [&](size_t i) {
    bool isEnd = false;
    AResult result = cursors[i].Next(isEnd);
    if (!result || isEnd) return result;
    heap.emplace_back(cursors[i].key(), i);
    std::push_heap(heap.begin(), heap.end(), isLater);
    return result;
  };
  for (size_t i = first; i < end; ++i) {
    cursors.emplace_back(*this, runs_[i], block);
    if (AResult result = advance(cursors.size() - 1); !result) return result;
  }
  for (int sinceLook = 0; !heap.empty(); ++sinceLook) {
    if (sinceLook % 1024 == 0 && IsCancelled(options_)) return AResult::Cancel(output_ + ": cancelled");
    std::pop_heap(heap.begin(), heap.end(), isLater);
    const auto [key, i] = heap.back();
    heap.pop_back();
    if (AResult result = sink(key, cursors[i].record()); !result) return result;
    if (AResult result = advance(i); !result) return result;
  }
  return AResult::Ok();
}

AResult SortedRuns::Merge(double memory, const Sink& sink) {
  const int largest = std::max(kLeastBlock, entryBytes());
  const size_t atOnce = std::max(static_cast<size_t>(memory / largest), size_t{2});
  if (count() <= atOnce) return MergeSome(0, count(), memory, sink);
  SortedRuns longer(output_, recordBytes_, options_);
  AResult result = longer.Create();
  for (size_t first = 0; first < count() && result; first += atOnce) {
    result = MergeSome(first, std::min(first + atOnce, count()), memory,
                       [&](const SortKey& key, const char* record) { return longer.Append(key, record); });
    if (result) result = longer.EndRun();
  }
  if (!result) return result;
  file_.file().Close();
  return longer.Merge(memory, sink);
}

}  // namespace zeltra
