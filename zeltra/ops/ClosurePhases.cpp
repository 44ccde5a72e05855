// SPDX-License-Identifier: MIT
#include "zeltra/ops/ClosurePhases.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

#include "zeltra/analysis/TriangleWalkInternal.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/ops/IntervalWalkInternal.h"

namespace zeltra {
namespace {

/// The polarisation that the conjugate of `code` has when the antennas are exchanged.
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

// Phases of the baselines of an interval, from the lower antenna to the higher one as signed bytes.
class Phases {
 public:
  explicit Phases(const IntervalSums& sums) : sums_(sums) {
    for (int place = 0; place < sums.count(); ++place) {
      AUVXGroup group;
      AUVXComplex value;
      sums.Mean(place, group, &value);
      const bool isUsable = value.weight > 0 && group.ant1 != group.ant2;
      phases_.push_back(isUsable ? std::atan2(double{value.im}, double{value.re}) : kNone);
      antennas_.insert(antennas_.end(), {group.tlsc1(), group.tlsc2()});
    }
    std::sort(antennas_.begin(), antennas_.end());
    antennas_.erase(std::unique(antennas_.begin(), antennas_.end()), antennas_.end());
  }

  /// Ascending, each once.
  const std::vector<int>& antennas() const { return antennas_; }
  /// NaN for a baseline without a valid value.
  double operator()(int a, int b) const {
    const int place = sums_.PlaceOf(static_cast<int8_t>(a), static_cast<int8_t>(b));
    return place < 0 ? kNone : phases_[static_cast<size_t>(place)];
  }

 private:
  static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

  const IntervalSums& sums_;
  std::vector<double> phases_;
  std::vector<int> antennas_;
};

void AppendClosure(double time, const int (&antennas)[3], double phase, std::vector<char>& bytes) {
  AClosurePhase closure;
  closure.time = time;
  closure.phase = phase;
  std::transform(antennas, antennas + 3, closure.antennas, [](int antenna) { return static_cast<uint8_t>(antenna); });
  // Numbers above 127 stand before the others here; turning a triangle leaves its phase as it is.
  std::rotate(closure.antennas, std::min_element(closure.antennas, closure.antennas + 3), closure.antennas + 3);
  const char* image = reinterpret_cast<const char*>(&closure);
  bytes.insert(bytes.end(), image, image + sizeof closure);
}

// The closure phases of the triangles of an interval, one value of each baseline, in the order of the antennas.
void AppendClosures(const Interval& interval, std::optional<int> wanted, std::vector<char>& bytes) {
  const Phases phases(interval.sums);
  const std::vector<int>& antennas = phases.antennas();
  for (size_t i = 0; i < antennas.size(); ++i) {
    for (size_t j = i + 1; j < antennas.size(); ++j) {
      const int a = antennas[i], b = antennas[j];
      const double first = phases(a, b);
      if (std::isnan(first)) continue;
      for (size_t k = j + 1; k < antennas.size(); ++k) {
        const int c = antennas[k];
        if (wanted && a != *wanted && b != *wanted && c != *wanted) continue;
        const double phase = ClosureOf(first, phases(b, c), -phases(a, c));
        if (!std::isnan(phase)) AppendClosure(interval.time, {a, b, c}, phase, bytes);
      }
    }
  }
}

class Closer {
 public:
  Closer(AUVXInput& from, const ClosureOptions& options) : from_(from), options_(options), walk_(from, options) {}

  AResult Run(const ClosureSink& sink);

 private:
  AResult LookUp();

  AUVXInput& from_;
  const ClosureOptions options_;
  IntervalWalk walk_;
  std::optional<int> antenna_;
  std::optional<ValueChoice> choice_;
};

AResult Closer::LookUp() {
  const AUVXContents& contents = from_.contents();
  const UVXSelection& selection = options_.selection;
  if (!selection.antennas.empty()) {
    int number = 0;
    if (AResult result = contents.FindAntenna(selection.antennas.front(), number); !result) return result;
    antenna_ = SignedAntenna(number);
  }
  AUVXFile& uvx = from_.uvx();
  std::vector<int> IFs, channels;
  const std::string& path = from_.path();
  AResult result = SettlePlaces(path, "IF", selection.IFs, std::max(uvx.IFs(), 1), IFs);
  if (result) result = SettlePlaces(path, "channel", selection.channels, uvx.channels(), channels);
  if (!result) return result;
  if (uvx.stokes() < 1) return AResult::Fail(from_.path() + ": its records hold no polarisations");
  const std::string first = AStokesItem(0, contents.header().stokes(0)).asShortString();
  const std::string name = selection.stokes.empty() ? first : selection.stokes.front();
  AStokesMix mix, reverse;
  if (result = contents.FindPolarisation(name, mix); !result) return result;
  const AStokesItem exchanged(0, Exchanged(mix.GetStokesID()));
  std::optional<AStokesMix> back;
  if (contents.FindPolarisation(exchanged.asShortString(), reverse)) back = reverse;
  const int point = IFs[0] * uvx.channels() + channels[0];
  choice_.emplace(uvx, std::vector<int>{point}, std::vector<PolarisationChoice>{mix},
                  options_.mean == MeanKind::Weighted);
  choice_->TurnBaselines({back});
  return AResult::Ok();
}

AResult Closer::Run(const ClosureSink& sink) {
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = LookUp(); !result) return result;
  if (AResult result = walk_.Open(RecordChoice::Antennas); !result) return result;
  SendProgressText(options_.progress, "Forming closure phases...");
  return walk_.Run(
      *choice_, IntervalWalk::Pieces::Whole,
      [this](const Interval& interval, std::vector<char>& bytes) { AppendClosures(interval, antenna_, bytes); },
      [&](const std::vector<char>& bytes) {
        for (size_t at = 0; at < bytes.size(); at += sizeof(AClosurePhase)) {
          AClosurePhase closure;
          std::memcpy(&closure, bytes.data() + at, sizeof closure);
          if (AResult result = sink(closure); !result) return result;
        }
        return AResult::Ok();
      });
}

}  // namespace

AResult ClosurePhases(AUVXInput& from, const ClosureOptions& options, const ClosureSink& sink) {
  return Closer(from, options).Run(sink);
}

}  // namespace zeltra
