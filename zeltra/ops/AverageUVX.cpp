// SPDX-License-Identifier: MIT
#include "zeltra/ops/AverageUVX.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/IntervalWalkInternal.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

size_t RecordBytes(int values) {
  return AUVXGroup::kBytes + static_cast<size_t>(values) * sizeof(AUVXComplex);
}

// What comes before the records of an interval, or of a piece of one.
struct IntervalHead {
  int scan;  // place in the index of the input
  int records;
  float integration;  // seconds, 0 if not known
};

// Averages as records of a UVX file, in the order of baselines.
void AppendRecords(const Interval& interval, int values, std::vector<char>& bytes) {
  const std::vector<int>& places = interval.sums.InOrder();
  const size_t recordBytes = RecordBytes(values);
  std::vector<AUVXComplex> means(static_cast<size_t>(values));
  AUVXGroup group;
  group.source = static_cast<int16_t>(interval.stream.source);
  group.frqsel = static_cast<int8_t>(interval.stream.setup);
  group.date = interval.time;
  const IntervalHead head = {interval.scan, static_cast<int>(places.size()), interval.seconds};
  bytes.resize(sizeof head + places.size() * recordBytes);
  std::memcpy(bytes.data(), &head, sizeof head);
  char* record = bytes.data() + sizeof head;
  for (const int place : places) {
    interval.sums.Mean(place, group, means.data());
    std::memcpy(group.store(record), means.data(), recordBytes - AUVXGroup::kBytes);
    record += recordBytes;
  }
}

using TakeRecords = std::function<AResult(const IntervalHead& head, const char* records)>;

AResult TakeIntervals(const std::vector<char>& bytes, size_t recordBytes, const TakeRecords& take) {
  for (size_t at = 0; at < bytes.size();) {
    IntervalHead head;
    std::memcpy(&head, bytes.data() + at, sizeof head);
    if (AResult result = take(head, bytes.data() + at + sizeof head); !result) return result;
    at += sizeof head + static_cast<size_t>(head.records) * recordBytes;
  }
  return AResult::Ok();
}

// Hand out averages as records of a UVX file, interval by interval.
AResult AverageRecords(AUVXInput& from, const AverageOptions& options, const AArray<AStokesMix>& mixes,
                       const TakeRecords& take) {
  if (AResult result = from.CheckRecordSize(); !result) return result;
  IntervalWalk walk(from, options);
  if (AResult result = walk.Open(); !result) return result;
  std::vector<int> points(static_cast<size_t>(std::max(from.uvx().IFs(), 1) * from.uvx().channels()));
  std::iota(points.begin(), points.end(), 0);
  const ValueChoice choice = options.mix == AverageMix::Stored
                                 ? ValueChoice(from.uvx())
                                 : ValueChoice(from.uvx(), points, {mixes.lpArray(), mixes.lpArray() + mixes.count()},
                                               options.mean == MeanKind::Weighted);
  SendProgressText(options.progress, "Averaging...");
  return walk.Run(
      choice, {},
      [&](const Interval& interval, std::vector<char>& bytes) { AppendRecords(interval, choice.count(), bytes); },
      [&](const std::vector<char>& bytes) { return TakeIntervals(bytes, RecordBytes(choice.count()), take); });
}

AResult ChangePolarisations(const AArray<AStokesMix>& mixes, const std::string& to, AUVXHeader& header) {
  if (mixes.count() > AUVXStokes::kLargestCount) {
    return AResult::Fail(to + ": a UVX file holds " + std::to_string(AUVXStokes::kLargestCount) +
                         " polarisations at most, these are " + std::to_string(mixes.count()));
  }
  header.stokes.SetCount(mixes.count());
  for (int i = 0; i < AUVXStokes::kLargestCount; ++i) {
    header.stokes(i) = i < mixes.count() ? mixes(i).GetStokesID() : 0;
  }
  return AResult::Ok();
}

AResult WriteAverages(AUVXInput& from, const std::string& to, const AverageOptions& options) {
  AArray<AStokesMix> mixes;
  AUVXHeader header(from.uvx());
  if (AResult result = from.CheckTables(); !result) return result;
  if (AResult result = AveragedPolarisations(from, options.mix, mixes); !result) return result;
  if (AResult result = ChangePolarisations(mixes, to, header); !result) return result;
  AUVXWriter writer;
  if (AResult result = writer.Create(to, header, options, from.path()); !result) return result;
  const AUVXPosition& scans = from.contents().scans();
  AResult result = AverageRecords(from, options, mixes, [&](const IntervalHead& head, const char* records) {
    writer.BeginScan(head.scan, scans(head.scan).subarray);
    writer.SetIntegration(head.integration);
    return writer.Append(records, head.records);
  });
  if (!result) return result;
  if (writer.records() == 0) return AResult::Fail(from.path() + ": no record is selected that is not flagged");
  if (result = CopyTables(from, writer, AverageDescription().Command(options)); !result) return result;
  return writer.Finish();
}

}  // namespace

AResult AveragedPolarisations(AUVXInput& from, AverageMix mix, AArray<AStokesMix>& list) {
  AUVXStokes stored(from.uvx());
  list.Free();
  switch (mix) {
    case AverageMix::Stored:
      for (int i = 0; i < stored.count(); ++i) list.Add(AStokesMix(0, AStokesItem(i, stored(i)), AStokesItem()));
      break;
    case AverageMix::All:
      list = *std::unique_ptr<AArray<AStokesMix>>(toListMix(stored));
      break;
    case AverageMix::Parallel:
      toListMixRL(stored, list);
      break;
    case AverageMix::Cross:
      toListMixRL_LR(stored, list);
      break;
  }
  if (list.count() > 0) return AResult::Ok();
  std::string names;
  for (int i = 0; i < stored.count(); ++i) {
    names += (i == 0 ? "" : ", ") + AStokesItem(i, stored(i)).asShortString();
  }
  return AResult::Fail(from.path() + ": none of these combinations can be formed, the polarisations are " +
                       (names.empty() ? "none" : names));
}

AResult Average(AUVXInput& from, const AverageOptions& options, const AverageSink& sink) {
  AArray<AStokesMix> mixes;
  if (AResult result = AveragedPolarisations(from, options.mix, mixes); !result) return result;
  AUVXGroup group;
  AUVXVisibility values;
  AResult averaged = AverageRecords(from, options, mixes, [&](const IntervalHead& head, const char* records) {
    if (values.count() == 0) values.GrowBy(from.uvx().IFs(), from.uvx().channels(), mixes.count());
    char* record = const_cast<char*>(records);
    for (int i = 0; i < head.records; ++i) {
      record = values.load(group.load(record));
      if (AResult result = sink(group, values); !result) return result;
    }
    return AResult::Ok();
  });
  return from.Settle(averaged);
}

AResult AverageUVX(AUVXInput& from, const std::string& to, const AverageOptions& options) {
  AResult result = WriteAverages(from, to, options);
  return result ? result : from.Settle(result);
}

}  // namespace zeltra
