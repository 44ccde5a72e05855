// Uniform and normally distributed random numbers.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_NUMERIC_GRANDOM_H_
#define ZELTRA_NUMERIC_GRANDOM_H_

#include "zeltra/platform/Export.h"

namespace zeltra {

// All numbers come from the C runtime's rand(), whose single state is shared by the whole process without a lock:
// calling srand() repeats the sequence, and threads that draw at the same time share it.

/// A uniform number k / 32767, k = 0..32767: both 0 and 1 occur.
ZELTRA_API double random();
/// random() x `x`.
ZELTRA_API double random(double x);
/// random() x `n`, truncated towards zero: 0 to `n` inclusive, `n` itself once in 32768, a range that programs rely on.
ZELTRA_API int random(int n);
/// Seed the generator with the time in seconds.
ZELTRA_API void randomize();

/// Normally distributed numbers with mean `a` x `b` and standard deviation `b`. The mean is not `a`: the offset is
/// added before scaling, and programs rely on that.
///
/// By the polar method (G. Marsaglia and T. A. Bray, SIAM Review 6, 260, 1964), which yields two independent numbers at
/// a time: every other call returns the second of a pair and draws nothing.
class ZELTRA_API GRandom {
 public:
  explicit GRandom(double a = 0, double b = 1) : a_(a), b_(b) {}

  double GetValue();

 private:
  double spare_ = 0;
  double a_;
  double b_;
  char phase_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_NUMERIC_GRANDOM_H_
