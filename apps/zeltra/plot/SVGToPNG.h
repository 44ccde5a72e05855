// Drawings as pictures of pixels.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_SVGTOPNG_H_
#define ZELTRA_APPS_PLOT_SVGTOPNG_H_

#include <string>

namespace zeltra::app {

/// Whether the program was built with librsvg.
bool CanMakePNG();

/// Turn an SVG file into a PNG file, two pixels for one of the drawing.
/// @return the bytes of the file; empty where that cannot be done
std::string SVGToPNG(const std::string& svg);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_SVGTOPNG_H_
