// PNG files with a palette.
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

/// A PNG file with one byte per pixel, an index into the palette.
/// @param pixels  line by line from the top, `width` pixels each
/// @return empty if there is not enough memory
std::string PalettePNG(int width, const std::vector<std::uint8_t>& pixels, const Palette& palette);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_PALETTEPNG_H_
