// The options of every job that solves for gains.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_SOLVINGOPTIONSINTERNAL_H_
#define ZELTRA_CALIBRATION_SOLVINGOPTIONSINTERNAL_H_

#include <string>
#include <utility>
#include <vector>

#include "zeltra/calibration/SolveGains.h"
#include "zeltra/core/JobDescription.h"

namespace zeltra {

/// Describe how gains are solved for, apart from the model, the mode, the interval and the selection.
/// @param get  gives the SolveOptions of a job's options
template <typename Options, typename Access>
void DescribeSolving(AJobDescriber<Options>& job, Access get) {
  using Normalization = SolveOptions::Normalization;
  const std::vector<std::pair<std::string, bool>> choices = {{"apart", false}, {"together", true}};
  const std::vector<std::pair<std::string, Normalization>> normalizations = {{"all", Normalization::All},
                                                                             {"none", Normalization::None}};
  job.Option(
         "refant", [get](Options & o) -> auto& { return get(o).references; },
         "antennas, numbers or names, of which the first that has a gain has phase 0")
      .Form("N|NAME[,...]")
      .Otherwise("the antenna with the most gains");
  job.Option(
         "min-antennas", [get](Options & o) -> auto& { return get(o).minAntennas; }, "antennas that an interval needs")
      .Range(2, 255)
      .Otherwise("3 for phases, 4 for amplitudes");
  job.Option(
         "snr", [get](Options & o) -> auto& { return get(o).snr; }, "least signal-to-noise ratio of a gain")
      .Range(0, 1e9);
  job.Choice(
      "ifs", [get](Options & o) -> auto& { return get(o).IFsTogether; }, choices, "a gain for each IF, or one for all");
  job.Choice(
      "pols", [get](Options & o) -> auto& { return get(o).handsTogether; }, choices,
      "a gain for each hand, or one for both");
  job.Choice(
         "normalize", [get](Options & o) -> auto& { return get(o).normalization; }, normalizations,
         "make the geometric mean of the amplitudes of each hand and "
         "IF 1, so that the flux stays, or leave them as they are")
      .Otherwise("all where amplitudes are solved for, none for phases alone");
  job.Option(
      "robust", [get](Options & o) -> auto& { return get(o).robust; },
      "leave out baselines that lie far off, in passes whose bound falls from 7 to 2.2 times the rms");
}

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_SOLVINGOPTIONSINTERNAL_H_
