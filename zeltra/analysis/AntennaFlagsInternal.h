// The distinct antennas of a list of baselines or triangles.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_ANALYSIS_ANTENNAFLAGSINTERNAL_H_
#define ZELTRA_ANALYSIS_ANTENNAFLAGSINTERNAL_H_

#include <array>
#include <cstdint>

namespace zeltra {

/// Collects antenna numbers with one flag each.
class AntennaFlags {
 public:
  static constexpr int kNumbers = 256;

  /// Add an antenna. Its flag is that of the first item that contains it, cleared as soon as an unflagged item does.
  void Add(int antenna, std::uint8_t flag) {
    Antenna& entry = antennas_[static_cast<std::size_t>(antenna + kNumbers / 2)];
    if (!entry.present || flag == 0) entry.flag = flag;
    entry.present = true;
  }

  /// Write the numbers, ascending as signed bytes, and their flags at the same positions.
  /// @param limit  capacity of the buffers
  /// @return the number of antennas written
  int Write(char* antennas, char* flags, int limit) const {
    int count = 0;
    for (int i = 0; i < kNumbers && count < limit; ++i) {
      const Antenna& entry = antennas_[static_cast<std::size_t>(i)];
      if (!entry.present) continue;
      antennas[count] = static_cast<char>(i - kNumbers / 2);
      flags[count] = static_cast<char>(entry.flag);
      ++count;
    }
    return count;
  }

 private:
  struct Antenna {
    bool present = false;
    std::uint8_t flag = 0;
  };
  std::array<Antenna, kNumbers> antennas_;
};

}  // namespace zeltra

#endif  // ZELTRA_ANALYSIS_ANTENNAFLAGSINTERNAL_H_
