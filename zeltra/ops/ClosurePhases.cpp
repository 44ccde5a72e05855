// SPDX-License-Identifier: MIT
#include "zeltra/ops/ClosurePhases.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

#include "zeltra/analysis/TriangleWalkInternal.h"
#include "zeltra/ops/AUVXContents.h"
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

// The closure phases of the triangles of an interval, one value of each baseline, in the order of the antennas.
void AppendClosures(const Interval& interval, std::optional<int> antenna, std::vector<char>& bytes) {
  const std::vector<int>& places = interval.sums.InOrder();
  std::vector<ABaseLineItem> baselines;
  std::vector<double> phases;
  for (const int place : places) {
    AUVXGroup group;
    AUVXComplex value;
    interval.sums.Mean(place, group, &value);
    // A baseline without a valid value is flagged, which leaves its triangles out.
    baselines.emplace_back(group.tlsc1(), group.tlsc2(), !(value.weight > 0));
    phases.push_back(std::atan2(double{value.im}, double{value.re}));
  }
  const auto baseline = [&](int i) { return baselines[static_cast<size_t>(i)]; };
  const auto phase = [&](int i) { return phases[static_cast<size_t>(i)]; };
  WalkTriangles(static_cast<int>(places.size()), baseline, antenna, [&](int a, int b, bool, int d, int third) {
    AClosurePhase closure;
    closure.time = interval.time;
    closure.phase = ClosureOf(phase(a), phase(b), -phase(d));
    int* antennas = closure.antennas;
    antennas[0] = static_cast<uint8_t>(baseline(a).tlsc1());
    antennas[1] = static_cast<uint8_t>(baseline(a).tlsc2());
    antennas[2] = static_cast<uint8_t>(third);
    // Numbers above 127 stand before the others here; turning a triangle leaves its phase as it is.
    std::rotate(antennas, std::min_element(antennas, antennas + 3), antennas + 3);
    const char* image = reinterpret_cast<const char*>(&closure);
    bytes.insert(bytes.end(), image, image + sizeof closure);
  });
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
  const std::string first = AStokesItem(0, contents.header().stokes(0)).asShortString();
  const std::string name = options_.stokes.empty() ? first : options_.stokes;
  AStokesMix mix, reverse;
  if (AResult result = contents.FindPolarisation(name, mix); !result) return result;
  const AStokesItem exchanged(0, Exchanged(mix.GetStokesID()));
  std::optional<AStokesMix> back;
  if (contents.FindPolarisation(exchanged.asShortString(), reverse)) back = reverse;
  const int point = options_.IF * uvx.channels() + options_.channel;
  choice_.emplace(uvx, point, mix, back, options_.mean == MeanKind::Weighted);
  return AResult::Ok();
}

AResult Closer::Run(const ClosureSink& sink) {
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = LookUp(); !result) return result;
  if (AResult result = walk_.Open(); !result) return result;
  SendProgressText(options_.progress, "Forming closure phases...");
  return walk_.Run(
      *choice_,
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
