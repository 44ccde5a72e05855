// SPDX-License-Identifier: MIT
#include "zeltra/ops/RecordWalk.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>

#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/RecordChoice.h"
#include "zeltra/ops/RecordReaderInternal.h"

namespace zeltra {
namespace {

// Reading this much takes no longer than a new request beyond it.
constexpr int kReadOverBytes = 1 << 17;

// Reads stretches of records block by block.
class BlockWalk {
 public:
  /// @param records  how many will be read, for the progress control
  BlockWalk(AUVXInput& input, const JobOptions& options, int64 records)
      : path_(input.path()),
        options_(options),
        records_(records),
        reader_(input),
        values_(static_cast<size_t>(reader_.recordBytes() - AUVXGroup::kBytes) / sizeof(AUVXComplex)) {
    SendProgressRange(options.progress);
  }

  /// Pass the records of a stretch to `take`, each with the address of its values, until it returns false, which ends
  /// the whole walk.
  template <typename Take>
  AResult Read(RecordStretch stretch, const Take& take);
  bool isEnded() const { return isEnded_; }

  /// The values at `values`, in place or as a copy.
  const AUVXComplex* Aligned(const char* values);

 private:
  const std::string path_;
  const JobOptions options_;
  const int64 records_;
  RecordReader reader_;
  std::vector<AUVXComplex> values_;
  int64 done_ = 0;
  int lastPercent_ = -1;
  bool isEnded_ = false;
};

// In every second record the values are not aligned as floats must be.
const AUVXComplex* BlockWalk::Aligned(const char* values) {
  if (reinterpret_cast<std::uintptr_t>(values) % alignof(AUVXComplex) == 0) {
    return reinterpret_cast<const AUVXComplex*>(values);
  }
  if (!values_.empty()) std::memcpy(static_cast<void*>(values_.data()), values, values_.size() * sizeof(AUVXComplex));
  return values_.data();
}

template <typename Take>
AResult BlockWalk::Read(RecordStretch stretch, const Take& take) {
  WalkedRecord record;
  for (int next = stretch.first; next < stretch.end;) {
    if (IsCancelled(options_)) return AResult::Cancel(path_ + ": cancelled before its last record");
    const int count = reader_.Read(next, stretch.end);
    if (count == 0) return AResult::Fail(path_ + ": cannot be read in record " + std::to_string(next + 1));
    const char* bytes = reader_.records();
    for (int i = 0; i < count; ++i, bytes += reader_.recordBytes()) {
      record.index = next + i;
      std::memcpy(static_cast<void*>(&record.group), bytes, AUVXGroup::kBytes);
      if (take(record, bytes + AUVXGroup::kBytes)) continue;
      isEnded_ = true;
      return AResult::Ok();
    }
    next += count;
    done_ += count;
    SendProgress(options_.progress, std::min(done_, records_), records_, lastPercent_);
  }
  return AResult::Ok();
}

// Finds the selected records by the index: which scans to read in one go, and which of their records to pass on.
class IndexWalk {
 public:
  IndexWalk(AUVXInput& input, const RecordChoice& choice, RecordStretch within)
      : input_(input), contents_(input.contents()), scans_(contents_.scans()), choice_(choice), within_(within) {}

  AResult Run(const JobOptions& options, const RecordVisitor& visit);

 private:
  RecordStretch Within(int firstScan, int lastScan) const;
  bool IsToRead(int scan) const;
  int64 Count() const;
  int LastInOneGo(int first) const;
  const AUVXPositionItem& ScanOf(int record);

  AUVXInput& input_;
  const AUVXContents& contents_;
  const AUVXPosition& scans_;
  const RecordChoice& choice_;
  const RecordStretch within_;
  int scan_ = 0;  // of the last record
  bool isWanted_ = false;
};

// What is to be read of the records of some scans.
RecordStretch IndexWalk::Within(int firstScan, int lastScan) const {
  return {std::max(scans_(firstScan).startVis - 1, within_.first), std::min<int>(scans_(lastScan).endVis, within_.end)};
}

bool IndexWalk::IsToRead(int scan) const {
  const RecordStretch stretch = Within(scan, scan);
  return choice_.TakesScan(scan) && stretch.first < stretch.end;
}

int64 IndexWalk::Count() const {
  int64 records = 0;
  for (int i = 0; i < scans_.count(); ++i) {
    if (IsToRead(i)) records += Within(i, i).end - Within(i, i).first;
  }
  return records;
}

int IndexWalk::LastInOneGo(int first) const {
  const int readOver = kReadOverBytes / input_.uvx().recSize();
  int last = first;
  for (int i = first + 1; i < scans_.count() && scans_(i).startVis - scans_(last).endVis <= readOver + 1; ++i) {
    if (IsToRead(i)) last = i;
  }
  return last;
}

const AUVXPositionItem& IndexWalk::ScanOf(int record) {
  if (record >= scans_(scan_).endVis) {
    while (record >= scans_(scan_).endVis) ++scan_;
    isWanted_ = choice_.TakesScan(scan_);
  }
  return scans_(scan_);
}

AResult IndexWalk::Run(const JobOptions& options, const RecordVisitor& visit) {
  if (AResult result = contents_.CheckScans(); !result) return result;
  const int64 records = Count();
  if (records == 0) return AResult::Ok();
  BlockWalk walk(input_, options, records);
  AResult denied = AResult::Ok();
  const auto take = [&](WalkedRecord& record, const char* values) {
    const AUVXPositionItem& scan = ScanOf(record.index);
    if (record.group.sourceNo() != scan.sourceId || record.group.freqSel() != scan.freqId) {
      denied = contents_.IndexDenies(record.index, record.group);
      return false;
    }
    if (!isWanted_ || !choice_.TakesTime(record.group.date) || !choice_.TakesBaseline(record.group)) return true;
    record.values = walk.Aligned(values);
    return visit(record);
  };
  for (int i = 0; i < scans_.count() && !walk.isEnded(); ++i) {
    if (!IsToRead(i)) continue;
    scan_ = i;
    isWanted_ = true;
    const int first = i;
    i = LastInOneGo(i);
    if (AResult result = walk.Read(Within(first, i), take); !result) return result;
  }
  return denied;
}

}  // namespace

AResult WalkRecords(AUVXInput& input, const JobOptions& options, int first, int end, const RecordVisitor& visit) {
  if (first >= end) return AResult::Ok();
  if (AResult result = input.CheckRecordSize(); !result) return result;
  BlockWalk walk(input, options, int64{end} - first);
  return walk.Read({first, end}, [&](WalkedRecord& record, const char* values) {
    record.values = walk.Aligned(values);
    return visit(record);
  });
}

AResult WalkRecords(AUVXInput& input, const JobOptions& options, const RecordChoice& choice,
                    const RecordVisitor& visit) {
  return WalkRecords(input, options, choice, {0, input.uvx().count()}, visit);
}

AResult WalkRecords(AUVXInput& input, const JobOptions& options, const RecordChoice& choice, RecordStretch within,
                    const RecordVisitor& visit) {
  if (AResult result = input.CheckRecordSize(); !result) return result;
  return IndexWalk(input, choice, within).Run(options, visit);
}

}  // namespace zeltra
