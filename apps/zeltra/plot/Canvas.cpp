// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/Canvas.h"

#include <algorithm>
#include <cstring>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#include <stb/stb_easy_font.h>
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace zeltra::app {
namespace {

constexpr size_t kLongestText = 200;
constexpr size_t kBytesPerLetter = 600;  // the most that stb_easy_font takes for one

// Corner of a rectangle of letters, as stb_easy_font gives them, four a rectangle.
struct Corner {
  float x, y, z;
  unsigned char colour[4];
};

char* Letters(std::string& text) {
  text.resize(std::min(text.size(), kLongestText));
  for (char& c : text) c = c >= ' ' && c <= '~' ? c : '?';
  return text.data();
}

void AppendBytes(void* to, void* data, int size) {
  static_cast<std::string*>(to)->append(static_cast<const char*>(data), static_cast<size_t>(size));
}

}  // namespace

Canvas::Canvas(int width, int height)
    : width_(width),
      height_(height),
      pixels_(static_cast<size_t>(width) * static_cast<size_t>(height), Colour{255, 255, 255}) {}

void Canvas::Fill(int x, int y, int width, int height, Colour colour) {
  const int left = std::max(x, 0), right = std::min(x + width, width_);
  if (left >= right) return;
  for (int line = std::max(y, 0); line < std::min(y + height, height_); ++line) {
    const auto start = pixels_.begin() + static_cast<std::ptrdiff_t>(line) * width_;
    std::fill(start + left, start + right, colour);
  }
}

void Canvas::Frame(int x, int y, int width, int height, int thickness, Colour colour) {
  Fill(x, y, width, thickness, colour);
  Fill(x, y + height - thickness, width, thickness, colour);
  Fill(x, y, thickness, height, colour);
  Fill(x + width - thickness, y, thickness, height, colour);
}

// Calls place(x, y, width, height) for the rectangles of the letters, of which one unit is a pixel of scale 1.
template <typename Place>
void Canvas::DrawLetters(const std::string& text, Place place) const {
  std::string letters = text;
  Letters(letters);
  std::vector<Corner> corners(letters.size() * kBytesPerLetter / sizeof(Corner) + 4);
  const int rectangles = stb_easy_font_print(0, 0, letters.data(), nullptr, corners.data(),
                                             static_cast<int>(corners.size() * sizeof(Corner)));
  for (int i = 0; i < rectangles; ++i) {
    const Corner* corner = &corners[static_cast<size_t>(4 * i)];
    place(static_cast<int>(corner[0].x), static_cast<int>(corner[0].y), static_cast<int>(corner[2].x - corner[0].x),
          static_cast<int>(corner[2].y - corner[0].y));
  }
}

void Canvas::Text(int x, int y, int scale, const std::string& text, Colour colour) {
  DrawLetters(text, [&](int left, int top, int width, int height) {
    Fill(x + left * scale, y + top * scale, width * scale, height * scale, colour);
  });
}

void Canvas::TextUpward(int x, int y, int scale, const std::string& text, Colour colour) {
  DrawLetters(text, [&](int left, int top, int width, int height) {
    Fill(x + top * scale, y - (left + width) * scale, height * scale, width * scale, colour);
  });
}

int Canvas::WidthOf(const std::string& text, int scale) {
  std::string letters = text;
  return stb_easy_font_width(Letters(letters)) * scale;
}

std::string Canvas::PNG() const {
  std::string bytes;
  const int lineBytes = width_ * static_cast<int>(sizeof(Colour));
  const int written = stbi_write_png_to_func(AppendBytes, &bytes, width_, height_, 3, pixels_.data(), lineBytes);
  return written ? bytes : std::string();
}

}  // namespace zeltra::app
