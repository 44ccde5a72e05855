// SPDX-License-Identifier: MIT
#include "zeltra/imaging/ImageUVX.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/image/UVGridInternal.h"

namespace zeltra {
namespace {

// The next larger size that the transform takes, 32768, would need 77 GB.
constexpr int kSmallestSize = 16, kLargestSize = 16384;
constexpr double kCellsPerFringe = 5;

// `value` with two significant digits in milliarcseconds, rounded down.
double RoundedDown(double value) {
  const double step = std::pow(10.0, std::floor(std::log10(value / kRadiansPerMas)) - 1);
  return std::floor(value / kRadiansPerMas / step * (1 + 1e-12)) * step * kRadiansPerMas;
}

class Imager {
 public:
  Imager(AUVXInput& from, const ImageOptions& options, DirtyImage& image)
      : from_(from), options_(options), image_(image), data_(from) {}
  AResult Run();

 private:
  AResult CheckOptions() const;
  AResult SettleCell();
  AResult Weigh();
  AResult FillGrid();
  void Describe();
  AResult NoMemory() const {
    return AResult::Fail(from_.path() + ": there is no memory for an image of " + std::to_string(options_.size) +
                         " x " + std::to_string(options_.size) + " pixels");
  }

  AUVXInput& from_;
  const ImageOptions options_;
  DirtyImage& image_;
  SelectedVisibilities data_;
  UVGrid grid_;
  UVDensity density_;
  double lowest_ = HUGE_VAL, highest_ = 0;  // edges of the channels used, Hz
};

AResult Imager::Run() {
  image_ = DirtyImage();
  if (AResult result = CheckOptions(); !result) return result;
  if (AResult result = data_.Select(options_.selection, SelectedVisibilities::TotalIntensity); !result) {
    return result;
  }
  if (AResult result = SettleCell(); !result) return result;
  if (!grid_.Create(options_.size, image_.cell)) return NoMemory();
  if (AResult result = Weigh(); !result) return result;
  if (AResult result = FillGrid(); !result) return result;
  if (!grid_.Transform(image_.map, image_.beam)) return NoMemory();
  image_.shape = FitBeam(image_.beam, image_.cell);
  Describe();
  return AResult::Ok();
}

AResult Imager::CheckOptions() const {
  if (options_.selection.stokes.size() > 1)
    return AResult::Fail(from_.path() + ": an image shows a single polarisation");
  if (!(options_.cell >= 0) || !std::isfinite(options_.cell)) {
    return AResult::Fail(from_.path() + ": the cell of an image is larger than 0");
  }
  const auto works = [](int size) { return size >= kSmallestSize && size <= kLargestSize && IsTransformed(size); };
  if (works(options_.size)) return AResult::Ok();
  std::string sizes;
  for (int size = kSmallestSize; size <= kLargestSize; size *= 2) {
    if (works(size)) sizes += (sizes.empty() ? "" : ", ") + std::to_string(size);
  }
  return AResult::Fail(from_.path() + ": an image of " + std::to_string(options_.size) +
                       " pixels a line cannot be made; sizes that work are " + sizes);
}

AResult Imager::SettleCell() {
  image_.cell = options_.cell;
  if (image_.cell > 0) return AResult::Ok();
  double longest = -1;
  AResult result = data_.ForEach(options_, "Measuring baselines...", [&](const SelectedVisibility& visibility) {
    longest = std::max(longest, std::hypot(visibility.u, visibility.v));
  });
  if (!result) return result;
  if (longest < 0) return data_.NothingValid(options_);
  if (longest == 0) return AResult::Fail(from_.path() + ": u and v are 0 everywhere, so a cell has to be named");
  image_.cell = RoundedDown(1 / (kCellsPerFringe * longest));
  return AResult::Ok();
}

AResult Imager::Weigh() {
  if (options_.weighting != ImageOptions::Uniform) return AResult::Ok();
  if (!density_.Create(options_.size, image_.cell)) return NoMemory();
  return data_.ForEach(options_, "Weighing visibilities...", [&](const SelectedVisibility& visibility) {
    if (grid_.Holds(visibility.u, visibility.v)) density_.Add(visibility.u, visibility.v, visibility.value.weight);
  });
}

AResult Imager::FillGrid() {
  double longest = 0;
  AResult result = data_.ForEach(options_, "Gridding visibilities...", [&](const SelectedVisibility& visibility) {
    const double u = visibility.u, v = visibility.v;
    longest = std::max({longest, std::fabs(u), std::fabs(v)});
    if (!grid_.Holds(u, v)) {
      ++image_.beyond;
      return;
    }
    const double density = options_.weighting == ImageOptions::Uniform ? density_(u, v) : 1.0;
    grid_.Add(u, v, {visibility.value.re, visibility.value.im}, visibility.value.weight / density);
    ++image_.visibilities;
    lowest_ = std::min(lowest_, visibility.frequency - visibility.width / 2);
    highest_ = std::max(highest_, visibility.frequency + visibility.width / 2);
  });
  if (!result || grid_.sumOfWeights() > 0) return result;
  if (image_.beyond == 0) return data_.NothingValid(options_);
  return AResult::Fail(from_.path() + ": with cells of " + RoundedNumber(image_.cell / kRadiansPerMas, 4) +
                       " mas no visibility lies on the grid; at most " +
                       RoundedNumber(UVGrid::LargestCell(options_.size, longest) / kRadiansPerMas, 4) +
                       " mas serve all of them");
}

void Imager::Describe() {
  const AUVXSourceItem& source = data_.source();
  const AUVXHeader& header = data_.contents().header();
  image_.source = source.Name();
  const SkyPosition position = data_.contents().PositionOf(source);
  image_.ra = position.ra;
  image_.dec = position.dec;
  image_.equinox = position.equinox;
  if (const std::string unit = data_.unit(); !unit.empty()) image_.unit = unit + "/beam";
  image_.stokes = data_.polarisations()[0].mix;
  image_.polarisation = data_.polarisations()[0].name;
  image_.frequency = (lowest_ + highest_) / 2;
  image_.bandwidth = highest_ - lowest_;
  image_.dateObs = header.info.dateObs;
  image_.telescope = FieldText(header.info.telescope, sizeof header.info.telescope);
  image_.observer = FieldText(header.info.observer, sizeof header.info.observer);
  image_.weighting = options_.weighting;
}

}  // namespace

AResult ImageUVX(AUVXInput& from, const ImageOptions& options, DirtyImage& image) {
  return Imager(from, options, image).Run();
}

ImagePeak FindPeak(const DirtyImage& image) {
  const int size = image.map.Lines();
  if (size == 0) return {};
  const float* first = image.map.Line(0);
  const float* peak = std::max_element(first, first + static_cast<std::ptrdiff_t>(size) * size);
  const auto place = static_cast<int>(peak - first);
  return {*peak, (size / 2 - place % size) * image.cell, (place / size - size / 2) * image.cell};
}

}  // namespace zeltra
