// Converts drawings to PNG.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_SVGTOPNG_H_
#define ZELTRA_APPS_PLOT_SVGTOPNG_H_

#include <string>

namespace zeltra::app {

/// Why the program cannot use librsvg, which does the conversion; empty if it can.
std::string ObstacleToPNG();

/// Convert an SVG file to PNG, at two pixels per pixel of the drawing. To be called only if there is no obstacle.
/// @return the bytes of the file; empty on failure
std::string SVGToPNG(const std::string& svg);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_SVGTOPNG_H_
