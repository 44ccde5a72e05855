// SPDX-License-Identifier: MIT
#include "zeltra/ops/AverageUVX.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <vector>

#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/IntervalWalkInternal.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

// Sums of an interval.
constexpr int64 kSumBytes = 96 << 20;

// Collects the means of an interval with the mean u, v, w of each baseline.
//
// Where there are more baselines than fit, those at the end of their order are left out, and the interval is to be read
// again for them.
class AverageRead : public SecondsRead {
 public:
  /// @param most  baselines that fit
  /// @param from  the first baseline that counts; none for all
  AverageRead(AUVXRead_FqS* reader, const IntervalStream& stream, IntervalWatch& watch, const AverageOptions& options,
              AArray<AStokesMix>* mix, int most, std::optional<ABaseLineItem> from)
      : SecondsRead(reader, stream, watch, options, mix), most_(most), from_(from) {}

  void AllocateArray() override;
  void AddToArray(AUVXGroup& group, AUVXVisibility& vis, int pos, double t1, double t2) override;
  void Release() override;

  /// The group of average i, without its time.
  AUVXGroup Group(int i);
  /// The first baseline that was left out, if any.
  const std::optional<ABaseLineItem>& cut() const { return cut_; }
  /// First and last record of the interval.
  int firstRecord() const { return firstRecord_; }
  int lastRecord() const { return lastRecord_; }

 private:
  struct Coordinates {
    double u = 0, v = 0, w = 0;
    int count = 0;
  };
  bool IsLeftOut(const ABaseLineItem& base) const;

  const int most_;
  const std::optional<ABaseLineItem> from_;
  std::optional<ABaseLineItem> cut_;
  std::vector<Coordinates> coordinates_;  // of the items of the means
  int firstRecord_ = 0;
  int lastRecord_ = 0;
};

void AverageRead::AllocateArray() {
  SecondsRead::AllocateArray();
  coordinates_.clear();
  cut_.reset();
  firstRecord_ = std::numeric_limits<int>::max();
}

void AverageRead::Release() {
  SecondsRead::Release();
  coordinates_ = {};
}

bool AverageRead::IsLeftOut(const ABaseLineItem& base) const {
  return (from_ && fnBLItemCompare(base, *from_) > 0) || (cut_ && fnBLItemCompare(base, *cut_) <= 0);
}

void AverageRead::AddToArray(AUVXGroup& group, AUVXVisibility& vis, int pos, double t1, double t2) {
  firstRecord_ = std::min(firstRecord_, pos);
  lastRecord_ = pos;
  const ABaseLineItem base(group);
  if (IsLeftOut(base)) return;
  FlagOddValues(vis.lpArray(), vis.count());
  const int before = means().count();
  SecondsRead::AddToArray(group, vis, pos, t1, t2);
  const int place = means().SearchBaseLine(base);
  if (means().count() > before) coordinates_.insert(coordinates_.begin() + place, Coordinates());
  Coordinates& sum = coordinates_[static_cast<size_t>(place)];
  sum.u += group.u();
  sum.v += group.v();
  sum.w += group.w();
  ++sum.count;
  if (means().count() <= most_) return;
  cut_ = means()(most_)->baseLine;
  means().DeleteItems(most_, 1);
  coordinates_.pop_back();
}

AUVXGroup AverageRead::Group(int i) {
  const ABaseLineItem& base = means()(i)->baseLine;
  const Coordinates& sum = coordinates_[static_cast<size_t>(i)];
  AUVXGroup group;
  group.uu = static_cast<float>(sum.u / sum.count);
  group.vv = static_cast<float>(sum.v / sum.count);
  group.ww = static_cast<float>(sum.w / sum.count);
  group.ant1 = static_cast<int8_t>(base.tlsc1());
  group.ant2 = static_cast<int8_t>(base.tlsc2());
  return group;
}

class Averager {
 public:
  Averager(AUVXInput& from, const AverageOptions& options) : from_(from), options_(options), walk_(from, options) {}

  AResult Run(const AverageSink& sink);

 private:
  int MostBaseLines() const;
  std::unique_ptr<AverageRead> Reader(AUVXRead_FqS& reader, const IntervalStream& stream,
                                      std::optional<ABaseLineItem> from);
  AResult TakeInterval(AverageRead& reader, AUVXTimeMeanArray& means, const IntervalStream& stream, double date);
  AResult TakeBaseLines(AverageRead& reader, AUVXTimeMeanArray& means, const IntervalStream& stream, double date);

  AUVXInput& from_;
  const AverageOptions options_;
  IntervalWalk walk_;
  AArray<AStokesMix> mix_;
  const AverageSink* sink_ = nullptr;
};

