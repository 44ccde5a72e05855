// SPDX-License-Identifier: MIT

#include "tests/support/Test.h"
#include "zeltra/image/AEllipse.h"
#include "zeltra/image/ALine.h"
#include "zeltra/image/APtInLine.h"

namespace zeltra::test {
namespace {

using Pixels = std::vector<std::pair<int, int>>;

class LinePixels : public ALine {
 public:
  LinePixels(int x1, int y1, int x2, int y2) { Draw(x1, y1, x2, y2); }
  Pixels pixels;

 protected:
  void Point(int x, int y) override { pixels.emplace_back(x, y); }
};

class Vertices : public AEllipse {
 public:
  Vertices(CPoint center, int a, int b, int angle, int n) { Draw(center, a, b, angle, n); }
  void Point(int index, int x, int y) override {
    EXPECT_EQ(index, static_cast<int>(pixels.size()));
    pixels.emplace_back(x, y);
  }
  Pixels pixels;
};

TEST(Line, VisitsKnownPixelsInOrder) {
  EXPECT_EQ(LinePixels(0, 0, 0, 0).pixels, (Pixels{{0, 0}}));
  EXPECT_EQ(LinePixels(0, 0, 3, 1).pixels, (Pixels{{0, 0}, {1, 0}, {2, 1}, {3, 1}}));
  EXPECT_EQ(LinePixels(3, 1, 0, 0).pixels, (Pixels{{3, 1}, {2, 1}, {1, 0}, {0, 0}}));
  EXPECT_EQ(LinePixels(0, 0, -1, 3).pixels, (Pixels{{0, 0}, {0, 1}, {-1, 2}, {-1, 3}}));
  EXPECT_EQ(LinePixels(0, 0, 3, -3).pixels, (Pixels{{0, 0}, {1, -1}, {2, -2}, {3, -3}}));
}

// Each pixel lies at most half a pixel off the true line, measured across the longer axis.
TEST(Line, StaysHalfAPixelFromTheTrueLineInAllOctants) {
  for (int x = -9; x <= 9; ++x) {
    for (int y = -9; y <= 9; ++y) {
      const Pixels pixels = LinePixels(4, -2, 4 + x, -2 + y).pixels;
      const int length = std::max(std::abs(x), std::abs(y));
      ASSERT_EQ(pixels.size(), static_cast<size_t>(length) + 1);
      for (int k = 0; k <= length; ++k) {
        const auto [px, py] = pixels[static_cast<size_t>(k)];
        EXPECT_LE(std::abs(2 * ((px - 4) * length - k * x)), length) << x << ' ' << y;
        EXPECT_LE(std::abs(2 * ((py + 2) * length - k * y)), length) << x << ' ' << y;
      }
      EXPECT_EQ(pixels.back(), std::make_pair(4 + x, -2 + y));
    }
  }
}

TEST(PtInLine, TellsWhetherAPixelHits) {
  const APtInLine pixel(5, 5, 0, 0);
  EXPECT_EQ(pixel.PtInLine(0, 0, 10, 10), 1);
  EXPECT_EQ(pixel.PtInLine(0, 1, 10, 1), 0);
  EXPECT_EQ(pixel.PtInLine(CPoint{5, 9}, CPoint{5, 5}), 1) << "the last pixel counts";
  EXPECT_EQ(pixel.PtInLine(5, 9, 5, 6), 0);
  EXPECT_EQ(APtInLine(5, 5, 0, 4).PtInLine(0, 1, 10, 1), 1);
  EXPECT_EQ(APtInLine(5, 5, 4, 3).PtInLine(0, 1, 10, 1), 0);
  EXPECT_EQ(APtInLine(5, 5, -1, 9).PtInLine(0, 5, 10, 5), 0) << "no rectangle";
}

TEST(PtInLine, HitsThePixelsThatAreDrawn) {
  for (int x = -7; x <= 7; ++x) {
    for (int y = -7; y <= 7; ++y) {
      const Pixels pixels = LinePixels(1, -1, 1 + x, -1 + y).pixels;
      for (int i = 0; i < 15 * 15 * 6; ++i) {
        const int x0 = i % 15 - 6, y0 = i / 15 % 15 - 8, dx = i / 225 % 3, dy = i / 675 * 2;
        const bool hits = std::any_of(pixels.begin(), pixels.end(), [&](auto pixel) {
          return std::abs(pixel.first - x0) <= dx && std::abs(pixel.second - y0) <= dy;
        });
        ASSERT_EQ(APtInLine(x0, y0, dx, dy).PtInLine(1, -1, 1 + x, -1 + y), hits) << x << ' ' << y << ' ' << i;
      }
    }
  }
}

TEST(PtInLine, TakesCoordinatesOfAnySize) {
  // If the line were walked pixel by pixel, each of these would take seconds, and all of them longer than a test may.
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(APtInLine(0, -1, INT_MAX, 0).PtInLine(INT_MIN, i, INT_MAX, INT_MAX), 0);
  EXPECT_EQ(APtInLine(0, -1, INT_MAX, 0).PtInLine(INT_MIN, 0, INT_MAX, 0), 0);
  EXPECT_EQ(APtInLine(INT_MAX, INT_MAX, 0, 0).PtInLine(INT_MIN, INT_MIN, INT_MAX, INT_MAX), 1);
  EXPECT_EQ(APtInLine(0, 0, 0, 0).PtInLine(INT_MAX, INT_MIN, INT_MIN, INT_MAX), 0) << "x + y is -1";
  EXPECT_EQ(APtInLine(INT_MIN, INT_MIN, 0, 0).PtInLine(INT_MIN, INT_MIN, INT_MAX, INT_MAX), 1);
  EXPECT_EQ(APtInLine(INT_MIN, 0, INT_MAX, 0).PtInLine(INT_MAX, 0, INT_MAX - 3, 0), 0);
}

TEST(Ellipse, ClosesOnItsFirstVertex) {
  EXPECT_EQ(Vertices({100, 100}, 10, 5, 0, 5).pixels,
            (Pixels{{110, 100}, {100, 105}, {90, 100}, {100, 95}, {110, 100}}));
  EXPECT_EQ(Vertices({100, 100}, 10, 5, 900, 2).pixels, (Pixels{{100, 110}, {100, 110}}));
  EXPECT_EQ(Vertices({3, 4}, 2, 9, 0, 1).pixels, (Pixels{{5, 4}}));
  EXPECT_TRUE(Vertices({3, 4}, 2, 9, 0, 0).pixels.empty());
  EXPECT_TRUE(Vertices({3, 4}, 2, 9, 0, INT_MIN).pixels.empty());
}

TEST(Ellipse, IsRotatedByTenthsOfADegree) {
  constexpr int kVertices = 721;
  const Pixels pixels = Vertices({1000, 2000}, 500, 200, 300, kVertices).pixels;
  ASSERT_EQ(pixels.size(), size_t{kVertices});
  for (int i = 0; i < kVertices; ++i) {
    const double t = i * std::numbers::pi / 360;
    const auto [x, y] = pixels[static_cast<size_t>(i)];
    // Vertices are truncated to whole pixels, here to smaller numbers; 1e-9 covers the rounding of the recurrence.
    const double dx = 1000 + 500 * std::cos(t) * std::sqrt(0.75) - 200 * std::sin(t) * 0.5 - x;
    const double dy = 2000 + 500 * std::cos(t) * 0.5 + 200 * std::sin(t) * std::sqrt(0.75) - y;
    EXPECT_TRUE(dx > -1e-9 && dx < 1 + 1e-9 && dy > -1e-9 && dy < 1 + 1e-9) << i << ' ' << dx << ' ' << dy;
  }
}

TEST(Ellipse, CutsTowardsZeroAndAtTheRangeOfPixels) {
  EXPECT_EQ(Vertices({0, 0}, 10, 10, 0, 9).pixels[3], (std::pair(-7, 7)));
  EXPECT_EQ(Vertices({INT_MAX, INT_MIN}, INT_MAX, 1, 0, 3).pixels[0], (std::pair(INT_MAX, INT_MIN)));
}

}  // namespace
}  // namespace zeltra::test
