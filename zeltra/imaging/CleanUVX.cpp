// SPDX-License-Identifier: MIT
#include "zeltra/imaging/CleanUVX.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/SplitAtCommasInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/image/UVGridInternal.h"
#include "zeltra/imaging/DirtyImageInternal.h"
#include "zeltra/imaging/MinorCycleInternal.h"
#include "zeltra/imaging/RestoreInternal.h"

namespace zeltra {
namespace {

constexpr std::string_view kSigma = "sigma", kNegative = "negative", kFlux = "flux=";
constexpr ASuffix kFluxSuffixes[] = {{"uJy", 1e-6}, {"mJy", 1e-3}, {"Jy", 1}};
// The sigma of a normal distribution over its median absolute deviation.
constexpr double kSigmaPerMAD = 1.4826;
// A minor cycle goes down at least to this fraction of its peak, however large the sidelobes of the beam are: those of
// a regular u, v plane are as large as its centre.
constexpr double kLeastDepth = 0.8;
// Widths of a beam, radians.
constexpr double kNarrowest = 1e-12, kWidest = 1;
// Cycles in a row in which the rms of the image has to grow to count as divergence.
constexpr int kMostWorse = 3;
// A fraction of the initial rms; what is left below that is rounding.
constexpr double kRounding = 1e-6;
// Components found between two calls of the progress control.
constexpr int kPatience = 64;
constexpr char kStep[] = "Finding components...";

// AIPS calls the unit of visibilities this until their flux density scale is set; components are in Jy all the same.
bool IsUncalibrated(const std::string& unit) {
  return unit == "UNCALIB/beam";
}

double SigmaOf(const AMatrix<float>& map) {
  const size_t count = static_cast<size_t>(map.Lines()) * static_cast<size_t>(map.LineLength());
  std::vector<float> values(map.Line(0), map.Line(0) + count);
  const auto middle = values.begin() + static_cast<ptrdiff_t>(count / 2);
  std::nth_element(values.begin(), middle, values.end());
  const float median = *middle;
  for (float& value : values) value = std::fabs(value - median);
  std::nth_element(values.begin(), middle, values.end());
  return kSigmaPerMAD * *middle;
}

// The largest value of a beam outside the ellipse with twice its widths, within which the main lobe lies.
double LargestSidelobe(const AMatrix<float>& beam, const ABeamShape& shape, double cell) {
  const int size = beam.Lines(), center = size / 2;
  const double sine = std::sin(shape.angle * kRadiansPerDegree), cosine = std::cos(shape.angle * kRadiansPerDegree);
  double largest = 0;
  for (int i = 0; i < size; ++i) {
    for (int j = 0; j < size; ++j) {
      const double east = (center - j) * cell, north = (i - center) * cell;
      const double along = (east * sine + north * cosine) / shape.major;
      const double across = (east * cosine - north * sine) / shape.minor;
      if (along * along + across * across > 1) largest = std::max<double>(largest, std::fabs(beam(i, j)));
    }
  }
  return largest;
}

class Cleaner {
 public:
  Cleaner(AUVXInput& from, const CleanOptions& options, CleanImage& image)
      : from_(from), options_(options), image_(image), imager_(from, options, image) {}
  AResult Run();

 private:
  AResult OpenWindows();
  AResult ChooseBeam();
  AResult FillMask();
  AResult MakeWideBeam();
  // Bytes of an image of floats.
  int64 Pixels() const { return int64{options_.size} * options_.size * static_cast<int64>(sizeof(float)); }
  // Bytes besides map, beam and grids: the residual image, its copy that is searched, the places of components, and
  // room for the components.
  int64 Held() const { return 4 * Pixels(); }
  AResult Subtract(const ComponentModel& model);
  AResult MakeResidual();
  AResult Transform(UVGrid& grid);
  AResult Clean();
  AResult Cycle(bool& isOver);
  AResult FindComponents(MinorCycle& minor, double peak, double level, bool& isOver);
  double Depth() const { return std::min(sidelobe_, kLeastDepth); }
  void Take(int line, int element, double flux);
  bool IsDiverging();
  bool IsFluxReached() const;
  AResult Return();
  void Grow();
  double Level() const;
  std::string LevelText() const;
  void Advance(double peak, double level);
  AResult Finish();
  AResult Fail(const std::string& what) const { return AResult::Fail(from_.path() + ": " + what); }
  AResult NoMemory() const { return Fail("there is no memory for this image"); }
  AResult Cancelled() const { return AResult::Cancel(from_.path() + ": cancelled while it was cleaned"); }

