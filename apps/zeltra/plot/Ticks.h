// Round numbers along an axis.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_TICKS_H_
#define ZELTRA_APPS_PLOT_TICKS_H_

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

/// Marks along an axis of seconds since midnight, in round steps of minutes or hours, labelled hh:mm, or hh:mm:ss where
/// the steps are shorter. Hours go on beyond 24.
std::vector<Tick> ClockTicks(double low, double high, int most);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_TICKS_H_
