// Round numbers along an axis.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_TICKS_H_
#define ZELTRA_APPS_PLOT_TICKS_H_

#include <functional>
#include <string>
#include <vector>

namespace zeltra::app {

/// A mark on an axis.
struct Tick {
  double value;
  std::string label;
};

/// Marks from `low` to `high` in steps of 1, 2 or 5 times a power of ten, at most `most` of them, with as many decimals
/// as they need. Empty for a range that is empty or not finite.
std::vector<Tick> RoundTicks(double low, double high, int most);

/// Marks from `low` to `high` at 1, 2 and 5 times powers of ten, at 0 and at the negatives of these, as far as there is
/// room: decades first. Round steps where only few such numbers are in the range.
/// @param least  numbers below this, apart from 0, have no mark
/// @param most   how many marks would fill the axis
/// @param place  where on the axis a number lies, in any unit; grows with the number
std::vector<Tick> DecadeTicks(double low, double high, double least, int most,
                              const std::function<double(double)>& place);

/// Marks along an axis of seconds since midnight, in round steps of minutes or hours, labelled hh:mm, or hh:mm:ss where
/// the steps are shorter. Hours go on beyond 24.
std::vector<Tick> ClockTicks(double low, double high, int most);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_TICKS_H_
