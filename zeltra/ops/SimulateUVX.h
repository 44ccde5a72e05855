// An observation that never was, as a UVX file: for tests, benchmarks and lessons.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_SIMULATEUVX_H_
#define ZELTRA_OPS_SIMULATEUVX_H_

#include <cstdint>
#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra {

/// A point source, its place given by direction cosines from the phase centre: l grows eastward, m northward.
struct SimulatedComponent {
  double flux;   ///< Stokes I, Jy
  double east;   ///< l, milliarcseconds
  double north;  ///< m, milliarcseconds
};

/// A source that is observed: its phase centre and what is seen there. Its light is linearly polarised alike
/// everywhere, 5 % with an electric vector at 30 degrees, and not circularly.
struct SimulatedSource {
  const char* name;
  double ra;   ///< phase centre, J2000, degrees
  double dec;  ///< degrees
  SimulatedComponent components[2];
};

/// Sources 1 and 2 of every simulated file; places as in the International Celestial Reference Frame, the second
/// component of each made up.
inline constexpr SimulatedSource kSimulatedSources[2] = {
    {"3C273", 187.2779154, 2.0523883, {{3.0, 0.0, 0.0}, {1.2, -2.1, -1.3}}},
    {"3C279", 194.0465271, -5.7893144, {{2.0, 0.0, 0.0}, {0.6, 1.7, -0.8}}},
};

struct SimulateOptions : JobOptions {
  std::uint64_t seed = 1;   ///< of noise, flags and phase errors
  int antennas = 10;        ///< the first so many of the VLBA's ten, by alphabet: 2 to 10
  double minutes = 60;      ///< length of the observation
  double integration = 10;  ///< seconds a record
  int ifs = 2;              ///< IFs, 16 MHz each, side by side
  int channels = 4;         ///< of an IF, which they share
  int components = 2;       ///< 1 leaves the second component of each source away
  double noise = 1;  ///< multiple of the thermal noise that is added; weights are those of the multiple 1 if it is 0
  bool phaseErrors = false;  ///< whether each antenna has a random phase in each scan, the same for all frequencies
};

/// Simulate an observation of the two sources in turn by the VLBA, 2020-03-20 from 07:00 UTC, at 8.4 GHz: up to six
/// scans, RR, LL, RL, LR, the tables "AN", "SU", "FQ", "NX" and "BL".
///
/// Conventions are those of UV FITS files of VLBI. For antennas 1 and 2 of a record, u, v, w are those of position 1
/// minus position 2, in seconds, by eq. 4.1 of Thompson, Moran & Swenson (Interferometry and Synthesis in Radio
/// Astronomy, 3rd ed., 2017), and a point source of flux S at l, m has the visibility
///
///     S exp(+2 pi i frequency (u l + v m))
///
/// so that the sky is the transform of the visibilities with the opposite sign: files of M 87 by AIPS and eht-imaging
/// show its jet and its ring the right way round with this sign only. Apparent places are taken equal to those of the
/// epoch J2000, UT1 to UTC, and sources are never below the horizon.
///
/// The same options make the same file, byte for byte, on systems with the same sine and cosine. One record in 256 is
/// flagged by negative weights, one in 1024 by the flag of its group. Weights are 1 / sigma^2, sigma being the noise of
/// the real and of the imaginary part.
ZELTRA_API AResult SimulateUVX(const std::string& to, const SimulateOptions& options);

/// What a person may tell the job, and what it gives.
ZELTRA_API const AJobDescription& SimulateDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_SIMULATEUVX_H_
