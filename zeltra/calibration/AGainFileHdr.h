// Gain files: gains together with what a program has to know about their observation.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_AGAINFILEHDR_H_
#define ZELTRA_CALIBRATION_AGAINFILEHDR_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "zeltra/calibration/AGainArray.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra {

class AUVXInput;

#pragma pack(push, 1)

/// The first 68 bytes of a gain file, little-endian: docs/gain-format.md. Lists follow: antennas, sources, frequencies,
/// and the image of an AGainArray. The object may lie at any address.
struct ZELTRA_API AGainFileHdr {
  static constexpr int32_t kMagic = 0x4E41475A;  ///< "ZGAN"
  static constexpr int32_t kVersion = 1;

  int32_t magic = kMagic;
  int32_t version = kVersion;
  double dateObs = 0;      ///< Julian date of 0 h of the observation date
  double freq0 = 0;        ///< frequency of channel 0 of IF 0 in the first setup, Hz
  int32_t count = 0;       ///< gains
  int16_t antennas = 0;    ///< in the list of antennas
  int16_t sources = 0;     ///< in the list of sources
  int16_t setups = 0;      ///< frequency setups
  int16_t IFs = 0;         ///< IFs, at least 1; the list of frequencies has setups x IFs entries
  int16_t hands = 0;       ///< polarisations that have gains: 1 or 2
  int16_t codes[2] = {};   ///< their codes as in UV FITS: -1 RR, -2 LL, -5 XX, -6 YY, 1 I; 0 if there is none
  uint8_t mode = 0;        ///< 0: phases alone were solved, all moduli are 1; 1: amplitudes too
  uint8_t normalised = 0;  ///< 1: the geometric mean of the moduli is 1 for each hand and IF; 0: they stand as solved
  char timeScale[8] = {};  ///< time scale of the times, zero-terminated
  char telescope[16] = {};
};

/// An entry of the list of antennas; 16 bytes.
struct AGainAntenna {
  uint8_t number = 0;
  char name[15] = {};  ///< zero-terminated
};

/// An entry of the list of sources; 24 bytes.
struct AGainSource {
  int16_t number = 0;
  char name[22] = {};  ///< zero-terminated
};

/// An entry of the list of frequencies, which is ordered by setup, then IF; 24 bytes.
struct AGainFrequency {
  int32_t setup = 0;    ///< from 1
  int32_t ifIndex = 0;  ///< from 0
  double start = 0;     ///< frequency of the first channel, Hz
  double width = 0;     ///< from one channel to the next, Hz
};

#pragma pack(pop)

static_assert(sizeof(AGainFileHdr) == 68 && std::is_trivially_copyable_v<AGainFileHdr>);
static_assert(offsetof(AGainFileHdr, magic) == 0 && offsetof(AGainFileHdr, version) == 4);
static_assert(offsetof(AGainFileHdr, dateObs) == 8 && offsetof(AGainFileHdr, freq0) == 16);
static_assert(offsetof(AGainFileHdr, count) == 24 && offsetof(AGainFileHdr, antennas) == 28);
static_assert(offsetof(AGainFileHdr, sources) == 30 && offsetof(AGainFileHdr, setups) == 32);
static_assert(offsetof(AGainFileHdr, IFs) == 34 && offsetof(AGainFileHdr, hands) == 36);
static_assert(offsetof(AGainFileHdr, codes) == 38 && offsetof(AGainFileHdr, mode) == 42);
static_assert(offsetof(AGainFileHdr, normalised) == 43 && offsetof(AGainFileHdr, timeScale) == 44);
static_assert(offsetof(AGainFileHdr, telescope) == 52);
static_assert(sizeof(AGainAntenna) == 16 && offsetof(AGainAntenna, name) == 1);
static_assert(sizeof(AGainSource) == 24 && offsetof(AGainSource, name) == 2);
static_assert(sizeof(AGainFrequency) == 24 && offsetof(AGainFrequency, ifIndex) == 4);
static_assert(offsetof(AGainFrequency, start) == 8 && offsetof(AGainFrequency, width) == 16);

/// Gains with what has to be known about their observation: everything that a gain file holds.
struct ZELTRA_API AGains {
  AGainFileHdr header;  ///< its counts are ignored, except `IFs` and `hands`
  std::vector<AGainAntenna> antennas;
  std::vector<AGainSource> sources;
  std::vector<AGainFrequency> frequencies;  ///< by setup, then IF
  AGainArray list;                          ///< sorted
  std::string label;                        ///< what messages call them, as in "table SN 2 of obs.uvx"

  /// The frequency of the first channel of an IF, Hz; 0 if unknown.
  double Frequency(int setup, int ifIndex) const;
  /// The name of an antenna, or its number if it has none.
  std::string AntennaName(int number) const;
  /// Find a source by its number or its name; "=7" is the source named 7.
  AResult FindSource(const std::string& text, int& number) const;
};

/// The hand of a parallel polarisation code: 1 for LL and YY, else 0.
inline int HandOf(int code) {
  return code == -2 || code == -6 ? 1 : 0;
}
/// The name of hand 0 or 1 of `header`, as in "RR".
ZELTRA_API std::string HandName(const AGainFileHdr& header, int hand);

/// A description of this observation with an empty list of gains, to be filled by a solver.
/// @return a failure if antennas, sources or frequencies of the file cannot be read
ZELTRA_API AResult DescribeGains(AUVXInput& input, AGains& gains);

/// Read a gain file.
/// @return a failure that says what is wrong with it and where
ZELTRA_API AResult LoadGains(const std::string& path, AGains& gains);
/// Write a gain file, which appears under its name only when it is complete. The header gets the counts of the lists.
ZELTRA_API AResult StoreGains(const std::string& path, const AGains& gains, const JobOptions& options);

/// Find out whether a file begins as a gain file does.
/// @return a failure if it cannot be read
ZELTRA_API AResult FindGainFile(const std::string& path, bool& isOne);

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_AGAINFILEHDR_H_
