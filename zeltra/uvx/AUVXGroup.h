// The head of one visibility record: baseline, time, source and u, v, w.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXGROUP_H_
#define ZELTRA_UVX_AUVXGROUP_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "zeltra/core/AFile.h"

namespace zeltra {

class AFITS;
class AUVXFile;
class AUVXMinMax;

#pragma pack(push, 1)

/// The head of a record: 26 bytes, little-endian, in a file as in memory. The object may lie at any address, so copy
/// its numbers before passing them on by reference or pointer.
///
/// u, v, w keep the unit of the random parameters they came from, seconds in most files.
struct ZELTRA_API AUVXGroup {
  int8_t flag = 0;     ///< value of the FLAG random parameter, if any
  int8_t frqsel = 0;   ///< frequency setup, from 1
  int16_t source = 0;  ///< source number, from 1
  float uu = 0;
  float vv = 0;
  float ww = 0;
  double date = 0;  ///< days: the sum of the DATE random parameters, a Julian date
  int8_t ant1 = 0;  ///< antenna numbers; those above 127 look negative here, see antenna1()
  int8_t ant2 = 0;

  static constexpr int kBytes = 26;

  /// All zero.
  AUVXGroup() = default;
  /// Read 26 bytes at the current position of `file`.
  explicit AUVXGroup(ABFile& file) { load(file); }
  /// Decode the random parameters at the current position of `fits`.
  explicit AUVXGroup(AFITS& fits) { load(fits); }

  int freqSel() const { return frqsel; }
  int sourceNo() const { return source; }
  double u() const { return uu; }
  double v() const { return vv; }
  double w() const { return ww; }
  double uvTime() const { return date; }
  /// The stored bytes, with their sign: antenna 200 is -56 here, for which AUVXAntenns::ForID(-56) silently returns the
  /// first antenna of the list. Look antennas up by antenna1() and antenna2().
  int tlsc1() const { return ant1; }
  int tlsc2() const { return ant2; }
  /// The antenna numbers, 0 to 255.
  int antenna1() const { return static_cast<uint8_t>(ant1); }
  int antenna2() const { return static_cast<uint8_t>(ant2); }

  /// Read from the current position. @return 0 if not all 26 bytes were there; the contents are then undefined
  int load(AUVXFile& uvx);
  int load(ABFile& file);
  /// Write at the current position. @return 0 if not all was written
  int store(AUVXFile& uvx) const;
  int store(ABFile& file) const;

  /// Copy from `p`, an image in memory. @return the byte after it
  const char* load(const char* p) {
    std::memcpy(static_cast<void*>(this), p, kBytes);
    return p + kBytes;
  }
  char* load(char* p) { return const_cast<char*>(load(static_cast<const char*>(p))); }
  /// Copy to `p`. @return the byte after the image
  char* store(char* p) const {
    std::memcpy(p, this, kBytes);
    return p + kBytes;
  }

  /// Decode the random parameters at the current position of `fits`. Parameters are recognised by the first letters of
  /// their names: B baseline (256 x antenna 1 + antenna 2), D date, FR frequency setup, FL flag, S source, U, V, W.
  /// Repeats of baseline, date, u, v and w are added up; of the others the last one counts. A file without source or
  /// setup has source 1 and setup 1.
  /// @return 0 if they are not all in the file; the contents are then undefined
  int load(AFITS& fits);
  /// Decode the random parameters at `p`, an image in memory of a whole group. @return the byte after them
  char* load(AFITS& fits, char* p);

  /// Write u, v, w, the baseline, the date in two parts (days truncated to hundredths, and the rest) and, if asked for,
  /// source and setup, as big-endian floats: 24 or 32 bytes. The antennas of the group are left exchanged, since
  /// callers write a group only once.
  int ToFITS(AFile& file, int withSourceAndFreqSel);

  /// Widen the ranges of u, v, w and time.
  void check(AUVXMinMax& range) const;
};
static_assert(sizeof(AUVXGroup) == AUVXGroup::kBytes && std::is_trivially_copyable_v<AUVXGroup>);
static_assert(offsetof(AUVXGroup, flag) == 0 && offsetof(AUVXGroup, frqsel) == 1 && offsetof(AUVXGroup, source) == 2 &&
              offsetof(AUVXGroup, uu) == 4 && offsetof(AUVXGroup, vv) == 8 && offsetof(AUVXGroup, ww) == 12 &&
              offsetof(AUVXGroup, date) == 16 && offsetof(AUVXGroup, ant1) == 24 && offsetof(AUVXGroup, ant2) == 25);

#pragma pack(pop)

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXGROUP_H_
