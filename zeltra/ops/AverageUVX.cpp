// SPDX-License-Identifier: MIT
#include "zeltra/ops/AverageUVX.h"

#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "zeltra/core/OutputFileInternal.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/IntervalWalkInternal.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXPosition.h"

namespace zeltra {
namespace {

// Averages as records of a UVX file, in the order of baselines.
void AppendRecords(const Interval& interval, int values, std::vector<char>& bytes) {
  const std::vector<int>& places = interval.sums.InOrder();
  const size_t recordBytes = AUVXGroup::kBytes + static_cast<size_t>(values) * sizeof(AUVXComplex);
  std::vector<AUVXComplex> means(static_cast<size_t>(values));
  AUVXGroup group;
  group.source = static_cast<int16_t>(interval.stream.source);
  group.frqsel = static_cast<int8_t>(interval.stream.setup);
  group.date = interval.time;
  bytes.resize(places.size() * recordBytes);
  char* record = bytes.data();
  for (const int place : places) {
    interval.sums.Mean(place, group, means.data());
    std::memcpy(group.store(record), means.data(), recordBytes - AUVXGroup::kBytes);
    record += recordBytes;
  }
}

// Hands out averages as records of a UVX file, some at a time.
class Averager {
 public:
  using Take = std::function<AResult(const std::vector<char>& records)>;

  Averager(AUVXInput& from, const AverageOptions& options) : from_(from), options_(options), walk_(from, options) {}

  AResult Run(const Take& take);

 private:
  AUVXInput& from_;
  const AverageOptions options_;
  IntervalWalk walk_;
};

AResult Averager::Run(const Take& take) {
  AArray<AStokesMix> mixes;
  if (AResult result = AveragedPolarisations(from_, options_.mix, mixes); !result) return result;
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = walk_.Open(); !result) return result;
  const ValueChoice choice = options_.mix == AverageMix::Stored
                                 ? ValueChoice(from_.uvx())
                                 : ValueChoice(from_.uvx(), mixes, options_.mean == MeanKind::Weighted);
  SendProgressText(options_.progress, "Averaging...");
  return walk_.Run(
      choice,
      [&](const Interval& interval, std::vector<char>& bytes) { AppendRecords(interval, choice.count(), bytes); },
      take);
}

// Writes averages into a UVX file.
class AverageWriter {
 public:
  AverageWriter(AUVXInput& from, const std::string& to, const AverageOptions& options)
      : from_(from), to_(to), options_(options) {}
  // Closing a UVX file declares it whole, so a job that ends early takes the file away first.
  ~AverageWriter() { output_.Discard(); }

  AResult Run();

 private:
  AResult ChangePolarisations();
  AResult Write(AUVXGroup& group, AUVXVisibility& values, BlockWriter& writer);
  void WriteTables();

  AUVXInput& from_;
  const std::string to_;
  const AverageOptions options_;
  OutputFile output_;
  AUVXFile uvx_;
  AUVXHeader header_;
  AUVXPosition index_;
  AUVXBaseLines baseLines_;
  int written_ = 0;
};

AResult AverageWriter::Run() {
  if (AResult result = from_.CheckTables(); !result) return result;
  header_ = AUVXHeader(from_.uvx());
  header_.range.init();
  if (AResult result = ChangePolarisations(); !result) return result;
  if (AResult result = output_.Create(to_, options_.overwrite, from_.path()); !result) return result;
  if (!uvx_.Attach(&output_.file(), 1, 0) || !uvx_.Write(header_) || !uvx_.SeekUVGroup(0)) return output_.WriteError();
  BlockWriter writer(output_.file());
  AResult result =
      Average(from_, options_, [&](AUVXGroup& group, AUVXVisibility& values) { return Write(group, values, writer); });
  if (!result) return result;
  if (written_ == 0) return AResult::Fail(from_.path() + ": no record is selected that is not flagged");
  if (!writer.Flush()) return output_.WriteError();
  header_.info.count = written_;
  if (!uvx_.Write(header_)) return output_.WriteError();
  WriteTables();
  if (!output_.file().good()) return output_.WriteError();
  uvx_.Close();
  return output_.Commit();
}

AResult AverageWriter::ChangePolarisations() {
  AArray<AStokesMix> mix;
  if (AResult result = AveragedPolarisations(from_, options_.mix, mix); !result) return result;
  if (mix.count() > AUVXStokes::kLargestCount) {
    return AResult::Fail(to_ + ": a UVX file holds " + std::to_string(AUVXStokes::kLargestCount) +
                         " polarisations at most, these are " + std::to_string(mix.count()));
  }
  header_.stokes.SetCount(mix.count());
  for (int i = 0; i < AUVXStokes::kLargestCount; ++i) header_.stokes(i) = i < mix.count() ? mix(i).GetStokesID() : 0;
  return AResult::Ok();
}

AResult AverageWriter::Write(AUVXGroup& group, AUVXVisibility& values, BlockWriter& writer) {
  if (written_ == std::numeric_limits<int>::max()) {
    return AResult::Fail(to_ + ": there are more averages than a UVX file counts");
  }
  char* record = nullptr;
  const int bytes = uvx_.recSize();
  if (bytes <= kBlockBytes) {
    record = writer.Reserve(bytes);
    if (!record) return output_.WriteError();
    values.store(group.store(record));
  } else if (!writer.Flush() || !group.store(uvx_) || !values.store(uvx_)) {
    return output_.WriteError();
  }
  group.check(header_.range);
  values.check(header_.range);
  baseLines_.checkBase(AUVXBaseLineItem(group));
  AUVXGroup inSeconds = group;
  inSeconds.date = (group.date - header_.info.dateObs) * kSecondsPerDay;
  index_.CheckUVGroup(inSeconds, written_++);
  return AResult::Ok();
}

void AverageWriter::WriteTables() {
  const AUVXTableHeader directory(from_.uvx());
  bool hasBaseLines = false;
  for (int i = 0; i < directory.count(); ++i) {
    std::unique_ptr<AUVXTable> table = from_.Table(directory(i));
    const std::string code = table->Code();
    const bool isMadeAnew = code == "NX" || code == "BL";
    if (isMadeAnew) table.reset();  // before the new one, as both may be large
    if (isMadeAnew) table.reset(code == "NX" ? index_.ToUVXTable() : baseLines_.ToUVXTable());
    hasBaseLines = hasBaseLines || code == "BL";
    uvx_.AddTable(*table);
  }
  if (!hasBaseLines) uvx_.AddTable(*std::unique_ptr<AUVXTable>(baseLines_.ToUVXTable()));
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
  if (AResult result = from.CheckRecordSize(); !result) return result;
  AUVXGroup group;
  AUVXVisibility values(from.uvx().IFs(), from.uvx().channels(), mixes.count());
  return Averager(from, options).Run([&](const std::vector<char>& records) {
    char* record = const_cast<char*>(records.data());
    while (record < records.data() + records.size()) {
      record = values.load(group.load(record));
      if (AResult result = sink(group, values); !result) return result;
    }
    return AResult::Ok();
  });
}

AResult AverageUVX(AUVXInput& from, const std::string& to, const AverageOptions& options) {
  return AverageWriter(from, to, options).Run();
}

}  // namespace zeltra
