// The triangles in a sorted set of baselines.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_ANALYSIS_TRIANGLEWALKINTERNAL_H_
#define ZELTRA_ANALYSIS_TRIANGLEWALKINTERNAL_H_

#include <algorithm>
#include <cmath>
#include <optional>

#include "zeltra/analysis/ABaseLine.h"
#include "zeltra/core/Units.h"

namespace zeltra {

/// A caller's antenna number as the signed byte that baselines hold; a number that does not fit a byte matches none.
inline int SignedAntenna(int number) {
  return number >= 128 && number <= 255 ? number - 256 : number;
}

/// The sum of the phases around a triangle, each in its own direction, as a phase from -pi to pi.
inline double ClosureOf(double p1, double p2, double p3) {
  double closure = std::fmod(p1 + p2 + p3, kTwoPi);
  if (closure > kPi) closure -= kTwoPi;
  if (closure < -kPi) closure += kTwoPi;
  return closure;
}

/// Visit every triangle of antennas a1, a2, c whose three baselines are present and not flagged.
///
/// If every baseline is stored as (lower antenna, higher antenna), each triangle x < y < z is found exactly once, in
/// ascending order, as (x-y) + (y-z) - (x-z).
/// @param n      number of baselines
/// @param base   base(i) is baseline i; they are in the order of fnBLItemCompare
/// @param tlsc   an antenna that the triangle must contain, as a signed byte; none for all triangles
/// @param found  found(a, b, reversed, d, c): indices of the baselines a1-a2, a2-c and a1-c, whether b is stored as
///               c-a2, and the third antenna
template <typename Base, typename Found>
void WalkTriangles(int n, Base base, std::optional<int> tlsc, Found found) {
  for (int ia = 0; ia < n - 2; ++ia) {
    const ABaseLineItem a = base(ia);
    const int a1 = a.tlsc1();
    const int a2 = a.tlsc2();
    if (!a.isValid() || a1 == a2) continue;
    if (tlsc && a1 > *tlsc) break;
    for (int jb = ia + 1; jb < n; ++jb) {
      const ABaseLineItem b = base(jb);
      if (!b.isValid()) continue;
      if (a2 < std::min(b.tlsc1(), b.tlsc2())) break;  // no later baseline can contain a2
      const bool reversed = b.tlsc2() == a2;
      if (!reversed && b.tlsc1() != a2) continue;
      if (tlsc && a1 != *tlsc && a2 != *tlsc && b.tlsc2() != *tlsc) continue;
      const int c = reversed ? b.tlsc1() : b.tlsc2();
      // Only the orientation a1-c closes a triangle: baselines that begin at a1 follow a without a gap.
      for (int kd = ia + 1; kd < n && base(kd).tlsc1() == a1; ++kd) {
        const ABaseLineItem d = base(kd);
        if (!d.isValid() || (d.tlsc2() != c && a1 != c)) continue;
        found(ia, jb, reversed, kd, c);
        break;
      }
    }
  }
}

}  // namespace zeltra

#endif  // ZELTRA_ANALYSIS_TRIANGLEWALKINTERNAL_H_
