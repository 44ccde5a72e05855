// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <utility>

#include "zeltra/ops/KnownFrequenciesInternal.h"

namespace zeltra {
namespace {

bool IsFrequency(double frequency) {
  return frequency > 0 && std::isfinite(frequency);
}

}  // namespace

AResult KnownFrequencies::Open() {
  const AUVXFile& uvx = input_.uvx();
  if (std::max(uvx.IFs(), 1) == 1 && uvx.channels() == 1) return AResult::Ok();
  const std::unique_ptr<AUVXTable> setups = input_.Table("FQ");
  if (setups && setups->rows() > 0) return AResult::Ok();
  return AResult::Fail(input_.path() + ": has no table FQ, so that the frequencies of its channels are not known");
}

KnownFrequencies::Setup& KnownFrequencies::Find(int setup) {
  if (const auto found = setups_.find(setup); found != setups_.end()) return found->second;
  AUVXFreqs frequencies(input_.uvx(), setup);
  const double* begin = frequencies.lpArray();
  const int points = std::max(input_.uvx().IFs(), 1) * input_.uvx().channels();
  const bool isKnown = frequencies.count() == points && std::all_of(begin, begin + points, IsFrequency);
  return setups_.emplace(setup, Setup{std::move(frequencies), isKnown}).first->second;
}

AResult KnownFrequencies::Check(const WalkedRecord& record) {
  const Setup& setup = Find(record.group.freqSel());
  if (setup.isKnown) return AResult::Ok();
  const int channels = input_.uvx().channels(), stokes = input_.uvx().stokes();
  const AUVXComplex* values = record.values;
  for (int point = 0; point < std::max(input_.uvx().IFs(), 1) * channels; ++point, values += stokes) {
    if (point < setup.frequencies.count() && IsFrequency(setup.frequencies(point))) continue;
    const auto hasWeight = [](const AUVXComplex& value) { return value.weight != 0; };
    if (std::none_of(values, values + stokes, hasWeight)) continue;
    return AResult::Fail(input_.path() + ": record " + std::to_string(record.index + 1) + " has values in IF " +
                         std::to_string(point / channels + 1) + ", channel " + std::to_string(point % channels + 1) +
                         ", for which setup " + std::to_string(record.group.freqSel()) + " has no frequency above 0");
  }
  return AResult::Ok();
}

}  // namespace zeltra
