// SPDX-License-Identifier: MIT
#include "apps/zeltra/ImageText.h"

#include <algorithm>
#include <cmath>

#include "apps/zeltra/Command.h"
#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/Text.h"

namespace zeltra::app {

std::string BrightnessText(double value, const DirtyImage& image) {
  return RoundedNumber(value, 4) + (image.unit.empty() ? "" : " " + PlainText(image.unit));
}

std::string PeakText(const DirtyImage& image) {
  const ImagePeak peak = FindPeak(image);
  const AngleUnit unit = AngleUnitFor(std::max({std::fabs(peak.east), std::fabs(peak.north), image.cell}));
  const auto in = [&unit](double radians) { return RoundedNumber(radians / unit.radians, 4) + " " + unit.name; };
  return BrightnessText(peak.value, image) + " at " + in(peak.east) + " east, " + in(peak.north) + " north";
}

std::string BeyondText(const DirtyImage& image) {
  return std::to_string(image.beyond) + " visibilities on baselines too long for the cell are left out";
}

}  // namespace zeltra::app
