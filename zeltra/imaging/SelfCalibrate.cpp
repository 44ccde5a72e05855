// SPDX-License-Identifier: MIT
#include "zeltra/imaging/SelfCalibrate.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "zeltra/calibration/ApplyGains.h"
#include "zeltra/calibration/VisibilityList.h"
#include "zeltra/core/OutputFilesInternal.h"
#include "zeltra/core/SplitAtCommasInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/ops/CopyUVX.h"
#include "zeltra/platform/System.h"

namespace zeltra {
namespace {

constexpr std::pair<const char*, GainMode> kModes[] = {
    {"p", GainMode::Phase}, {"ap", GainMode::Complex}, {"a", GainMode::Amplitude}};
// Bounds for the interval of a step, seconds.
constexpr double kShortestInterval = 0.001, kLongestInterval = 1e6;
// The model is in error if chi^2 of the closure phases grows by more than this factor.
constexpr double kWorse = 1.002;

AResult ReadStep(const std::string& word, SelfCalStep& step) {
  const size_t colon = std::min(word.find(':'), word.size());
  const auto mode = std::find_if(std::begin(kModes), std::end(kModes),
                                 [&](const auto& known) { return word.compare(0, colon, known.first) == 0; });
  if (mode == std::end(kModes)) return AResult::Fail("'" + word + "' is not a step like p, ap:600 or a:60");
  step = {mode->second, -1};
  if (colon == word.size()) return AResult::Ok();
  if (AResult result = strToVal(word.substr(colon + 1), step.interval); !result) return result;
  const bool isInRange = step.interval >= kShortestInterval && step.interval <= kLongestInterval;
  return isInRange ? AResult::Ok() : AResult::Fail("'" + word + "': an interval is from 0.001 to 1000000 seconds");
}

// Corrected visibilities that wait for the next round. Where open files can be removed, nothing is left of them
// whatever happens.
struct Stage {
  Stage(const std::string& from, const JobOptions& options) : files(from, options) {}
  ~Stage() {
    if (!copy.empty()) RemoveFile(copy);
  }

  OutputFiles files;
  std::string copy;  // the name of a file that is not one of `files`
  AUVXInput input;
};

// Whether a selection leaves out records or values of records.
bool IsPart(const UVXSelection& selection) {
  return !selection.sources.empty() || selection.setup || !selection.scans.empty() || !selection.antennas.empty() ||
         !selection.baselines.empty() || selection.start || selection.stop || !selection.IFs.empty() ||
         !selection.channels.empty();
}

class SelfCalibrator {
 public:
  SelfCalibrator(AUVXInput& from, const std::string& to, const SelfCalOptions& options,
                 const std::function<void(const SelfCalRound&)>& told, CleanImage& image)
      : from_(from), to_(to), options_(options), told_(told), image_(image), current_(&from) {}

  AResult Run();
  // The last stage, complete but without its name.
  OutputFiles& files() { return stage_->files; }

 private:
  AResult Separate();
  AResult Open(Stage& stage, const std::string& temporary, bool isKept);
  AResult Look(int number);
  AResult TakeModel(SelfCalRound& round);
  AResult Step(size_t number);
  AResult Next(const AGains& gains, const SelfCalStep& step, bool isLast);
  void Compare(const SelfCalRound& round);
  SolveOptions Solving(const SelfCalStep& step) const;

