// SPDX-License-Identifier: MIT
#include "zeltra/ops/ClosurePhases.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <numbers>
#include <optional>
#include <utility>

#include "zeltra/analysis/TriangleWalkInternal.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/IntervalWalkInternal.h"

namespace zeltra {
namespace {

/// The value of each baseline that closures are formed of.
struct ClosureValue {
  int point = 0;                      ///< frequency point
  AStokesMix mix;                     ///< of baselines from the lower antenna to the higher one
  std::optional<AStokesMix> reverse;  ///< of the others
};

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

// Averages one value of each baseline, all baselines from the lower antenna to the higher one.
class ClosureRead : public SecondsRead {
 public:
  ClosureRead(AUVXRead_FqS* reader, const IntervalStream& stream, IntervalWatch& watch, const ClosureOptions& options,
              const ClosureValue& value)
      : SecondsRead(reader, stream, watch, options, nullptr), value_(value), single_(1, 1, 1) {}

  void AddToArray(AUVXGroup& group, AUVXVisibility& vis, int pos, double t1, double t2) override {
    AUVXComplex& value = single_(0, 0);
    AUVXGroup ordered = group;
    FlagOddValues(vis(value_.point), vis.stokes());
    if (group.ant1 <= group.ant2) {
      value = value_.mix.GetVisible(vis(value_.point), 0);
    } else {
      std::swap(ordered.ant1, ordered.ant2);
      value = value_.reverse ? value_.reverse->GetVisible(vis(value_.point), 0) : AUVXComplex(0.0, 0.0, 0.0);
      value.im = -value.im;
    }
    SecondsRead::AddToArray(ordered, single_, pos, t1, t2);
  }

 private:
  const ClosureValue value_;
  AUVXVisibility single_;
};

class Closer {
 public:
  Closer(AUVXInput& from, const ClosureOptions& options) : from_(from), options_(options), walk_(from, options) {}

  AResult Run(const ClosureSink& sink);

 private:
  AResult LookUp();
  AResult TakeInterval(AUVXTimeMeanArray& means, double date, const ClosureSink& sink);

  AUVXInput& from_;
  const ClosureOptions options_;
  IntervalWalk walk_;
  std::optional<int> antenna_;
  ClosureValue value_;
};

AResult Closer::LookUp() {
  const AUVXContents contents(from_);
  if (!options_.antenna.empty()) {
    int number = 0;
    if (AResult result = contents.FindAntenna(options_.antenna, number); !result) return result;
    antenna_ = SignedAntenna(number);
  }
  AUVXFile& uvx = from_.uvx();
  const int ifs = std::max(uvx.IFs(), 1);
  const auto lacks = [&](const char* what, int number, int count) {
    return AResult::Fail(from_.path() + ": no " + what + " " + std::to_string(number) + "; there are " +
                         std::to_string(count) + ", numbered from 0");
  };
  if (options_.IF < 0 || options_.IF >= ifs) return lacks("IF", options_.IF, ifs);
  if (options_.channel < 0 || options_.channel >= uvx.channels()) {
    return lacks("channel", options_.channel, uvx.channels());
  }
  if (uvx.stokes() < 1) return AResult::Fail(from_.path() + ": its records hold no polarisations");
  value_.point = options_.IF * uvx.channels() + options_.channel;
  const std::string first = AStokesItem(0, contents.header().stokes(0)).asShortString();
  const std::string name = options_.stokes.empty() ? first : options_.stokes;
  if (AResult result = contents.FindPolarisation(name, value_.mix); !result) return result;
  const AStokesItem exchanged(0, Exchanged(value_.mix.GetStokesID()));
  AStokesMix reverse;
  if (contents.FindPolarisation(exchanged.asShortString(), reverse)) value_.reverse = reverse;
  return AResult::Ok();
}

AResult Closer::Run(const ClosureSink& sink) {
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = LookUp(); !result) return result;
  if (AResult result = walk_.Open(); !result) return result;
  SendProgressText(options_.progress, "Forming closure phases...");
  return walk_.Run(
      [this](AUVXRead_FqS& reader, const IntervalStream& stream, IntervalWatch& watch) {
        return std::make_unique<ClosureRead>(&reader, stream, watch, options_, value_);
      },
      [&](SecondsRead&, AUVXTimeMeanArray& means, const IntervalStream&, double date) {
        return TakeInterval(means, date, sink);
      });
}

AResult Closer::TakeInterval(AUVXTimeMeanArray& means, double date, const ClosureSink& sink) {
  means.CalculateMean();
  const auto value = [&](int i) -> const AUVXComplex& { return means(i)->sum(0, 0); };
  const auto phase = [&](int i) { return std::atan2(double{value(i).im}, double{value(i).re}); };
  // A baseline without a valid value is flagged, which leaves its triangles out.
  const auto baseLine = [&](int i) {
    ABaseLineItem item = means(i)->baseLine;
    return item.setFlag(!(value(i).weight > 0));
  };
  AResult result = AResult::Ok();
  WalkTriangles(means.count(), baseLine, antenna_, [&](int a, int b, bool, int d, int third) {
    if (!result || walk_.watch().IsStopped()) return;
    AClosurePhase closure;
    closure.time = date;
    const double sum = phase(a) + phase(b) - phase(d);
    closure.phase = std::remainder(sum, 2 * std::numbers::pi);
    int* antennas = closure.antennas;
    antennas[0] = static_cast<uint8_t>(means(a)->baseLine.tlsc1());
    antennas[1] = static_cast<uint8_t>(means(a)->baseLine.tlsc2());
    antennas[2] = static_cast<uint8_t>(third);
    // Numbers above 127 stand before the others here; turning a triangle leaves its phase as it is.
    std::rotate(antennas, std::min_element(antennas, antennas + 3), antennas + 3);
    result = sink(closure);
  });
  return result ? walk_.watch().Why() : result;
}

}  // namespace

AResult ClosurePhases(AUVXInput& from, const ClosureOptions& options, const ClosureSink& sink) {
  return Closer(from, options).Run(sink);
}

}  // namespace zeltra
