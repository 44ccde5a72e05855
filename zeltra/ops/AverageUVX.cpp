// SPDX-License-Identifier: MIT
#include "zeltra/ops/AverageUVX.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/FrequencyTablesInternal.h"
#include "zeltra/ops/IntervalWalkInternal.h"
#include "zeltra/ops/PartFileInternal.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

size_t RecordBytes(int values) {
  return AUVXGroup::kBytes + static_cast<size_t>(values) * sizeof(AUVXComplex);
}

// What comes before the records of an interval, or of a piece of one.
struct IntervalHead {
  int part;  // of the plan, from 0
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
  const IntervalHead head = {interval.part, interval.scan, static_cast<int>(places.size()), interval.seconds};
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

// Whether what is averaged is what the records hold, in their order.
bool IsAll(const AUVXFile& uvx, const AverageOptions& options, const ValuesChoice& values) {
  const int64 stored = int64{std::max(uvx.IFs(), 1)} * uvx.channels() * uvx.stokes();
  return options.mix == AverageMix::Stored && options.selection.stokes.empty() && values.count() == stored;
}

std::vector<int> PointsOf(const AUVXFile& uvx, const ValuesChoice& values) {
  std::vector<int> points;
  for (const int i : values.IFs) {
    for (const int channel : values.channels) points.push_back(i * uvx.channels() + channel);
  }
  return points;
}

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
AResult AverageRecords(AUVXInput& from, const AverageOptions& options, const ValuesChoice& values,
                       const TakeRecords& take, int* parts = nullptr) {
  if (AResult result = from.CheckRecordSize(); !result) return result;
  IntervalWalk walk(from, options);
  if (AResult result = walk.Open(); !result) return result;
  if (parts) *parts = walk.parts();
  const AUVXFile& uvx = from.uvx();
  const bool isWeighted = options.mean == MeanKind::Weighted;
  const ValueChoice choice = IsAll(uvx, options, values)
                                 ? ValueChoice(uvx)
                                 : ValueChoice(uvx, PointsOf(uvx, values), values.polarisations, isWeighted);
  SendProgressText(options.progress, "Averaging...");
  return walk.Run(
      choice, {},
      [&](const Interval& interval, std::vector<char>& bytes) { AppendRecords(interval, choice.count(), bytes); },
      [&](const std::vector<char>& bytes) { return TakeIntervals(bytes, RecordBytes(choice.count()), take); });
}

AResult ChangePolarisations(const std::vector<PolarisationChoice>& list, const std::string& to, AUVXHeader& header) {
  const int count = static_cast<int>(list.size());
  if (count > AUVXStokes::kLargestCount) {
    return AResult::Fail(to + ": a UVX file holds " + std::to_string(AUVXStokes::kLargestCount) +
                         " polarisations at most, these are " + std::to_string(count));
  }
  header.stokes.SetCount(count);
  for (int i = 0; i < AUVXStokes::kLargestCount; ++i) {
    header.stokes(i) = i < count ? list[static_cast<size_t>(i)].mix.GetStokesID() : 0;
  }
  return AResult::Ok();
}

AResult FindMixes(AUVXInput& from, AverageMix mix, std::vector<PolarisationChoice>& list) {
  const AUVXStokes stored(from.uvx());
  AArray<AStokesMix> mixes;
  if (mix == AverageMix::All) mixes = *std::unique_ptr<AArray<AStokesMix>>(toListMix(stored));
  if (mix == AverageMix::Parallel) toListMixRL(stored, mixes);
  if (mix == AverageMix::Cross) toListMixRL_LR(stored, mixes);
  list.assign(mixes.lpArray(), mixes.lpArray() + mixes.count());
  if (!list.empty()) return AResult::Ok();
  std::string names;
  for (const std::string& name : from.contents().polarisations()) names += (names.empty() ? "" : ", ") + name;
  return AResult::Fail(from.path() + ": none of these combinations can be formed, the polarisations are " +
                       (names.empty() ? "none" : names));
}

// The table that tells where the records of some parts belong.
AResult AddPartList(AUVXInput& from, const AverageOptions& options, PartList& list, AUVXWriter& writer) {
  AUVXHeaderCards cards = from.contents().cards();
  cards.AddHistory(AverageDescription().Command(options));
  list.share = *options.share;
  list.cards = HashOf(cards);
  AUVXTable table;
  if (!list.Store(table)) return AResult::Fail(from.path() + ": has too many intervals for one part of the work");
  return writer.AddTable(table);
}

AResult WriteAverages(AUVXInput& from, const std::string& to, const AverageOptions& options, CopySummary* summary) {
  ValuesChoice averaged;
  AUVXHeader header(from.uvx());
  ChannelSelection channels;
  const UVXSelection& selection = options.selection;
  if (AResult result = from.CheckTables(); !result) return result;
  if (AResult result = FindAveragedValues(from, options, averaged); !result) return result;
  AResult result = channels.Open(from.path(), header, selection.IFs, selection.channels, {});
  if (!result) return result;
  const std::unique_ptr<AUVXTable> setups = from.Table("FQ");
  if (result = CheckSetups(from.path(), channels.Frequencies(), setups.get()); !result) return result;
  channels.Change(header, setups.get());
  if (result = ChangePolarisations(averaged.polarisations, to, header); !result) return result;
  AUVXWriter writer;
  const std::string path = options.share ? options.share->FileName(to) : to;
  if (result = writer.Create(path, header, options, from.path()); !result) return result;
  const AUVXPosition& scans = from.contents().scans();
  PartList list;
  const auto take = [&](const IntervalHead& head, const char* records) {
    const int subarray = scans(head.scan).subarray;
    writer.BeginScan(head.scan, subarray);
    writer.SetIntegration(head.integration);
    if (options.share) list.Append({head.part + 1, head.scan, subarray, head.records, head.integration});
    return writer.Append(records, head.records);
  };
  if (result = AverageRecords(from, options, averaged, take, &list.parts); !result) return result;
  if (options.share) list.input = HashOf(from);
  FrequencyTables tables(channels.Frequencies(), from.uvx().freq0(), setups.get());
  result = CopyTables(from, writer, AverageDescription().Command(options),
                      [&](AUVXTable& table) { return tables.Change(table); });
  if (result && options.share) result = AddPartList(from, options, list, writer);
  if (!result) return result;
  if (summary) {
    summary->records = writer.records();
    summary->remarks = tables.Remarks();
  }
  return writer.Finish();
}

}  // namespace

