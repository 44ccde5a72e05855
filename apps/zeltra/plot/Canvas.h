// A picture of pixels.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_CANVAS_H_
#define ZELTRA_APPS_PLOT_CANVAS_H_

#include <cstdint>
#include <string>
#include <vector>

namespace zeltra::app {

struct Colour {
  std::uint8_t red, green, blue;
};

/// A picture, white at first. Coordinates run right and down; what lies outside is cut off. Text is ASCII, of a plain
/// face whose letters are `scale` x 7 pixels high.
class Canvas {
 public:
  Canvas(int width, int height);

  int width() const { return width_; }
  int height() const { return height_; }

  void Set(int x, int y, Colour colour) { Fill(x, y, 1, 1, colour); }
  void Fill(int x, int y, int width, int height, Colour colour);
  /// An outline inside the rectangle.
  void Frame(int x, int y, int width, int height, int thickness, Colour colour);
  /// Text that begins at x and whose capitals begin at y.
  void Text(int x, int y, int scale, const std::string& text, Colour colour);
  /// Text that runs upward, begins at the lower end y and has its capitals begin at x.
  void TextUpward(int x, int y, int scale, const std::string& text, Colour colour);
  /// Pixels that a text takes along its line.
  static int WidthOf(const std::string& text, int scale);
  static int HeightOf(int scale) { return 7 * scale; }

  /// The picture as a PNG file; empty if there is no memory.
  std::string PNG() const;

 private:
  template <typename Place>
  void DrawLetters(const std::string& text, Place place) const;

  int width_;
  int height_;
  std::vector<Colour> pixels_;
};

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_CANVAS_H_
