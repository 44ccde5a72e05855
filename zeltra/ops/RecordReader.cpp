// SPDX-License-Identifier: MIT
#include <algorithm>
#include <string>

#include "zeltra/ops/RecordReaderInternal.h"

namespace zeltra {
namespace {

// Large enough that requests do not count, small enough that the records are still in the processor's cache when they
// are looked at.
constexpr int kBlockBytes = 1 << 19;

}  // namespace

RecordReader::RecordReader(AUVXInput& input)
    : file_(input.file()),
      dataOffset_(input.uvx().DataOffset()),
      recordBytes_(input.uvx().recSize()),
      capacity_(std::max(kBlockBytes / recordBytes_, 1)),
      block_(new char[static_cast<size_t>(capacity_) * static_cast<size_t>(recordBytes_)]) {}

int RecordReader::Read(int first, int end) {
  const int count = std::min(end - first, capacity_);
  const int64 position = dataOffset_ + int64{first} * recordBytes_;
  const int64 read = file_.ReadAt(position, block_.get(), int64{count} * recordBytes_);
  return read > 0 ? static_cast<int>(read / recordBytes_) : 0;
}

AResult VisitRecords(AUVXInput& input, const JobOptions& options,
                     const std::function<AResult(const char* record, int index)>& visit) {
  SendProgressRange(options.progress);
  RecordReader reader(input);
  const int records = input.uvx().count();
  int lastPercent = -1;
  for (int first = 0, count = 0; first < records; first += count) {
    if (IsCancelled(options)) return AResult::Cancel(input.path() + ": the job was cancelled");
    count = reader.Read(first, records);
    if (count == 0) return AResult::Fail(input.path() + ": cannot be read in record " + std::to_string(first));
    for (int i = 0; i < count; ++i) {
      AResult result = visit(reader.records() + int64{i} * reader.recordBytes(), first + i);
      if (!result) return result;
    }
    SendProgress(options.progress, first + count, records, lastPercent);
  }
  return AResult::Ok();
}

}  // namespace zeltra