AResult Averager::Run(const AverageSink& sink) {
  sink_ = &sink;
  if (AResult result = AveragedPolarisations(from_, options_.mix, mix_); !result) return result;
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = walk_.Open(); !result) return result;
  SendProgressText(options_.progress, "Averaging...");
  return walk_.Run([this](AUVXRead_FqS& reader, const IntervalStream& stream,
                          IntervalWatch&) { return Reader(reader, stream, std::nullopt); },
                   [this](SecondsRead& reader, AUVXTimeMeanArray& means, const IntervalStream& stream, double date) {
                     return TakeInterval(static_cast<AverageRead&>(reader), means, stream, date);
                   });
}

// Baselines whose sums fit the memory.
int Averager::MostBaseLines() const {
  const int64 points = int64{std::max(from_.uvx().IFs(), 1)} * from_.uvx().channels();
  constexpr int64 kValueBytes = sizeof(AUVXComplex) + sizeof(int) + sizeof(APhJustify);
  const int64 itemBytes = static_cast<int64>(sizeof(AUVXTimeMeanItem)) + points * mix_.count() * kValueBytes;
  return static_cast<int>(std::clamp<int64>(kSumBytes / itemBytes, 1, 1 << 16));
}

std::unique_ptr<AverageRead> Averager::Reader(AUVXRead_FqS& reader, const IntervalStream& stream,
                                              std::optional<ABaseLineItem> from) {
  AArray<AStokesMix>* mix = options_.mix == AverageMix::Stored ? nullptr : &mix_;
  return std::make_unique<AverageRead>(&reader, stream, walk_.watch(), options_, mix, MostBaseLines(), from);
}

AResult Averager::TakeInterval(AverageRead& reader, AUVXTimeMeanArray& means, const IntervalStream& stream,
                               double date) {
  if (AResult result = TakeBaseLines(reader, means, stream, date); !result) return result;
  const int first = reader.firstRecord();
  const int last = reader.lastRecord();
  // The same records make the same interval.
  for (std::optional<ABaseLineItem> from = reader.cut(); from;) {
    means.Init();
    AUVXRead_FqS again(&from_.uvx(), stream.source, stream.setup, walk_.ScansOf(first, last));
    const auto rest = Reader(again, stream, from);
    AUVXTimeMeanArray* more = rest->GetTimeInterval();
    if (AResult result = walk_.watch().Why(); !result) return result;
    if (!more) return AResult::Fail(from_.path() + ": cannot be read in record " + std::to_string(first));
    if (AResult result = TakeBaseLines(*rest, *more, stream, date); !result) return result;
    from = rest->cut();
  }
  return AResult::Ok();
}

AResult Averager::TakeBaseLines(AverageRead& reader, AUVXTimeMeanArray& means, const IntervalStream& stream,
                                double date) {
  means.CalculateMean();
  for (int i = 0; i < means.count(); ++i) {
    AUVXGroup group = reader.Group(i);
    group.date = date;
    group.source = static_cast<int16_t>(stream.source);
    group.frqsel = static_cast<int8_t>(stream.setup);
    if (AResult result = (*sink_)(group, means(i)->sum); !result) return result;
  }
  return AResult::Ok();
}

// Writes averages into a UVX file.
class AverageWriter {
 public:
  AverageWriter(AUVXInput& from, const std::string& to, const AverageOptions& options)
      : from_(from), to_(to), options_(options) {}

  AResult Run();

 private:
  AResult ChangePolarisations(AUVXHeader& header) const;

  AUVXInput& from_;
  const std::string to_;
  const AverageOptions options_;
};

AResult AverageWriter::Run() {
  if (AResult result = from_.CheckTables(); !result) return result;
  AUVXHeader header(from_.uvx());
  if (AResult result = ChangePolarisations(header); !result) return result;
  AUVXWriter writer;
  if (AResult result = writer.Create(to_, header, options_, from_.path()); !result) return result;
  AResult result = Average(from_, options_, [&](AUVXGroup& group, AUVXVisibility& values) {
    return writer.Append(group, values.lpArray());
  });
  if (!result) return result;
  if (writer.records() == 0) return AResult::Fail(from_.path() + ": no record is selected that is not flagged");
  if (result = CopyTables(from_, writer); !result) return result;
  return writer.Finish();
}

AResult AverageWriter::ChangePolarisations(AUVXHeader& header) const {
  AArray<AStokesMix> mix;
  if (AResult result = AveragedPolarisations(from_, options_.mix, mix); !result) return result;
  if (mix.count() > AUVXStokes::kLargestCount) {
    return AResult::Fail(to_ + ": a UVX file holds " + std::to_string(AUVXStokes::kLargestCount) +
                         " polarisations at most, these are " + std::to_string(mix.count()));
  }
  header.stokes.SetCount(mix.count());
  for (int i = 0; i < AUVXStokes::kLargestCount; ++i) header.stokes(i) = i < mix.count() ? mix(i).GetStokesID() : 0;
  return AResult::Ok();
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
  return Averager(from, options).Run(sink);
}

AResult AverageUVX(AUVXInput& from, const std::string& to, const AverageOptions& options) {
  return AverageWriter(from, to, options).Run();
}

}  // namespace zeltra
