// SPDX-License-Identifier: MIT
#include "zeltra/jobs/ImageText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/Text.h"

namespace zeltra {

std::string BrightnessText(double value, const DirtyImage& image) {
  return RoundedNumber(value, 4).append(image.unit.empty() ? "" : " ").append(PlainText(image.unit));
}

std::string PeakText(const DirtyImage& image) {
  const ImagePeak peak = FindPeak(image);
  const AngleUnit unit = AngleUnitFor(std::max({std::fabs(peak.east), std::fabs(peak.north), image.cell}));
  const auto in = [&unit](double radians) { return RoundedNumber(radians / unit.radians, 4) + " " + unit.name; };
  return BrightnessText(peak.value, image) + " at " + in(peak.east) + " east, " + in(peak.north) + " north";
}

std::string BeamText(const ABeamShape& shape) {
  const AngleUnit unit = AngleUnitFor(shape.major);
  char angle[24];
  std::snprintf(angle, sizeof angle, " at %.1f degrees", shape.angle);
  return RoundedNumber(shape.major / unit.radians, 4) + " x " + RoundedNumber(shape.minor / unit.radians, 4) + " " +
         unit.name + angle;
}

std::string BeyondText(const DirtyImage& image) {
  return std::to_string(image.beyond) + " visibilities on baselines too long for the cell are left out";
}

}  // namespace zeltra
