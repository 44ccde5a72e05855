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

/// Marks from `low` to `high` in steps of 1, 2 or 5 times a power of ten, `most` at most, with as many decimals as they
/// need. Empty if the range is empty or not finite.
std::vector<Tick> RoundTicks(double low, double high, int most);

/// Marks from `low` to `high` at 1, 2 and 5 times powers of ten, at 0 and at the negatives of these, as far as there is
/// room: decades first. In round steps if the range has few such numbers.
/// @param least  numbers below this, apart from 0, get no mark
/// @param most   how many marks would fill the axis
/// @param place  position of a number on the axis, in any unit; increases with the number
std::vector<Tick> DecadeTicks(double low, double high, double least, int most,
                              const std::function<double(double)>& place);

/// Marks on an axis of seconds since midnight, in round steps of minutes or hours, labelled hh:mm, or hh:mm:ss for
/// shorter steps. Hours continue beyond 24.
std::vector<Tick> ClockTicks(double low, double high, int most);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_TICKS_H_
