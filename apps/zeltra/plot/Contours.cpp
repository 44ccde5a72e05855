// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/Contours.h"

#include <cstddef>
#include <unordered_map>

namespace zeltra::app {
namespace {

constexpr size_t kNone = static_cast<size_t>(-1);

// Links the places where contours cross from one pixel to the next, one square of four pixels at a time. Each place is
// shared by two squares, or is at the edge, so it has one or two neighbours.
class Tracer {
 public:
  Tracer(const std::vector<float>& pixels, int side, double level)
      : pixels_(pixels), side_(static_cast<size_t>(side)), level_(level) {}

  std::vector<std::vector<ContourPoint>> Run();

 private:
  struct Crossing {
    size_t from, to;  // pixels
    size_t neighbours[2] = {kNone, kNone};
    bool isDone = false;
  };

  bool IsAbove(size_t pixel) const { return pixels_[pixel] >= level_; }
  void LinkSquare(size_t pixel);
  void Link(size_t from1, size_t to1, size_t from2, size_t to2);
  size_t CrossingOf(size_t from, size_t to);
  ContourPoint PointOf(const Crossing& crossing) const;
  std::vector<ContourPoint> Follow(size_t first);

  const std::vector<float>& pixels_;
  const size_t side_;
  const double level_;
  std::vector<Crossing> crossings_;
  std::unordered_map<size_t, size_t> places_;  // of crossings, by twice the first pixel, plus one for those downward
};

std::vector<std::vector<ContourPoint>> Tracer::Run() {
  for (size_t line = 0; line + 1 < side_; ++line) {
    for (size_t column = 0; column + 1 < side_; ++column) LinkSquare(line * side_ + column);
  }
  std::vector<std::vector<ContourPoint>> contours;
  for (const bool isOpen : {true, false}) {
    for (size_t i = 0; i < crossings_.size(); ++i) {
      if (!crossings_[i].isDone && (crossings_[i].neighbours[1] == kNone) == isOpen) contours.push_back(Follow(i));
    }
  }
  return contours;
}

void Tracer::LinkSquare(size_t pixel) {
  const size_t a = pixel, b = a + 1, c = a + side_, d = c + 1;
  const bool A = IsAbove(a), B = IsAbove(b), C = IsAbove(c), D = IsAbove(d);
  if (A == B && C == D && A == C) return;
  if (A == D && B == C) {
    // A saddle: its middle decides which corners are connected.
    const bool isAbove = (double{pixels_[a]} + pixels_[b] + pixels_[c] + pixels_[d]) / 4 >= level_;
    Link(a, b, isAbove == A ? b : a, isAbove == A ? d : c);
    Link(c, d, isAbove == A ? a : b, isAbove == A ? c : d);
    return;
  }
  const size_t sides[4][2] = {{a, b}, {c, d}, {a, c}, {b, d}};
  const size_t* first = nullptr;
  for (const auto& side : sides) {
    if (IsAbove(side[0]) == IsAbove(side[1])) continue;
    if (first) Link(first[0], first[1], side[0], side[1]);
    first = side;
  }
}

void Tracer::Link(size_t from1, size_t to1, size_t from2, size_t to2) {
  const size_t ends[2] = {CrossingOf(from1, to1), CrossingOf(from2, to2)};
  for (int i = 0; i < 2; ++i) {
    size_t(&neighbours)[2] = crossings_[ends[i]].neighbours;
    neighbours[neighbours[0] == kNone ? 0 : 1] = ends[1 - i];
  }
}

size_t Tracer::CrossingOf(size_t from, size_t to) {
  const auto [place, isNew] = places_.try_emplace(2 * from + (to == from + 1 ? 0 : 1), crossings_.size());
  if (isNew) crossings_.push_back({from, to});
  return place->second;
}

ContourPoint Tracer::PointOf(const Crossing& crossing) const {
  const double low = pixels_[crossing.from], part = (level_ - low) / (pixels_[crossing.to] - low);
  const double column = static_cast<double>(crossing.from % side_), line = static_cast<double>(crossing.from / side_);
  return crossing.to == crossing.from + 1 ? ContourPoint{column + part, line} : ContourPoint{column, line + part};
}

std::vector<ContourPoint> Tracer::Follow(size_t first) {
  std::vector<ContourPoint> points;
  const bool isClosed = crossings_[first].neighbours[1] != kNone;
  for (size_t at = first; at != kNone;) {
    Crossing& crossing = crossings_[at];
    crossing.isDone = true;
    points.push_back(PointOf(crossing));
    at = kNone;
    for (const size_t next : crossing.neighbours) {
      if (next != kNone && !crossings_[next].isDone) at = next;
    }
  }
  if (isClosed) points.push_back(points.front());
  return points;
}

}  // namespace

std::vector<std::vector<ContourPoint>> Contours(const std::vector<float>& pixels, int side, double level) {
  return Tracer(pixels, side, level).Run();
}

}  // namespace zeltra::app
