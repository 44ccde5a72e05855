// Undoing what gains do to visibilities.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_GAINCORRECTION_H_
#define ZELTRA_CALIBRATION_GAINCORRECTION_H_

#include <cmath>
#include <complex>

#include "zeltra/uvx/AUVXComplex.h"

namespace zeltra {

/// Which part of a gain is used.
enum class GainPart { Whole, Amplitude, Phase };

/// A gain without its phase, for a correction of amplitudes alone.
inline std::complex<double> AmplitudeOf(std::complex<double> gain) {
  return std::abs(gain);
}

/// A gain without its modulus, for a correction of phases alone; a gain of 0 gives 1.
inline std::complex<double> PhaseOf(std::complex<double> gain) {
  const double modulus = std::abs(gain);
  return modulus > 0 ? gain / modulus : 1;
}

inline std::complex<double> PartOf(std::complex<double> gain, GainPart part) {
  return part == GainPart::Amplitude ? AmplitudeOf(gain) : part == GainPart::Phase ? PhaseOf(gain) : gain;
}

/// The factor that removes the gains of antennas p and q from V_pq = g_p M_pq conj(g_q).
inline std::complex<double> CorrectionOf(std::complex<double> p, std::complex<double> q) {
  return 1.0 / (p * std::conj(q));
}

/// Multiply a visibility by a correction, and its weight by another factor: 1 / |correction|^2 if the weight, being 1 /
/// sigma^2, is to follow.
inline AUVXComplex Corrected(const AUVXComplex& value, std::complex<double> correction, double weightFactor) {
  const double re = value.Re(), im = value.Im();
  return {re * correction.real() - im * correction.imag(), re * correction.imag() + im * correction.real(),
          value.Weight() * weightFactor};
}

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_GAINCORRECTION_H_
