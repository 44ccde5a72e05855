// Drawings as SVG text.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_SVG_H_
#define ZELTRA_APPS_PLOT_SVG_H_

#include <string>

namespace zeltra::app {

/// A drawing on white, built element by element. Coordinates are pixels, to the right and down. Text is UTF-8; anything
/// beyond ASCII must come from the program itself, not from a file.
class SVG {
 public:
  enum Anchor { Start, Middle, End };

  SVG(int width, int height);

  void Line(double x1, double y1, double x2, double y2, const char* colour, double width = 1);
  /// An outline.
  void Frame(double x, double y, double width, double height);
  void Disc(double x, double y, double radius, const char* colour);
  /// Text whose baseline is at y.
  void Text(double x, double y, const std::string& text, Anchor anchor = Start, int size = 14,
            const char* colour = "#000000");
  /// Text that runs upward at x, its middle at y.
  void TextUpward(double x, double y, const std::string& text);
  /// Dots where `path` has segments of zero length ("M x y h 0"), lines elsewhere, in units of `unit` pixels from (x,
  /// y).
  void Dots(double x, double y, double unit, const std::string& path, const char* colour, double diameter);

  /// A PNG file in a rectangle; most viewers interpolate its pixels.
  void Image(double x, double y, double width, double height, const std::string& png);
  /// A thin line along `path`.
  void Outline(const std::string& path, const char* colour, bool isDashed);
  /// The outline of an ellipse whose semi-axis `up` points upward before it is rotated.
  /// @param angle  degrees, clockwise
  void Ellipse(double x, double y, double across, double up, double angle, const char* colour, double width);

  /// Two drawings as one, the second below the first.
  static std::string Stacked(const std::string& first, const std::string& second);

  /// The whole file.
  std::string Finish() const { return text_ + "</svg>\n"; }

 private:
  std::string text_;
};

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_SVG_H_
