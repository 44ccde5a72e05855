// Simulates an observation as a UVX file, for tests, benchmarks and lessons.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_SIMULATEUVX_H_
#define ZELTRA_OPS_SIMULATEUVX_H_

#include <cstdint>
#include <string>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra {

/// A point source; direction cosines from the phase centre give its place: l grows eastward, m northward.
struct SimulatedComponent {
  double flux;   ///< Stokes I, Jy
  double east;   ///< l, milliarcseconds
  double north;  ///< m, milliarcseconds
};

/// An observed source: its phase centre and its components. Its emission is 5 % linearly polarised everywhere, with the
/// electric vector at 30 degrees, and not circularly polarised.
struct SimulatedSource {
  const char* name;
  double ra;   ///< phase centre, J2000, degrees
  double dec;  ///< degrees
  SimulatedComponent components[2];
};

/// Sources 1 and 2 of every simulated file; positions are those of the International Celestial Reference Frame, the
/// second component of each is made up.
inline constexpr SimulatedSource kSimulatedSources[2] = {
    {"3C273", 187.2779154, 2.0523883, {{3.0, 0.0, 0.0}, {1.2, -2.1, -1.3}}},
    {"3C279", 194.0465271, -5.7893144, {{2.0, 0.0, 0.0}, {0.6, 1.7, -0.8}}},
};

struct SimulateOptions : JobOptions {
  std::uint64_t seed = 1;    ///< of noise, flags and phase errors
  int antennas = 10;         ///< how many of the VLBA's ten, in alphabetical order: 2 to 10
  double minutes = 60;       ///< length of the observation
  double integration = 10;   ///< seconds per record
  int ifs = 2;               ///< IFs, 16 MHz each, adjacent
  int channels = 4;          ///< per IF, dividing its bandwidth
  int components = 2;        ///< 1 omits the second component of each source
  double noise = 1;          ///< multiple of the thermal noise that is added; at 0 weights are those of 1
  bool phaseErrors = false;  ///< whether each antenna has a random phase in each scan, the same for all frequencies
};

/// Simulate an observation of the two sources in turn by the VLBA, 2020-03-20 from 07:00 UTC, at 8.4 GHz: up to six
/// scans, RR, LL, RL, LR, with the tables "AN", "SU", "FQ", "NX" and "BL".
///
/// The conventions are those of UV FITS files from VLBI. For antennas 1 and 2 of a record, u, v, w are those of
/// position 1 minus position 2, in seconds, by eq. 4.1 of Thompson, Moran & Swenson (Interferometry and Synthesis in
/// Radio Astronomy, 3rd ed., 2017), and a point source of flux S at l, m has the visibility
///
///     S exp(+2 pi i frequency (u l + v m))
///
/// so that the sky is the transform of the visibilities with the opposite sign: only with this sign do files of M 87
/// from AIPS and eht-imaging show its jet and its ring the right way round. Apparent positions are taken to equal those
/// of J2000, UT1 to equal UTC, and sources never set.
///
/// The same options make the same file, byte for byte, on systems with the same sine and cosine. One record in 256 is
/// flagged by negative weights, one in 1024 by the flag of its group. Weights are 1 / sigma^2, where sigma is the noise
/// of the real and of the imaginary part.
ZELTRA_API AResult SimulateUVX(const std::string& to, const SimulateOptions& options);

/// The options of the job and what it makes.
ZELTRA_API const AJobDescription& SimulateDescription();

}  // namespace zeltra

#endif  // ZELTRA_OPS_SIMULATEUVX_H_
