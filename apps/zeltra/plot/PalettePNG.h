// Pictures of pixels.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_PALETTEPNG_H_
#define ZELTRA_APPS_PLOT_PALETTEPNG_H_

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace zeltra::app {

struct Colour {
  std::uint8_t red, green, blue;
};

using Palette = std::array<Colour, 256>;

/// A PNG file with a byte a pixel, which is a place in the palette.
/// @param pixels  line after line from the top, each of `width`
/// @return empty if there is no memory
std::string PalettePNG(int width, const std::vector<std::uint8_t>& pixels, const Palette& palette);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_PALETTEPNG_H_
