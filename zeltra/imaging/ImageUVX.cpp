// SPDX-License-Identifier: MIT
#include "zeltra/imaging/ImageUVX.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/image/UVGridInternal.h"
#include "zeltra/imaging/DirtyImageInternal.h"
#include "zeltra/platform/System.h"

namespace zeltra {
namespace {

constexpr int kSmallestSize = 16, kLargestSize = 8192;
constexpr double kCellsPerFringe = 5;
// Phase errors above this, radians, visibly spoil an image.
constexpr double kSuspiciousPhase = 0.1;

// Round `value` down to two significant digits in the unit that it is displayed in.
double RoundedDown(double value) {
  const double unit = AngleUnitFor(value).radians;
  const double step = std::pow(10.0, std::floor(std::log10(value / unit)) - 1);
  return std::floor(value / unit / step * (1 + 1e-12)) * step * unit;
}

// Round up to two significant digits.
double RoundedUp(double value) {
  const double step = std::pow(10.0, std::floor(std::log10(value)) - 1);
  return std::ceil(value / step) * step;
}

// Whether direction cosines belong to a direction: the corners of the widest fields lie beyond the horizon.
bool IsOnSky(double l, double m) {
  return l * l + m * m < 1;
}

}  // namespace

bool IsImageSize(int size) {
  return size >= kSmallestSize && size <= kLargestSize && size % 2 == 0;
}

double RMSOfSky(const AMatrix<float>& map, double cell) {
  const int size = map.Lines();
  double sum = 0;
  int64 pixels = 0;
  for (int i = 0; i < size; ++i) {
    const float* line = map.Line(i);
    for (int j = 0; j < size; ++j) {
      if (!IsOnSky((size / 2 - j) * cell, (i - size / 2) * cell)) continue;
      sum += double{line[j]} * line[j];
      ++pixels;
    }
  }
  return std::sqrt(sum / static_cast<double>(pixels));
}

AResult DirtyImager::Run(UVGrid* kept, int64 more) {
  image_ = DirtyImage();
  if (AResult result = CheckOptions(); !result) return result;
  if (AResult result = parts_.Open(); !result) return result;
  const ImageTask task = {ImageTask::Sky, 1, {}};
  const int64 grid = UVGrid::Bytes(options_.size), held = ImageMemory(options_) + more - (kept ? 0 : grid);
  if (AResult result = CheckMemory(ImageSizeText(options_), held + parts_.Bytes(task)); !result) return result;
  parts_.SetHeld(held);
  if (AResult result = ChooseCell(); !result) return result;
  if (AResult result = MakeImage(kept); !result) return result;
  Describe();
  Remark();
  return AResult::Ok();
}

AResult DirtyImager::MakeImage(UVGrid* kept) {
  if (AResult result = parts_.Weigh(image_.cell); !result) return result;
  ImageSums sums;
  AResult result = parts_.Run({ImageTask::Sky, image_.cell, {}}, "Gridding visibilities...", sums);
  if (!result) return result;
  counts_ = sums.counts;
  if (!(counts_.beam.sumOfWeights() > 0)) return NothingGridded();
  if (kept && !kept->Create(sums.grid)) return NoMemory();
  if (!kept) parts_.weights() = GriddingWeights();  // frees memory that the image needs
  SendProgressText(options_.progress, "Transforming...");
  if (!sums.grid.Transform(image_.map, image_.beam, options_.threads, options_.cancel)) return NoMemory();
  return IsCancelled(options_) ? AResult::Cancel(from_.path() + ": cancelled before its image was made")
                               : AResult::Ok();
}

AResult DirtyImager::CheckOptions() const {
  if (options_.selection.stokes.size() > 1) return Fail("an image shows a single polarisation");
  if (!(options_.cell >= 0) || !std::isfinite(options_.cell)) return Fail("the cell of an image is larger than 0");
  if (AResult result = CheckWeighting(options_.weighting); !result) return Fail(result.message());
  if (IsImageSize(options_.size)) return AResult::Ok();
  return Fail(ImageSizeText(options_) + " cannot be made; sizes are even numbers from " +
              std::to_string(kSmallestSize) + " to " + std::to_string(kLargestSize));
}

AResult DirtyImager::CheckMemory(const std::string& what, int64 needed) const {
  const double most = MostMemory(options_);
  if (most == 0 || static_cast<double>(needed) <= most) return AResult::Ok();
  const std::string limit = MemoryText(most) + (options_.memory > 0 ? "" : ", half of what is free,");
  return Fail(what + " takes " + MemoryText(RoundedUp(static_cast<double>(needed))) + " of memory, and " + limit +
              " may be taken");
}

AResult DirtyImager::ChooseCell() {
  // The middle of the edge lies size / 2 cells from the centre, and the sky ends at l = 1.
  const double largest = 2.0 / options_.size;
  image_.cell = options_.cell;
  if (image_.cell >= largest) {
    return Fail(ImageSizeText(options_) + " with cells of " + AngleText(image_.cell) +
                " goes beyond the horizon; cells of at most " + AngleText(RoundedDown(largest)) + " do not");
  }
  if (image_.cell > 0) return AResult::Ok();
  ImageSums sums;
  AResult result = parts_.Run({ImageTask::Baselines, 0, {}}, "Measuring baselines...", sums);
  if (!result) return result;
  const double longest = sums.counts.longest;
  if (longest < 0) return parts_.data().NothingValid(options_);
  if (longest == 0) return Fail("u and v are 0 everywhere, so a cell has to be named");
  image_.cell = RoundedDown(std::min(1 / (kCellsPerFringe * longest), largest));
  return AResult::Ok();
}

AResult DirtyImager::NothingGridded() {
  if (counts_.visibilities > 0) return Fail("the taper leaves nothing of the weights");
  if (counts_.beyond == 0) return parts_.data().NothingValid(options_);
  return Fail("with cells of " + AngleText(image_.cell) + " no visibility lies on the grid; at most " +
              AngleText(UVGrid::LargestCell(options_.size, counts_.farthest)) + " serve all of them");
}

void DirtyImager::Describe() {
  const SelectedVisibilities& data = parts_.data();
  const AUVXSourceItem& source = data.source();
  const AUVXHeader& header = data.contents().header();
  const AUVXHeaderCards& cards = data.contents().cards();
  image_.source = cards.ObjectOf(source.Name());
  const SkyPosition position = data.contents().PositionOf(source);
  image_.ra = position.ra;
  image_.dec = position.dec;
  image_.equinox = position.equinox;
  if (const std::string unit = data.unit(); !unit.empty()) image_.unit = unit + "/beam";
  image_.stokes = data.polarisations()[0].mix;
  image_.polarisation = data.polarisations()[0].name;
  image_.visibilities = counts_.visibilities;
  image_.beyond = counts_.beyond;
  image_.frequency = (counts_.lowest + counts_.highest) / 2;
  image_.bandwidth = counts_.highest - counts_.lowest;
  image_.dateObs = header.info.dateObs;
  image_.timeScale = data.contents().timeScale();
  image_.telescope = cards.Find("TELESCOP").value_or(FieldText(header.info.telescope, sizeof header.info.telescope));
  image_.observer = FieldText(header.info.observer, sizeof header.info.observer);
  image_.weighting = options_.weighting;
  for (int i = 0; i < cards.count(); ++i) {
    if (KeywordOf(cards(i)) == "HISTORY") image_.history.Add(cards(i));
  }
  image_.shape = counts_.beam.Shape();
  image_.noise = counts_.beam.Noise();
  image_.rms = RMSOfSky(image_.map, image_.cell);
}

void DirtyImager::Remark() {
  if (!(image_.shape.major > 0)) {
    image_.remarks.push_back("there is no beam: all visibilities lie on one line through the origin of the u, v plane");
  }
  // Some programs leave w at 0; the true w may be as long as a baseline.
  const double w = counts_.largestW == 0 ? counts_.longest : counts_.largestW;
  const auto phase = [w](double l) { return kTwoPi * w * (1 - std::sqrt(1 - l * l)); };
  const double atEdge = phase(options_.size / 2 * image_.cell);
  if (!(atEdge > kSuspiciousPhase)) return;
  const double n = 1 - kSuspiciousPhase / (kTwoPi * w);
  image_.remarks.push_back("w is not corrected for: at the edges of the field phases are wrong by up to " +
                           RoundedNumber(atEdge, 2) + " radians, within " + AngleText(std::acos(n), 2) +
                           " of the centre by less than " + RoundedNumber(kSuspiciousPhase, 2));
}

AResult ImageUVX(AUVXInput& from, const ImageOptions& options, DirtyImage& image) {
  AResult result = from.Settle(DirtyImager(from, options, image).Run());
  if (result) image.history.AddHistory(ImageDescription().Command(options));
  return result;
}

int64 ImageMemory(const ImageOptions& options) {
  const int64 pixels = int64{options.size} * options.size;
  const int64 images = pixels * 2 * static_cast<int64>(sizeof(float));
  return UVGrid::Bytes(options.size) + std::max(images, GriddingWeights::Bytes(options.weighting, options.size));
}

std::string MemoryText(double bytes) {
  if (bytes >= 1e9) return RoundedNumber(bytes / 1e9, 2) + " GB";
  const double megabytes = bytes / 1e6;
  return (megabytes < 99.5 ? RoundedNumber(megabytes, 2) : std::to_string(std::lround(megabytes / 10) * 10)) + " MB";
}

ImagePeak FindPeak(const DirtyImage& image) {
  const int size = image.map.Lines();
  if (size == 0) return {};
  ImagePeak peak = {image.map.Line(size / 2)[size / 2], 0, 0};
  for (int i = 0; i < size; ++i) {
    const float* line = image.map.Line(i);
    const double m = (i - size / 2) * image.cell;
    for (int j = 0; j < size; ++j) {
      const double l = (size / 2 - j) * image.cell;
      if (line[j] > peak.value && IsOnSky(l, m)) peak = {line[j], std::asin(l), std::asin(m)};
    }
  }
  return peak;
}

}  // namespace zeltra
