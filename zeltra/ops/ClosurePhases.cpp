// SPDX-License-Identifier: MIT
#include "zeltra/ops/ClosurePhases.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/ops/ClosureTermsInternal.h"
#include "zeltra/ops/IndependentClosuresInternal.h"
#include "zeltra/ops/IntervalWalkInternal.h"

namespace zeltra {
namespace {

constexpr int kRR = -1, kLL = -2, kXX = -5, kYY = -6, kI = 1;

// Closures are delivered in pieces of this size.
constexpr size_t kPieceBytes = 1 << 20;
// Limit for the bispectra of all values while they are averaged over time stamps.
constexpr int64 kMostTermBytes = 64 << 20;

/// The polarisation that `code` turns into, conjugated, when the antennas are exchanged.
int Exchanged(int code) {
  switch (code) {
    case -3:
      return -4;
    case -4:
      return -3;
    case -7:
      return -8;
    case -8:
      return -7;
    default:
      return code;
  }
}

// A closure as the threads deliver it.
struct ClosureRow {
  double time;
  double value, sigma;
  std::int32_t part, source, place;
  std::uint8_t antennas[4];
};

struct ClosureState : IntervalState {
  ClosureTerms terms;
};

class Closer {
 public:
  Closer(AUVXInput& from, const ClosureOptions& options)
      : from_(from), options_(WeightedMeans(options)), walk_(from, options_) {}

  AResult Run(const ClosureSink& sink, AClosureCounts* counts);

 private:
  static ClosureOptions WeightedMeans(ClosureOptions options);
  AResult LookUp();
  AResult FindPolarisations();
  AResult FindStored(const std::string& name, AStokesItem& item) const;
  void Close(const Interval& interval, std::vector<char>& bytes);
  bool Append(const Interval& interval, const ClosureTerms& terms, std::vector<char>& bytes);
  bool AppendValue(const Interval& interval, ClosureTerms& terms, std::vector<char>& bytes);
  void Describe(int place, AClosure& closure) const;
  int MostValues() const;
  AResult Refusal() const;

