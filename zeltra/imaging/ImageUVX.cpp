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

// Whether direction cosines belong to a direction: the corners of the widest fields lie beyond the horizon.
bool IsOnSky(double l, double m) {
  return l * l + m * m < 1;
}

}  // namespace

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

namespace {

class Imager {
 public:
  Imager(AUVXInput& from, const ImageOptions& options, DirtyImage& image, const GriddedVisitor& visit)
      : from_(from), options_(options), image_(image), visit_(visit), data_(from) {}
  AResult Run();

 private:
  AResult CheckOptions() const;
  AResult CheckMemory() const;
  AResult ChooseCell();
  AResult MakeImage();
  AResult Weigh();
  AResult FillGrid();
  AResult NothingGridded(double longest);
  void Describe();
  void Remark();
  AResult Fail(const std::string& what) const { return AResult::Fail(from_.path() + ": " + what); }
  std::string SizeText() const;
  AResult NoMemory() const { return Fail("there is no memory for " + SizeText()); }

  AUVXInput& from_;
  const ImageOptions options_;
  DirtyImage& image_;
  const GriddedVisitor& visit_;
  SelectedVisibilities data_;
  UVGrid grid_;
  GriddingWeights weights_;
  BeamSums sums_;
  double lowest_ = HUGE_VAL, highest_ = 0;  // edges of the channels used, Hz
  double largestW_ = 0, longest_ = 0;       // wavelengths
};

AResult Imager::Run() {
  image_ = DirtyImage();
  if (AResult result = CheckOptions(); !result) return result;
  if (AResult result = CheckMemory(); !result) return result;
  if (AResult result = data_.Select(options_.selection, SelectedVisibilities::TotalIntensity); !result) {
    return result;
  }
  if (AResult result = ChooseCell(); !result) return result;
  if (AResult result = MakeImage(); !result) return result;
  Describe();
  Remark();
  return AResult::Ok();
}

AResult Imager::MakeImage() {
  if (!grid_.Create(options_.size, image_.cell)) return NoMemory();
  if (!weights_.Create(options_.weighting, options_.size, image_.cell)) return NoMemory();
  if (AResult result = Weigh(); !result) return result;
  if (AResult result = FillGrid(); !result) return result;
  weights_ = GriddingWeights();  // frees memory that the image needs
  SendProgressText(options_.progress, "Transforming...");
  if (!grid_.Transform(image_.map, image_.beam, 0, options_.cancel)) return NoMemory();
  return IsCancelled(options_) ? AResult::Cancel(from_.path() + ": cancelled before its image was made")
                               : AResult::Ok();
}

std::string Imager::SizeText() const {
  const std::string size = std::to_string(options_.size);
  return "an image of " + size + " x " + size + " pixels";
}

AResult Imager::CheckOptions() const {
  if (options_.selection.stokes.size() > 1) return Fail("an image shows a single polarisation");
  if (!(options_.cell >= 0) || !std::isfinite(options_.cell)) return Fail("the cell of an image is larger than 0");
  if (AResult result = CheckWeighting(options_.weighting); !result) return Fail(result.message());
  const int size = options_.size;
  if (size >= kSmallestSize && size <= kLargestSize && size % 2 == 0) return AResult::Ok();
  return Fail(SizeText() + " cannot be made; sizes are even numbers from " + std::to_string(kSmallestSize) + " to " +
              std::to_string(kLargestSize));
}

AResult Imager::CheckMemory() const {
  const double needed = static_cast<double>(ImageMemory(options_)), free = static_cast<double>(FreeMemory());
  const double most = options_.memory > 0 ? options_.memory : free / 2;
  if (most == 0 || needed <= most) return AResult::Ok();
  const std::string limit = MemoryText(most) + (options_.memory > 0 ? "" : ", half of what is free,");
  return Fail(SizeText() + " takes " + MemoryText(needed) + " of memory, and " + limit + " may be taken");
}

AResult Imager::ChooseCell() {
  // The middle of the edge lies size / 2 cells from the centre, and the sky ends at l = 1.
  const double largest = 2.0 / options_.size;
  image_.cell = options_.cell;
  if (image_.cell >= largest) {
    return Fail(SizeText() + " with cells of " + AngleText(image_.cell) +
                " goes beyond the horizon; cells of at most " + AngleText(RoundedDown(largest)) + " do not");
  }
  if (image_.cell > 0) return AResult::Ok();
  double longest = -1;
  AResult result = data_.ForEach(options_, "Measuring baselines...", [&](const SelectedVisibility& visibility) {
    longest = std::max(longest, std::hypot(visibility.u, visibility.v));
  });
  if (!result) return result;
  if (longest < 0) return data_.NothingValid(options_);
  if (longest == 0) return Fail("u and v are 0 everywhere, so a cell has to be named");
  image_.cell = RoundedDown(std::min(1 / (kCellsPerFringe * longest), largest));
  return AResult::Ok();
}

AResult Imager::Weigh() {
  if (!weights_.isDensityNeeded()) return AResult::Ok();
  AResult result = data_.ForEach(options_, "Weighing visibilities...", [&](const SelectedVisibility& visibility) {
    if (grid_.Holds(visibility.u, visibility.v)) weights_.Add(visibility.u, visibility.v, visibility.value.weight);
  });
  weights_.Settle();
  return result;
}

AResult Imager::FillGrid() {
  double longest = 0;
  AResult result = data_.ForEach(options_, "Gridding visibilities...", [&](const SelectedVisibility& visibility) {
    const double u = visibility.u, v = visibility.v, w = visibility.group->w() * visibility.frequency;
    longest = std::max({longest, std::fabs(u), std::fabs(v)});
    if (!grid_.Holds(u, v)) {
      ++image_.beyond;
      return;
    }
    const double weight = weights_(u, v, visibility.value.weight);
    grid_.Add(u, v, {visibility.value.re, visibility.value.im}, weight);
    sums_.Add(u, v, weight, visibility.value.weight);
    if (visit_) visit_(visibility, weight);
    ++image_.visibilities;
    if (std::isfinite(w)) largestW_ = std::max(largestW_, std::fabs(w));
    longest_ = std::max(longest_, std::hypot(u, v));
    lowest_ = std::min(lowest_, visibility.frequency - visibility.width / 2);
    highest_ = std::max(highest_, visibility.frequency + visibility.width / 2);
  });
  return !result || sums_.sumOfWeights() > 0 ? result : NothingGridded(longest);
}

AResult Imager::NothingGridded(double longest) {
  if (image_.visibilities > 0) return Fail("the taper leaves nothing of the weights");
  if (image_.beyond == 0) return data_.NothingValid(options_);
  return Fail("with cells of " + AngleText(image_.cell) + " no visibility lies on the grid; at most " +
              AngleText(UVGrid::LargestCell(options_.size, longest)) + " serve all of them");
}

void Imager::Describe() {
  const AUVXSourceItem& source = data_.source();
  const AUVXHeader& header = data_.contents().header();
  const AUVXHeaderCards& cards = data_.contents().cards();
  image_.source = cards.ObjectOf(source.Name());
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
  image_.timeScale = data_.contents().timeScale();
  image_.telescope = cards.Find("TELESCOP").value_or(FieldText(header.info.telescope, sizeof header.info.telescope));
  image_.observer = FieldText(header.info.observer, sizeof header.info.observer);
  image_.weighting = options_.weighting;
  for (int i = 0; i < cards.count(); ++i) {
    if (KeywordOf(cards(i)) == "HISTORY") image_.history.Add(cards(i));
  }
  image_.shape = sums_.Shape();
  image_.noise = sums_.Noise();
  image_.rms = RMSOfSky(image_.map, image_.cell);
}

void Imager::Remark() {
  if (!(image_.shape.major > 0)) {
    image_.remarks.push_back("there is no beam: all visibilities lie on one line through the origin of the u, v plane");
  }
  // Some programs leave w at 0; it may then be as long as a baseline.
  if (largestW_ == 0) largestW_ = longest_;
  const auto phase = [this](double l) { return kTwoPi * largestW_ * (1 - std::sqrt(1 - l * l)); };
  const double atEdge = phase(options_.size / 2 * image_.cell);
  if (!(atEdge > kSuspiciousPhase)) return;
  const double n = 1 - kSuspiciousPhase / (kTwoPi * largestW_);
  image_.remarks.push_back("w is not corrected for: at the edges of the field phases are wrong by up to " +
                           RoundedNumber(atEdge, 2) + " radians, within " + AngleText(std::acos(n), 2) +
                           " of the centre by less than " + RoundedNumber(kSuspiciousPhase, 2));
}

}  // namespace

AResult MakeDirtyImage(AUVXInput& from, const ImageOptions& options, DirtyImage& image, const GriddedVisitor& visit) {
  return Imager(from, options, image, visit).Run();
}

AResult ImageUVX(AUVXInput& from, const ImageOptions& options, DirtyImage& image) {
  AResult result = from.Settle(MakeDirtyImage(from, options, image, {}));
  if (result) image.history.AddHistory(ImageDescription().Command(options));
  return result;
}

int64 ImageMemory(const ImageOptions& options) {
  const int64 pixels = int64{options.size} * options.size;
  const int64 images = pixels * 2 * static_cast<int64>(sizeof(float));
  return UVGrid::Bytes(options.size) + std::max(images, GriddingWeights::Bytes(options.weighting, options.size));
}

std::string MemoryText(double bytes) {
  return bytes < 1e9 ? RoundedNumber(bytes / 1e6, 2) + " MB" : RoundedNumber(bytes / 1e9, 2) + " GB";
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
