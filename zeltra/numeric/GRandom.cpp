// SPDX-License-Identifier: MIT
#include "zeltra/numeric/GRandom.h"

#include <bit>
#include <cmath>
#include <cstdlib>
#include <ctime>

namespace zeltra {
namespace {

constexpr unsigned kLargest = 32767;
constexpr double kPerStep = 3.051850947599719e-5;  // 1 / 32767

// Where rand() is wider than 15 bits use its high bits, which are the better ones in many generators.
constexpr int kExcessBits = std::bit_width(unsigned{RAND_MAX}) - std::bit_width(kLargest);
static_assert(kExcessBits >= 0 && unsigned{RAND_MAX} >> kExcessBits == kLargest &&
              std::has_single_bit(unsigned{RAND_MAX} + 1));

}  // namespace

double random() {
  return (std::rand() >> kExcessBits) * kPerStep;
}

double random(double x) {
  return random() * x;
}

int random(int n) {
  return static_cast<int>(random() * n);
}

void randomize() {
  std::srand(static_cast<unsigned>(std::time(nullptr)));
}

double GRandom::GetValue() {
  phase_ = (phase_ - 1) & 1;
  if (phase_ == 0) return spare_;
  double u1;
  double u2;
  double s;
  do {
    u1 = random(2.0) - 1;
    u2 = random(2.0) - 1;
    s = u2 * u2 + u1 * u1;
  } while (s > 1.0);
  // s is never 0, since no k / 32767 equals one half.
  const double f = std::sqrt(-2 * std::log(s) / s);
  spare_ = (f * u2 + a_) * b_;
  return (f * u1 + a_) * b_;
}

}  // namespace zeltra