  AUVXInput& from_;
  const CleanOptions options_;
  CleanImage& image_;
  ComponentModel start_;
  std::vector<CleanBox> boxes_;
  DirtyImager imager_;
  UVGrid sky_;  // what is left of the visibilities
  CleanMask mask_;
  AMatrix<float> wide_;  // the beam of an image twice as wide; empty if the mask does not need it
  ABeamShape dirty_;     // of the weights
  double sidelobe_ = 0;
  AMatrix<int> places_;  // of the components of pixels in the list, from 1; 0 where there is none
  std::vector<ModelComponent> found_;
  std::vector<double> added_;         // to the flux of each in this cycle
  std::vector<ModelComponent> best_;  // in the cycle with the lowest rms
  double firstRms_ = 0, lowestRms_ = HUGE_VAL, lastRms_ = HUGE_VAL, rms_ = HUGE_VAL;
  int worse_ = 0;
  double firstPeak_ = 0;
  double flux_ = 0;  // of all components, including those to begin with
  int percent_ = -1;
};

AResult Cleaner::Run() {
  image_ = CleanImage();
  if (AResult result = OpenWindows(); !result) return result;
  if (!options_.model.empty()) {
    if (AResult result = start_.Open(options_.model); !result) return result;
  }
  if (AResult result = imager_.Run(&sky_, Held()); !result) return result;
  if (AResult result = ChooseBeam(); !result) return result;
  if (AResult result = FillMask(); !result) return result;
  if (AResult result = Clean(); !result) return result;
  return Finish();
}

AResult Cleaner::OpenWindows() {
  const CleanStop& stop = options_.stop;
  if (!(options_.gain > 0 && options_.gain <= 1)) return Fail("the gain of CLEAN is above 0 and at most 1");
  if (options_.iterations < 0) return Fail("the number of iterations is at least 0");
  if (!(stop.sigmas >= 0) || !(stop.level >= 0)) return Fail("CLEAN stops at a level of at least 0");
  boxes_ = options_.boxes;
  return options_.windows.empty() ? AResult::Ok() : ReadBoxes(options_.windows, boxes_);
}

AResult Cleaner::ChooseBeam() {
  if (!(image_.shape.major > 0))
    return Fail(
        "all visibilities lie on one line through the origin of the u, v plane, so "
        "there is no beam");
  if (image_.unit.empty() || IsUncalibrated(image_.unit)) image_.unit = "Jy/beam";
  sidelobe_ = LargestSidelobe(image_.beam, image_.shape, image_.cell);
  dirty_ = image_.shape;
  if (options_.beam.major > 0) image_.shape = options_.beam;
  return AResult::Ok();
}

AResult Cleaner::FillMask() {
  const int size = options_.size;
  if (!mask_.Create(size) || !places_.reSize(size, size)) return NoMemory();
  int taken = 0;
  for (const CleanBox& box : boxes_) taken += mask_.TakeBox(box, image_.cell);
  if (taken == 0 && !boxes_.empty()) return Fail("the centre of no pixel lies within a window");
  const bool isAutomatic = options_.automatic > 0;
  if (boxes_.empty() && !isAutomatic) mask_.TakeInnerQuarter();
  return isAutomatic || mask_.Extent() > size / 2 ? MakeWideBeam() : AResult::Ok();
}

AResult Cleaner::MakeWideBeam() {
  const ImageTask task = {ImageTask::WideBeam, image_.cell, {}};
  // Map and beam count too. The wide beam comes with a map, and each of these has four times the pixels.
  const int64 held = Held() + UVGrid::Bytes(options_.size) + 10 * Pixels();
  if (AResult result = imager_.CheckMemory("the beam of windows beyond the inner quarter of the image, twice as wide,",
                                           held + imager_.parts().Bytes(task));
      !result) {
    return result;
  }
  imager_.parts().SetHeld(held);
  ImageSums sums;
  AResult result = imager_.parts().Run(task, "Making a wider beam...", sums);
  if (!result) return result;
  AMatrix<float> nothing;
  if (!sums.grid.Transform(nothing, wide_, options_.threads, options_.cancel)) return NoMemory();
  return IsCancelled(options_) ? Cancelled() : AResult::Ok();
}

AResult Cleaner::Subtract(const ComponentModel& model) {
  if (model.components().empty()) return AResult::Ok();
  ImageSums sums;
  AResult result = imager_.parts().Run({ImageTask::Model, image_.cell, model}, kStep, sums, true);
  if (result) sky_.Add(sums.grid);
  return result;
}

AResult Cleaner::MakeResidual() {
  UVGrid grid;
  if (!grid.Create(sky_)) return NoMemory();
  if (AResult result = Transform(grid); !result) return result;
  ++image_.cycles;
  return AResult::Ok();
}

AResult Cleaner::Transform(UVGrid& grid) {
  AMatrix<float> beam;
  if (!grid.Transform(image_.residual, beam, options_.threads, options_.cancel)) return NoMemory();
  if (IsCancelled(options_)) return Cancelled();
  rms_ = RMSOfSky(image_.residual, image_.cell);
  image_.sigma = SigmaOf(image_.residual);
  return AResult::Ok();
}

double Cleaner::Level() const {
  return std::max(options_.stop.level, options_.stop.sigmas * image_.sigma);
}

std::string Cleaner::LevelText() const {
  const CleanStop& stop = options_.stop;
  const std::string level = RoundedNumber(Level(), 3) + (image_.unit.empty() ? "" : " " + image_.unit);
  return stop.sigmas * image_.sigma < stop.level ? level : RoundedNumber(stop.sigmas, 3) + " sigma, " + level;
}

AResult Cleaner::Clean() {
  SendProgressText(options_.progress, kStep);
  SendProgressRange(options_.progress);
  flux_ = start_.Flux();
  if (AResult result = Subtract(start_); !result) return result;
  if (AResult result = MakeResidual(); !result) return result;
  for (bool isOver = false; !isOver;) {
    if (AResult result = Cycle(isOver); !result) return result;
  }
  return AResult::Ok();
}

// One minor cycle and the exact residuals after it.
AResult Cleaner::Cycle(bool& isOver) {
  isOver = true;
  if (IsDiverging()) return Return();
  if (options_.automatic > 0) Grow();
  MinorCycle minor(wide_.Lines() > 0 ? wide_ : image_.beam, mask_);
  const double peak = minor.Load(image_.residual, options_.isPositive), level = Level();
  if (firstPeak_ == 0) firstPeak_ = peak;
  if (!(peak > level)) {
    image_.ending = LevelText();
    if (image_.iterations == 0 && options_.iterations > 0) {
      image_.remarks.push_back("no pixel exceeds the level at which CLEAN ends, " + image_.ending +
                               ", so it finds nothing; --stop sets another one");
    }
    return AResult::Ok();
  }
  added_.assign(found_.size(), 0);
  if (AResult result = FindComponents(minor, peak, level, isOver); !result) return result;
  ComponentModel change;
  for (size_t i = 0; i < found_.size(); ++i) {
    if (added_[i] == 0) continue;
    change.components().push_back(found_[i]);
    change.components().back().flux = added_[i];
  }
  if (change.components().empty()) return AResult::Ok();
  if (AResult result = Subtract(change); !result) return result;
  return MakeResidual();
}

// Finds components in the image that `minor` has loaded.
// @param isOver  whether CLEAN ends with them
AResult Cleaner::FindComponents(MinorCycle& minor, double peak, double level, bool& isOver) {
  const MinorCycle::Limits limits = {options_.gain, std::max(level, Depth() * peak),
                                     options_.iterations - image_.iterations, options_.isPositive,
                                     options_.stop.isNegative};
  const MinorCycle::End end = minor.Run(limits, [&](int line, int element, double flux) {
    if (image_.iterations % kPatience == 0) Advance(std::fabs(flux) / options_.gain, level);
    Take(line, element, flux);
    return !IsCancelled(options_) && !IsFluxReached();
  });
  isOver = end != MinorCycle::AtLevel;
  if (end == MinorCycle::Stopped && !IsFluxReached()) return Cancelled();
  if (end == MinorCycle::Stopped) image_.ending = RoundedNumber(options_.stop.flux, 4) + " Jy in components";
  if (end == MinorCycle::AtNegative) image_.ending = "the first negative component";
  if (end == MinorCycle::AtIterations) image_.ending = std::to_string(options_.iterations) + " iterations";
  return AResult::Ok();
}

// Adds a component at a pixel to those found.
void Cleaner::Take(int line, int element, double flux) {
  int& place = places_(line, element);
  if (place == 0) {
    ModelComponent component;
    component.x = (options_.size / 2 - element) * image_.cell;
    component.y = (line - options_.size / 2) * image_.cell;
    component.frequency = image_.frequency;
    found_.push_back(component);
    added_.push_back(0);
    place = static_cast<int>(found_.size());
  }
  found_[static_cast<size_t>(place - 1)].flux += flux;
  added_[static_cast<size_t>(place - 1)] += flux;
  flux_ += flux;
  ++image_.iterations;
}

bool Cleaner::IsFluxReached() const {
  const double wanted = options_.stop.flux;
  return wanted != 0 && (wanted > 0 ? flux_ >= wanted : flux_ <= wanted);
}

bool Cleaner::IsDiverging() {
  if (firstRms_ == 0) firstRms_ = rms_;
  // What is left of a noise-free source in the end is rounding, which comes and goes.
  worse_ = rms_ > lastRms_ && rms_ > kRounding * firstRms_ ? worse_ + 1 : 0;
  lastRms_ = rms_;
  if (rms_ < lowestRms_) {
    lowestRms_ = rms_;
    best_ = found_;
  }
  return worse_ >= kMostWorse;
}

// Goes back to the best cycle.
AResult Cleaner::Return() {
  ComponentModel change;
  for (size_t i = 0; i < found_.size(); ++i) {
    const double flux = (i < best_.size() ? best_[i].flux : 0) - found_[i].flux;
    if (flux == 0) continue;
    change.components().push_back(found_[i]);
    change.components().back().flux = flux;
  }
  found_ = best_;
  image_.ending = "divergence";
  image_.remarks.push_back(
      "CLEAN diverges: the rms of the image grew in " + std::to_string(kMostWorse) +
      " cycles in a row, so the result is that of the best cycle; windows and a smaller gain help");
  if (AResult result = Subtract(change); !result) return result;
  return MakeResidual();
}

// Extends automatic windows to whatever stands out now, by half a beam around it.
void Cleaner::Grow() {
  const AMatrix<float>& map = image_.residual;
  const auto [lowest, highest] = std::minmax_element(map.Line(0), map.Line(map.Lines()));
  const double peak = options_.isPositive ? *highest : std::max(*highest, -*lowest);
  const double level = std::max(options_.automatic * image_.sigma, Depth() * peak);
  const double major = dirty_.major / 2 / image_.cell, minor = dirty_.minor / 2 / image_.cell;
  const double sine = std::sin(dirty_.angle * kRadiansPerDegree);
  const double cosine = std::cos(dirty_.angle * kRadiansPerDegree);
  mask_.TakeAbove(image_.residual, level, options_.isPositive, std::hypot(major * sine, minor * cosine),
                  std::hypot(major * cosine, minor * sine));
}

// Tells the progress control how far the peak has come down, on the way from the first peak to the level.
void Cleaner::Advance(double peak, double level) {
  const double way = std::log(firstPeak_ / std::max(level, 1e-6 * firstPeak_));
  const double done = way > 0 ? std::log(firstPeak_ / peak) / way : 1;
  const double counted = static_cast<double>(image_.iterations) / options_.iterations;
  constexpr int64 kSteps = 1000;
  SendProgress(options_.progress, std::lround(kSteps * std::clamp(std::max(done, counted), 0.0, 1.0)), kSteps,
               percent_);
}

AResult Cleaner::Finish() {
  image_.components = start_;
  for (const ModelComponent& component : found_) {
    if (component.flux != 0) image_.components.components().push_back(component);
  }
  // All components are subtracted at once, so that the residuals carry no rounding of the cycles.
  ImageSums sums;
  AResult result = imager_.parts().Run({ImageTask::Sky, image_.cell, image_.components}, kStep, sums, true);
  if (!result) return result;
  image_.chi2 = sums.counts.chi2;
  if (result = Transform(sums.grid); !result) return result;
  image_.rms = rms_;
  image_.map = image_.residual;
  if (image_.map.Lines() == 0) return NoMemory();
  if (!Restore(image_.components, image_.shape, image_.cell, image_.map)) return NoMemory();
  image_.history.AddHistory(CleanDescription().Command(options_));
  return AResult::Ok();
}

}  // namespace

AResult strToStop(const std::string& text, CleanStop& stop) {
  if (stop.isDefault) stop = {0, 0, 0, false, false};
  for (const std::string& word : SplitAtCommas(text)) {
    if (word == kNegative) {
      stop.isNegative = true;
    } else if (word.starts_with(kFlux)) {
      if (AResult result = strToVal(word.substr(kFlux.size()), kFluxSuffixes, stop.flux); !result) return result;
    } else if (word.ends_with(kSigma)) {
      if (AResult result = strToVal(word.substr(0, word.size() - kSigma.size()), stop.sigmas); !result) return result;
    } else if (AResult result = strToVal(word, kFluxSuffixes, stop.level); !result) {
      return result;
    }
  }
  const bool isGood = stop.sigmas >= 0 && stop.level >= 0 && std::isfinite(stop.sigmas + stop.level + stop.flux);
  return isGood ? AResult::Ok() : AResult::Fail("'" + text + "' is not a level to stop at, as in 3sigma or 5mJy");
}

std::string stopToStr(const CleanStop& stop) {
  std::string text;
  const auto add = [&text](const std::string& word) { text += (text.empty() ? "" : ",") + word; };
  if (stop.sigmas > 0) add(valToStr(stop.sigmas) + std::string(kSigma));
  if (stop.level > 0) add(valToStr(stop.level) + "Jy");
  if (stop.flux != 0) add(std::string(kFlux) + valToStr(stop.flux) + "Jy");
  if (stop.isNegative) add(std::string(kNegative));
  return text.empty() ? "0" : text;
}

AResult strToBeam(const std::string& text, ABeamShape& beam) {
  beam = {};
  if (text == "auto") return AResult::Ok();
  const std::vector<std::string> words = SplitAtCommas(text);
  if (words.size() != 3) return AResult::Fail("'" + text + "' is neither auto nor a beam like 1.4,0.6,-7");
  double major, minor;
  if (AResult result = strToVal(words[0], kAngleSuffixes, major); !result) return result;
  if (AResult result = strToVal(words[1], kAngleSuffixes, minor); !result) return result;
  if (AResult result = strToVal(words[2], beam.angle); !result) return result;
  beam.major = std::max(major, minor) * kRadiansPerMas;
  beam.minor = std::min(major, minor) * kRadiansPerMas;
  if (minor > major) beam.angle += beam.angle > 0 ? -90 : 90;
  const bool isGood = beam.minor >= kNarrowest && beam.major <= kWidest && std::fabs(beam.angle) <= 360;
  return isGood ? AResult::Ok() : AResult::Fail("'" + text + "': no beam has such widths or such an angle");
}

std::string beamToStr(const ABeamShape& beam) {
  if (!(beam.major > 0)) return {};
  constexpr int kDigits = 12;
  return RoundedNumber(beam.major / kRadiansPerMas, kDigits) + "," +
         RoundedNumber(beam.minor / kRadiansPerMas, kDigits) + "," + RoundedNumber(beam.angle, kDigits);
}

AResult CleanUVX(AUVXInput& from, const CleanOptions& options, CleanImage& image) {
  try {
    return from.Settle(Cleaner(from, options, image).Run());
  } catch (const std::bad_alloc&) {
    return AResult::Fail(from.path() + ": there is not enough memory to clean its image");
  }
}

}  // namespace zeltra