  AUVXInput& from_;
  const std::string to_;
  SelfCalOptions options_;
  const std::function<void(const SelfCalRound&)>& told_;
  CleanImage& image_;
  AUVXInput* current_;
  std::unique_ptr<Stage> stage_;
  ComponentModel model_;
  SolveReport report_;
  SelfCalRound last_;
  std::vector<std::string> remarks_;
};

AResult SelfCalibrator::Run() {
  if (options_.steps.empty()) return AResult::Fail(from_.path() + ": no step of self-calibration is named");
  if (AResult result = Separate(); !result) return result;
  SelectedVisibilities data(*current_);
  AResult selected = data.Select(options_.selection, SelectedVisibilities::TotalIntensity);
  if (selected) selected = CheckModelled(from_.path(), data.polarisations());
  if (!selected) return current_->Settle(selected);
  for (size_t i = 0; i < options_.steps.size(); ++i) {
    if (AResult result = Look(static_cast<int>(i)); !result) return result;
    if (AResult result = Step(i); !result) return result;
  }
  if (AResult result = Look(static_cast<int>(options_.steps.size())); !result) return result;
  image_.remarks.insert(image_.remarks.end(), remarks_.begin(), remarks_.end());
  return AResult::Ok();
}

// The model of the next step, and how well it fits.
AResult SelfCalibrator::Look(int number) {
  SelfCalRound round;
  round.number = number;
  if (number > 0) {
    round.step = stepToStr(options_.steps[static_cast<size_t>(number - 1)]);
    round.solved = report_.solved();
    round.failed = report_.failed();
  }
  if (number == 0 && !options_.model.empty()) {
    if (AResult result = TakeModel(round); !result) return current_->Settle(result);
  } else {
    CleanOptions cleaning = options_;
    cleaning.model.clear();
    if (AResult result = CleanUVX(*current_, cleaning, image_); !result) return result;
    model_ = image_.components;
    round.visibilities = image_.visibilities;
    round.chi2 = image_.chi2;
    round.peak = FindPeak(image_).value;
    round.rms = image_.rms;
    round.dynamicRange = image_.rms > 0 ? round.peak / image_.rms : 0;
  }
  round.flux = model_.Flux();
  if (model_.components().empty()) {
    return AResult::Fail(from_.path() +
                         ": CLEAN finds no component to calibrate with; --stop sets a lower level, "
                         "--model a model to begin with");
  }
  if (AResult result = FitClosures(*current_, Solving({}), model_, round.closures); !result) return result;
  if (told_) told_(round);
  if (number > 0) Compare(round);
  last_ = round;
  return AResult::Ok();
}

AResult SelfCalibrator::TakeModel(SelfCalRound& round) {
  if (AResult result = model_.Open(options_.model); !result) return result;
  SelectedVisibilities data(*current_);
  VisibilityList list;
  AResult result = data.Select(options_.selection, SelectedVisibilities::TotalIntensity);
  if (result) result = list.Read(data, options_, options_.memory);
  if (result) result = list.Subtract(model_, options_);
  round.visibilities = static_cast<int64>(list.size());
  round.chi2 = list.Chi2();
  return result;
}

SolveOptions SelfCalibrator::Solving(const SelfCalStep& step) const {
  SolveOptions solving = options_.solving;
  static_cast<JobOptions&>(solving) = options_;
  solving.selection = options_.selection;
  solving.selection.stokes.clear();
  solving.mode = step.mode;
  solving.interval = step.interval;
  solving.components = model_;
  return solving;
}

AResult SelfCalibrator::Step(size_t number) {
  const SelfCalStep& step = options_.steps[number];
  AGains gains;
  if (AResult result = SolveGains(*current_, Solving(step), gains, report_); !result) return result;
  if (report_.solved() == 0) {
    return AResult::Fail(from_.path() + ": step " + std::to_string(number + 1) + " (" + stepToStr(step) +
                         ") finds no gain at all");
  }
  return Next(gains, step, number + 1 == options_.steps.size());
}

// Applies gains, and goes on with the result.
AResult SelfCalibrator::Next(const AGains& gains, const SelfCalStep& step, bool isLast) {
  ApplyOptions applying;
  static_cast<JobOptions&>(applying) = options_;
  applying.sync = options_.sync && isLast;
  applying.gains = "selfcal:" + stepToStr(step);
  applying.solution = &gains;
  auto next = std::make_unique<Stage>(from_.path(), applying);
  ApplySummary summary;
  if (AResult result = ApplyGains(*current_, to_, applying, &summary, next->files); !result) return result;
  if (isLast) remarks_.insert(remarks_.end(), summary.remarks.begin(), summary.remarks.end());
  if (AResult result = next->files.Complete(); !result) return result;
  if (AResult result = Open(*next, next->files.LastTemporary(), isLast); !result) return result;
  stage_ = std::move(next);
  current_ = &stage_->input;
  return AResult::Ok();
}

// Makes a file of what is selected, so that nothing uncorrected stands beside what is corrected.
AResult SelfCalibrator::Separate() {
  {
    OutputFiles probe(from_.path(), options_);
    OutputFile* output;
    if (AResult result = probe.Create(to_, output); !result) return result;
  }
  UVXSelection& selection = options_.selection;
  if (!IsPart(selection)) return AResult::Ok();
  CopyOptions copying;
  static_cast<JobOptions&>(copying) = options_;
  copying.sync = false;
  copying.selection = selection;
  copying.selection.stokes.clear();
  copying.selection.uvRange = {};
  auto next = std::make_unique<Stage>(from_.path(), options_);
  next->copy = TemporaryNameFor(to_);
  CopySummary summary;
  if (AResult result = CopyUVX(from_, next->copy, copying, &summary); !result) return result;
  remarks_ = summary.remarks;
  if (AResult result = Open(*next, next->copy, false); !result) return result;
  UVXSelection rest;
  rest.stokes = selection.stokes;
  rest.uvRange = selection.uvRange;
  selection = rest;
  stage_ = std::move(next);
  current_ = &stage_->input;
  return AResult::Ok();
}

// Opens what was written as the input of the next round.
AResult SelfCalibrator::Open(Stage& stage, const std::string& temporary, bool isKept) {
  auto file = std::make_unique<AInputFile>();
  if (AResult result = file->Open(temporary, from_.path()); !result) return result;
  if (!isKept) RemoveFile(temporary);
  return stage.input.Open(std::move(file), options_);
}

void SelfCalibrator::Compare(const SelfCalRound& round) {
  if (!(round.closures.Reduced() > kWorse * last_.closures.Reduced())) return;
  remarks_.push_back("the model after step " + std::to_string(round.number) + " (" + round.step +
                     ") fits closure phases worse than the one before, chi^2 for each " +
                     RoundedNumber(round.closures.Reduced(), 4) + " after " +
                     RoundedNumber(last_.closures.Reduced(), 4) +
                     ": no phase of an antenna changes them, so the model is in error");
}

}  // namespace

AResult strToSteps(const std::string& text, std::vector<SelfCalStep>& steps) {
  steps.clear();
  for (const std::string& word : SplitAtCommas(text)) {
    if (AResult result = ReadStep(word, steps.emplace_back()); !result) return result;
  }
  return AResult::Ok();
}

std::string stepToStr(const SelfCalStep& step) {
  std::string text;
  for (const auto& [name, mode] : kModes) {
    if (mode == step.mode) text = name;
  }
  return step.interval < 0 ? text : text + ":" + valToStr(step.interval);
}

AResult SelfCalibrate(AUVXInput& from, const std::string& to, const ImageNames& names, const SelfCalOptions& options,
                      const std::function<void(const SelfCalRound&)>& told,
                      const std::function<AResult(const CleanImage&, std::string&)>& draw, CleanImage& image) {
  for (const std::string& name : {names.map, names.beam, names.fits, names.picture, names.residual, names.model}) {
    if (!name.empty() && IsOneName(name, to)) return AResult::Fail(to + ": named twice");
  }
  ImageFiles files;
  if (AResult result = files.Create(names, from.path(), options); !result) return result;
  SelfCalibrator job(from, to, options, told, image);
  if (AResult result = job.Run(); !result) return from.Settle(result);
  std::string picture;
  if (draw && !names.picture.empty()) {
    if (AResult result = draw(image, picture); !result) return result;
  }
  if (AResult result = from.Settle(AResult::Ok()); !result) return result;
  if (AResult result = files.Store(image, picture); !result) return result;
  return job.files().Commit();
}

}  // namespace zeltra
