// The options and results of the jobs on gains and models, as the user sees them.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "zeltra/calibration/FitUVX.h"
#include "zeltra/calibration/SolveGains.h"
#include "zeltra/calibration/SolvingOptionsInternal.h"
#include "zeltra/core/Parse.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra {
namespace {

AJobDescription DescribeSolve() {
  AJobDescriber<SolveOptions> job(
      "solve", "Solve for the gains of antennas with a model of the source",
      "The gains g of V = g_p M conj(g_q), M being what the model says of a baseline, for every interval, source, "
      "setup, IF and "
      "hand. The two parallel hands are solved, or Stokes I in a file without hands; autocorrelations and flagged "
      "values do not "
      "count. A UVX file of gains has the records and tables of the input and one more table SN; zeltra apply corrects "
      "records by "
      "it. OUT.gain holds the gains alone.\n\n"
      "One line per antenna says how many gains it has, and why it lacks others: in an interval there are too few "
      "antennas with "
      "visibilities of each other (--min-antennas), it is not connected with the others, the amplitudes are not "
      "determined, the "
      "signal-to-noise ratio is low (--snr), or the solution has not converged after 1000 iterations. Gains that were "
      "not found "
      "have weight 0. Chi^2 is that of the visibilities whose two antennas have gains, over twice their number.\n\n"
      "The phase of the reference antenna is 0 in both hands, so the difference of its two phases is lost.");
  job.Input(UVXInputFile());
  AJobFile out = {"OUT", "the UVX file to make, or a gain file where the name ends in .gain", "output", 'o', {}};
  out.isNeeded = true;
  job.Output(out);
  // The name of a file says nothing to whoever reads the history of the output elsewhere.
  job.Option("model", &SolveOptions::model,
             "a list of components (.mod), a FITS image with a table AIPS CC, point or point=JY, or visibilities with "
             "the same records")
      .Form("MODEL")
      .Required()
      .KeepsResult();
  job.Choice<GainMode SolveOptions::*, GainMode>(
      "mode", &SolveOptions::mode, {{"p", GainMode::Phase}, {"ap", GainMode::Complex}, {"a", GainMode::Amplitude}},
      "phases (p), amplitudes and phases (ap), or the amplitudes of such gains (a)");
  DescribeInterval(job, &SolveOptions::interval);
  DescribeSelection(job, {.leftOut = kStokes, .sources = "each by itself"});
  DescribeSolving(job, [](SolveOptions& o) -> SolveOptions& { return o; });
  job.Threads();
  job.Overwrite();
  job.IntegerColumn("antenna", "number of the antenna");
  job.TextColumn("name", "its name");
  job.IntegerColumn("solved", "gains that were found, one for each interval, IF and hand");
  job.IntegerColumn("no_data", "intervals in which only other IFs or hands have data");
  job.IntegerColumn("too_few", "too few antennas");
  job.IntegerColumn("unconnected", "not connected with the antennas that were solved");
  job.IntegerColumn("undetermined", "amplitudes of antennas without a closed loop of an odd number of baselines");
  job.IntegerColumn("low_snr", "signal-to-noise ratio below --snr");
  job.IntegerColumn("not_converged", "not converged");
  return job.Finish();
}

constexpr std::pair<const char*, unsigned> kFreeNames[] = {
    {"flux", ModelComponent::FreeFlux},   {"x", ModelComponent::FreeX},         {"y", ModelComponent::FreeY},
    {"major", ModelComponent::FreeMajor}, {"ratio", ModelComponent::FreeRatio}, {"pa", ModelComponent::FreeAngle}};

// Names of the numbers of a component, separated by commas.
AResult ParseFree(const std::string& text, std::optional<unsigned>& free) {
  std::vector<std::string> words;
  if (AResult result = ALineParse(text, words); !result) return result;
  for (const std::string& word : words) {
    const auto* found = std::find_if(std::begin(kFreeNames), std::end(kFreeNames),
                                     [&word](const auto& name) { return name.first == word; });
    if (found == std::end(kFreeNames)) return AResult::Fail(word + ": none of flux, x, y, major, ratio, pa");
    free = free.value_or(0) | found->second;
  }
  return AResult::Ok();
}

std::string FreeText(const std::optional<unsigned>& free) {
  std::string text;
  for (const auto& [name, number] : kFreeNames) {
    if (!(free.value_or(0) & number)) continue;
    if (!text.empty()) text += ',';
    text += name;
  }
  return text;
}

AJobDescription DescribeFit() {
  AJobDescriber<FitOptions> job(
      "fit", "Fit points and Gaussians to visibilities or to an image",
      "The components with the least sum of w |V - M|^2 over all IFs and channels, each at its own u, v, found by the "
      "method of Levenberg and Marquardt from a start, by default in Stokes I of both hands, with the weight 4 / (1 / "
      "w_RR "
      "+ 1 / w_LL). Chi^2/2N is that sum over twice the number of visibilities. Errors are (J'J)^-1 chi^2 / (2N - P) "
      "for "
      "P free numbers, so they allow for weights that are all wrong by one factor. A Gaussian with a fixed axial ratio "
      "of "
      "1 stays a circle; ratios above 1 exchange the axes. Notes name numbers that the data do not determine, "
      "components "
      "that are not resolved, and correlations above 0.9.\n\n"
      "With --image-plane, elliptical Gaussians are fitted to a FITS image with a beam instead, one by one in turn, "
      "each "
      "to the pixels around it: at the places of a model, or at the brightest pixel. Their sizes are printed with the "
      "beam taken "
      "out; errors are those of Condon (1997) for the rms of what is left of the image.\n\n"
      "OUT.mod has the numbers of the start in its order, with 12 digits and the same marks, and the errors as "
      "comments.");
  AJobFile visibilities = UVXInputFile();
  visibilities.isOptional = true;
  job.Input(visibilities);
  job.Input({"IMAGE.fits", "fit to this image instead of visibilities", "image-plane", 0, {}});
  AJobFile out = {"OUT.mod", "the list of components to make", "output", 'o', {}};
  out.isNeeded = true;
  job.Output(out);
  job.Output({"OUT.uvx",
              "make a UVX file of the records with the fitted components subtracted, from the parallel hands and I",
              "residual",
              0,
              {}});
  job.Option("model", &FitOptions::model,
             "the start: a list of components (.mod), a FITS image with a table AIPS CC, point or point=JY; needed for "
             "visibilities")
      .Form("MODEL")
      .KeepsResult();
  job.Parsed(
         "free", [](const std::string& text, FitOptions& o) { return ParseFree(text, o.free); },
         [](const FitOptions& o) { return FreeText(o.free); },
         "what may change in all components: flux, x, y, major, ratio, pa")
      .Form("NAME[,...]")
      .Otherwise("the numbers followed by v in the model");
  DescribeSelection(job, {.sources = "the only one",
                          .stokes = "I of both hands, or the first one where there is no I",
                          .isSingle = true,
                          .isByVisibility = true});
  job.Threads();
  job.Overwrite();
  job.Column("component", "", "its number");
  job.Column("flux", "Jy", "flux density");
  job.Column("flux_error", "Jy", "standard deviation; 0 if the number was not fitted, nothing if it is not determined");
  job.Column("x", "mas", "offset to the east");
  job.Column("x_error", "mas", "");
  job.Column("y", "mas", "offset to the north");
  job.Column("y_error", "mas", "");
  job.Column("major", "mas", "full width at half maximum along the major axis");
  job.Column("major_error", "mas", "");
  job.Column("ratio", "", "of the minor to the major axis");
  job.Column("ratio_error", "", "");
  job.Column("pa", "deg", "of the major axis, from north through east");
  job.Column("pa_error", "deg", "");
  return job.Finish();
}

}  // namespace

const AJobDescription& FitDescription() {
  static const AJobDescription description = DescribeFit();
  return description;
}

const AJobDescription& SolveDescription() {
  static const AJobDescription description = DescribeSolve();
  return description;
}

}  // namespace zeltra