  AUVXInput& from_;
  const ClosureOptions options_;
  IntervalWalk walk_;
  ClosureShape shape_;
  std::vector<int> IFs_, channels_;
  std::vector<AStokesItem> polarisations_;  // in the order of the file
  std::atomic<bool> hasTooMany_ = false;    // antennas
  std::atomic<int64> formed_ = 0, weak_ = 0;
};

ClosureOptions Closer::WeightedMeans(ClosureOptions options) {
  options.complexMean = true;
  options.mean = MeanKind::Weighted;
  return options;
}

AResult Closer::LookUp() {
  const AUVXContents& contents = from_.contents();
  const UVXSelection& selection = options_.selection;
  shape_.amplitudes = options_.amplitudes;
  for (const std::string& antenna : selection.antennas) {
    if (AResult result = contents.FindAntenna(antenna, shape_.antennas.emplace_back()); !result) return result;
  }
  const size_t named = shape_.antennas.size(), corners = options_.amplitudes ? 4 : 3;
  if (named > 1 && named < corners) {
    return AResult::Fail(from_.path() + ": a closure takes " + std::to_string(corners) + " antennas, and " +
                         std::to_string(named) + " are selected");
  }
  const AUVXFile& uvx = from_.uvx();
  AResult result = SettlePlaces(from_.path(), "IF", selection.IFs, std::max(uvx.IFs(), 1), IFs_);
  if (result) result = SettlePlaces(from_.path(), "channel", selection.channels, uvx.channels(), channels_);
  if (result) result = FindPolarisations();
  shape_.each = options_.each;
  return result;
}

AResult Closer::FindStored(const std::string& name, AStokesItem& item) const {
  AStokesMix mix;
  const bool isThere = static_cast<bool>(from_.contents().FindPolarisation(name, mix));
  item = mix.item1;
  if (isThere && mix.id == 0) return AResult::Ok();
  std::string names;
  for (const std::string& stored : from_.contents().polarisations()) names += (names.empty() ? "" : ", ") + stored;
  return AResult::Fail(from_.path() + ": closures are of polarisations as they are stored, " + names +
                       ", or PI, and not of " + name);
}

AResult Closer::FindPolarisations() {
  const AUVXStokes& stored = from_.contents().header().stokes;
  if (stored.count() < 1) return AResult::Fail(from_.path() + ": its records hold no polarisations");
  const auto take = [&](int index) { polarisations_.emplace_back(index, stored(index)); };
  std::vector<bool> isWanted(static_cast<size_t>(stored.count()));
  bool takesHands = options_.selection.stokes.empty();
  for (const std::string& name : options_.selection.stokes) {
    AStokesItem item;
    if (IsSameWord(name, "PI")) {
      takesHands = true;
      continue;
    }
    if (AResult result = FindStored(name, item); !result) return result;
    isWanted[static_cast<size_t>(item.index)] = true;
  }
  for (int i = 0; i < stored.count(); ++i) {
    const int code = stored(i);
    const bool isHand = code == kRR || code == kLL || code == kXX || code == kYY;
    if ((isHand && takesHands) || isWanted[static_cast<size_t>(i)]) take(i);
  }
  int total = 0;
  if (polarisations_.empty() && stored.FindStokes(kI, total)) take(total);
  if (!polarisations_.empty()) return AResult::Ok();
  return AResult::Fail(from_.path() + ": it holds neither parallel hands nor I; closures of " +
                       from_.contents().polarisations().front() + " and others are formed only if named");
}

AResult Closer::Run(const ClosureSink& sink, AClosureCounts* counts) {
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = LookUp(); !result) return result;
  if (AResult result = walk_.Open(RecordChoice::Antennas); !result) return result;
  const AUVXFile& uvx = from_.uvx();
  std::vector<int> points;
  for (const int i : IFs_) {
    for (const int channel : channels_) points.push_back(i * uvx.channels() + channel);
  }
  std::vector<PolarisationChoice> mixes;
  std::vector<std::optional<PolarisationChoice>> reverse;
  for (const AStokesItem& item : polarisations_) {
    mixes.push_back(AStokesMix(0, item, AStokesItem()));
    int index = 0;
    const bool isStored = from_.contents().header().stokes.FindStokes(Exchanged(item.code), index);
    reverse.push_back(isStored ? std::optional<PolarisationChoice>(
                                     AStokesMix(0, AStokesItem(index, Exchanged(item.code)), AStokesItem()))
                               : std::nullopt);
  }
  ValueChoice choice(uvx, points, mixes, true);
  choice.TurnBaselines(std::move(reverse));
  SendProgressText(options_.progress,
                   options_.amplitudes ? "Forming closure amplitudes..." : "Forming closure phases...");
  const auto take = [&](const std::vector<char>& bytes) {
    for (size_t at = 0; at < bytes.size(); at += sizeof(ClosureRow)) {
      ClosureRow row;
      std::memcpy(&row, bytes.data() + at, sizeof row);
      AClosure closure;
      closure.part = row.part;
      closure.time = row.time;
      closure.source = row.source;
      Describe(row.place, closure);
      std::copy(row.antennas, row.antennas + 4, closure.antennas);
      closure.value = row.value;
      closure.sigma = row.sigma;
      if (AResult result = sink(closure); !result) return result;
    }
    return Refusal();
  };
  const IntervalWalk::Shape shape = {IntervalWalk::Pieces::Values, options_.incoherent, MostValues()};
  AResult result = walk_.Run(
      choice, shape, [this](const Interval& interval, std::vector<char>& bytes) { Close(interval, bytes); }, take);
  if (counts) *counts = {formed_, weak_};
  return result ? Refusal() : result;
}

AResult Closer::Refusal() const {
  if (!hasTooMany_) return AResult::Ok();
  return AResult::Fail(from_.path() + ": an interval has more than " + std::to_string(kMostForBasis) + " antennas, " +
                       (options_.amplitudes ? "too many for closure amplitudes"
                                            : "too many for an independent set where baselines are missing") +
                       "; choose some of them");
}

// How many values have their bispectra kept at a time while time stamps are averaged.
int Closer::MostValues() const {
  if (!options_.each || !options_.incoherent) return std::numeric_limits<int>::max();
  const int64 antennas = std::max<int64>(from_.contents().antennas().count(), 3);
  const int64 triangles = antennas * (antennas - 1) * (antennas - 2) / 6;
  // There are up to three lists of terms: of the time stamps so far, of one, and of both merged.
  return static_cast<int>(
      std::max<int64>(kMostTermBytes / (3 * triangles * static_cast<int64>(sizeof(ClosureTerm))), 1));
}

// Fill in the IF, channel and polarisation of a value.
void Closer::Describe(int place, AClosure& closure) const {
  const auto all = static_cast<size_t>(options_.each ? place : 0);
  const size_t hands = polarisations_.size(), channels = channels_.size();
  if (options_.each || hands == 1) closure.stokes = polarisations_[all % hands].code;
  if (options_.each || channels == 1) closure.channel = channels_[all / hands % channels];
  if (options_.each || IFs_.size() == 1) closure.IF = IFs_[all / hands / channels];
}

void Closer::Close(const Interval& interval, std::vector<char>& bytes) {
  if (!interval.state) interval.state = std::make_unique<ClosureState>();
  ClosureTerms& sums = static_cast<ClosureState&>(*interval.state).terms;
  ClosureFormer former(shape_, interval.sums);
  if (options_.amplitudes && former.antennas() > ClosureFormer::kMostForQuadrangles) hasTooMany_ = true;
  ClosureTerms fresh;
  former.Form(interval.firstValue, [&](ClosureTerms& terms) {
    if (options_.each && !options_.incoherent) return Append(interval, terms, bytes);
    fresh.insert(fresh.end(), terms.begin(), terms.end());
    return true;
  });
  formed_ += former.counts().formed;
  weak_ += former.counts().weak;
  if (!fresh.empty()) MergeTerms(sums, fresh);
  const Interval::Complete last = options_.each ? Interval::Values : Interval::All;
  if (interval.complete >= last) Append(interval, std::exchange(sums, {}), bytes);
}

// Append the closures of terms in ascending order of value.
bool Closer::Append(const Interval& interval, const ClosureTerms& terms, std::vector<char>& bytes) {
  for (size_t first = 0; first < terms.size();) {
    size_t end = first;
    while (end < terms.size() && terms[end].value() == terms[first].value()) ++end;
    ClosureTerms own(terms.begin() + static_cast<std::ptrdiff_t>(first),
                     terms.begin() + static_cast<std::ptrdiff_t>(end));
    if (!AppendValue(interval, own, bytes)) return false;
    first = end;
  }
  return true;
}

bool Closer::AppendValue(const Interval& interval, ClosureTerms& terms, std::vector<char>& bytes) {
  if (options_.set == ClosureSet::Independent) {
    if (options_.amplitudes) {
      KeepIndependentQuadrangles(terms);
    } else if (!KeepIndependentTriangles(terms)) {
      hasTooMany_ = true;
      return false;
    }
  }
  const int corners = options_.amplitudes ? 4 : 3;
  for (const ClosureTerm& term : terms) {
    ClosureRow row = {};
    row.part = interval.part;
    row.time = interval.time;
    row.source = interval.stream.source;
    row.place = term.value();
    for (int i = 0; i < corners; ++i) row.antennas[i] = static_cast<std::uint8_t>(term.Antenna(i));
    row.value = options_.amplitudes ? term.re / term.weight : std::atan2(term.im, term.re);
    const double error = std::sqrt(term.weight) / std::hypot(term.re, term.im);
    row.sigma = options_.amplitudes ? 1 / std::sqrt(term.weight) : std::min(error, kPi / std::sqrt(3.0));
    const char* image = reinterpret_cast<const char*>(&row);
    bytes.insert(bytes.end(), image, image + sizeof row);
  }
  return bytes.size() < kPieceBytes || interval.handOn(bytes);
}

}  // namespace

AResult FormClosures(AUVXInput& from, const ClosureOptions& options, const ClosureSink& sink, AClosureCounts* counts) {
  if (options.amplitudes && options.incoherent) {
    return AResult::Fail(from.path() + ": amplitudes are not averaged incoherently");
  }
  return from.Settle(Closer(from, options).Run(sink, counts));
}

}  // namespace zeltra
