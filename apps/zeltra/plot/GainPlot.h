// Gains over time as a picture.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_GAINPLOT_H_
#define ZELTRA_APPS_PLOT_GAINPLOT_H_

#include <string>

#include "zeltra/calibration/AGainFileHdr.h"
#include "zeltra/core/AResult.h"

namespace zeltra::app {

/// Draw the moduli and the phases of the solutions of one IF, from 0, and one hand, with a series for each antenna, one
/// chart above the other.
AResult PlotGains(const AGains& gains, int ifIndex, int hand, std::string& svg);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_GAINPLOT_H_