AResult FindAveragedValues(AUVXInput& from, const AverageOptions& options, ValuesChoice& values) {
  if (from.uvx().stokes() < 1) return AResult::Fail(from.path() + ": its records hold no polarisations");
  if (AResult result = from.contents().FindValues(options.selection, values); !result) return result;
  if (options.mix == AverageMix::Stored || !options.selection.stokes.empty()) return AResult::Ok();
  return FindMixes(from, options.mix, values.polarisations);
}

AResult Average(AUVXInput& from, const AverageOptions& options, const AverageSink& sink) {
  ValuesChoice averaged;
  if (AResult result = FindAveragedValues(from, options, averaged); !result) return result;
  const int IFs = from.uvx().IFs() > 0 ? static_cast<int>(averaged.IFs.size()) : from.uvx().IFs();
  AUVXGroup group;
  AUVXVisibility values;
  const AResult all = AverageRecords(from, options, averaged, [&](const IntervalHead& head, const char* records) {
    if (values.count() == 0) {
      values.GrowBy(IFs, static_cast<int>(averaged.channels.size()), static_cast<int>(averaged.polarisations.size()));
    }
    char* record = const_cast<char*>(records);
    for (int i = 0; i < head.records; ++i) {
      record = values.load(group.load(record));
      if (AResult result = sink(group, values); !result) return result;
    }
    return AResult::Ok();
  });
  return from.Settle(all);
}

AResult AverageUVX(AUVXInput& from, const std::string& to, const AverageOptions& options, CopySummary* summary) {
  AResult result = WriteAverages(from, to, options, summary);
  return result ? result : from.Settle(result);
}

}  // namespace zeltra
