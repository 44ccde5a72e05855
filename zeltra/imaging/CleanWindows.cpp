// SPDX-License-Identifier: MIT
#include "zeltra/imaging/CleanWindows.h"

#include <algorithm>
#include <cmath>
#include <span>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/AngleUnit.h"
#include "zeltra/core/Parse.h"
#include "zeltra/core/SplitAtCommasInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"

namespace zeltra {
namespace {

constexpr size_t kEdges = 4;
constexpr int64 kMostTextBytes = 1 << 20;
// Pixel centres on an edge belong to a box despite rounding.
constexpr double kTolerance = 1e-6;  // pixels

// The box of four texts: xmin, xmax, ymin, ymax.
AResult AppendBox(std::span<const std::string> texts, std::vector<CleanBox>& boxes) {
  double edges[kEdges];
  for (size_t i = 0; i < kEdges; ++i) {
    if (AResult result = strToVal(texts[i], kAngleSuffixes, edges[i]); !result) return result;
    if (!std::isfinite(edges[i])) return AResult::Fail("'" + texts[i] + "' is not an edge of a box");
    edges[i] *= kRadiansPerMas;
  }
  const auto [west, east] = std::minmax(edges[0], edges[1]);
  const auto [south, north] = std::minmax(edges[2], edges[3]);
  boxes.push_back({west, east, south, north});
  return AResult::Ok();
}

}  // namespace

AResult strToBox(const std::string& text, std::vector<CleanBox>& boxes) {
  if (const size_t blank = text.find(' '); blank != text.npos) {
    AResult result = strToBox(text.substr(0, blank), boxes);
    return result ? strToBox(text.substr(blank + 1), boxes) : result;
  }
  const std::vector<std::string> texts = SplitAtCommas(text);
  if (texts.size() != kEdges) return AResult::Fail("'" + text + "' is not a box like -1,1,-0.5,2");
  return AppendBox(texts, boxes);
}

std::string boxesToStr(const std::vector<CleanBox>& boxes) {
  std::string text;
  for (const CleanBox& box : boxes) {
    if (!text.empty()) text += ' ';
    const char* separator = "";
    for (const double edge : {box.west, box.east, box.south, box.north}) {
      text.append(separator).append(RoundedNumber(edge / kRadiansPerMas, 12));
      separator = ",";
    }
  }
  return text;
}

AResult ReadBoxes(const std::string& path, std::vector<CleanBox>& boxes) {
  AInputFile file;
  if (AResult result = file.Open(path); !result) return result;
  const int64 size = file.GetFileSize();
  if (size > kMostTextBytes) return AResult::Fail(path + ": too large for a list of windows");
  std::string text(static_cast<size_t>(size), ' ');
  if (size > 0 && !ReadWhole(file, text.data(), size)) return file.Settle(AResult::Fail(path + ": cannot be read"));
  const size_t before = boxes.size();
  int number = 0;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = std::min(text.find('\n', begin), text.size());
    std::string line = text.substr(begin, end - begin);
    line = line.substr(0, line.find('!'));
    for (char& c : line) c = c == '\t' || c == '\r' ? ' ' : c;
    begin = end + 1;
    const std::string place = path + ": line " + std::to_string(++number) + ": ";
    std::vector<std::string> words;
    if (AResult result = ALineParse(line, words); !result) return AResult::Fail(place + result.message());
    if (words.empty()) continue;
    if (words.size() != kEdges) return AResult::Fail(place + "a window has four numbers");
    if (AResult result = AppendBox(words, boxes); !result) return AResult::Fail(place + result.message());
  }
  if (boxes.size() == before) return AResult::Fail(path + ": has no windows");
  return file.Check();
}

int CleanMask::Create(int size) {
  if (!pixels_.reSize(size, size)) return 0;
  for (int i = 0; i < size; ++i) std::fill(pixels_.Line(i), pixels_.Line(i + 1), char{0});
  return 1;
}

void CleanMask::TakeInnerQuarter() {
  const int n = size();
  for (int i = n / 4; i < n - n / 4; ++i) std::fill(pixels_.Line(i) + n / 4, pixels_.Line(i + 1) - n / 4, char{1});
}

int CleanMask::TakeBox(const CleanBox& box, double cell) {
  const int center = size() / 2;
  // Both ends are clamped before they become whole numbers: a box may be as wide as the sky.
  const auto place = [&](double pixel) { return static_cast<int>(std::clamp<double>(pixel, -1, size())); };
  const int south = place(std::ceil(box.south / cell + center - kTolerance));
  const int north = place(std::floor(box.north / cell + center + kTolerance));
  const int east = place(std::ceil(center - box.east / cell - kTolerance));
  const int west = place(std::floor(center - box.west / cell + kTolerance));
  int count = 0;
  for (int i = std::max(south, 0); i <= std::min(north, size() - 1); ++i) {
    for (int j = std::max(east, 0); j <= std::min(west, size() - 1); ++j) {
      Take(i, j);
      ++count;
    }
  }
  return count;
}

void CleanMask::TakeAbove(const AMatrix<float>& map, double level, bool isPositive, double east, double north) {
  const int n = size(), height = static_cast<int>(north);
  std::vector<int> widths;  // of the ellipse, to either side, by distance in lines
  for (int k = 0; k <= height; ++k) {
    widths.push_back(static_cast<int>(east * std::sqrt(std::max(1 - (k / north) * (k / north), 0.0))));
  }
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      const double value = isPositive ? map(i, j) : std::fabs(map(i, j));
      if (!(value > level)) continue;
      for (int line = std::max(i - height, 0); line <= std::min(i + height, n - 1); ++line) {
        const int width = widths.empty() ? 0 : widths[static_cast<size_t>(std::abs(line - i))];
        char* pixels = pixels_.Line(line);
        std::fill(pixels + std::max(j - width, 0), pixels + std::min(j + width + 1, n), char{1});
      }
    }
  }
}

int CleanMask::Extent() const {
  int firstLine = size(), lastLine = -1, firstElement = size(), lastElement = -1;
  for (int i = 0; i < size(); ++i) {
    for (int j = 0; j < size(); ++j) {
      if (!(*this)(i, j)) continue;
      firstLine = std::min(firstLine, i);
      lastLine = i;
      firstElement = std::min(firstElement, j);
      lastElement = std::max(lastElement, j);
    }
  }
  return std::max({lastLine - firstLine, lastElement - firstElement, -1}) + 1;
}

}  // namespace zeltra
