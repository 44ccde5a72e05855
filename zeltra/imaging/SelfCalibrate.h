// Calibrates a source with its own image.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_SELFCALIBRATE_H_
#define ZELTRA_IMAGING_SELFCALIBRATE_H_

#include <functional>
#include <string>
#include <vector>

#include "zeltra/calibration/ClosureFit.h"
#include "zeltra/calibration/SolveGains.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/imaging/CleanUVX.h"
#include "zeltra/imaging/ImageFiles.h"

namespace zeltra {

/// One solution for gains.
struct SelfCalStep {
  GainMode mode = GainMode::Phase;
  double interval = -1;  ///< seconds; negative: each time stamp
};

/// Read steps separated by commas, each a mode, p, ap or a, and after a colon the interval in seconds, as in
/// "p,p,ap:600".
ZELTRA_API AResult strToSteps(const std::string& text, std::vector<SelfCalStep>& steps);
ZELTRA_API std::string stepToStr(const SelfCalStep& step);

/// How images are made, and how gains are solved for. `model` is the model of the first step, in place of an image;
/// mode, interval, model and selection of `solving` do not matter.
struct SelfCalOptions : CleanOptions {
  std::vector<SelfCalStep> steps = {{}, {}};
  SolveOptions solving;
};

/// The data after a step, compared with the model that the next step uses.
struct SelfCalRound {
  int number = 0;    ///< steps before
  std::string step;  ///< the last of them, as in "ap:600"; empty at the start
  int64 solved = 0;  ///< gains of that step
  int64 failed = 0;
  int64 visibilities = 0;   ///< of the image
  double chi2 = 0;          ///< sum w |V - model|^2 of these
  double flux = 0;          ///< sum of all components, Jy
  double peak = 0;          ///< of the image; 0, as the next two, if a model was given
  double rms = 0;           ///< of what CLEAN leaves
  double dynamicRange = 0;  ///< peak / rms
  ClosureFit closures;      ///< of each time stamp
};

/// Make an image, solve for gains with its components as the model, apply them, and begin again, for all steps; then
/// make an image of the result. Each step corrects what those before have left.
/// @param to     the corrected visibilities, with the records of the selected source; they get their name together with
///               the image
/// @param names  of the last image
/// @param told   called after each round; may be empty
/// @param image  the last one
/// @param draw   makes the picture of the last image, if names has one
ZELTRA_API AResult SelfCalibrate(AUVXInput& from, const std::string& to, const ImageNames& names,
                                 const SelfCalOptions& options, const std::function<void(const SelfCalRound&)>& told,
                                 const std::function<AResult(const CleanImage&, std::string&)>& draw,
                                 CleanImage& image);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& SelfCalDescription();

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_SELFCALIBRATE_H_
