// The header of a UVX file: what was observed, the value ranges and the polarisations.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXHEADER_H_
#define ZELTRA_UVX_AUVXHEADER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "zeltra/core/ABFile.h"

namespace zeltra {

class AFITS;
class AUVXFile;

// Images of the file's bytes, little-endian and without padding. They may lie at any address, so copy their numbers
// before passing them on by reference or pointer.
#pragma pack(push, 1)

/// Range of one quantity.
struct TMnMx {
  double minimum;
  double maximum;

  /// Extend the range to include `x`. A NaN replaces the minimum and never the maximum.
  void check(double x) {
    if (!(x >= minimum)) minimum = x;
    if (x > maximum) maximum = x;
  }
};
static_assert(sizeof(TMnMx) == 16);

/// Ranges of the values of a file: u, v, w in the unit of the records, time in days, real and imaginary part in
/// `bunit`, and weight.
class ZELTRA_API AUVXMinMax {
 public:
  /// Empty ranges, as init makes them.
  AUVXMinMax() { init(); }
  /// The ranges in the header of `uvx`; empty ones if they cannot be read.
  explicit AUVXMinMax(AUVXFile& uvx);
  /// The ranges at the current position of `file`.
  explicit AUVXMinMax(ABFile& file);

  /// Set every minimum to 1e38 and every maximum to -1e38, so that the first value checked becomes both.
  void init();

  /// Write into the header of `uvx`.
  int store(AUVXFile& uvx) const;
  /// Write at the current position of `file`.
  int store(ABFile& file) const;

  TMnMx& u() { return ranges_[0]; }
  TMnMx& v() { return ranges_[1]; }
  TMnMx& w() { return ranges_[2]; }
  TMnMx& time() { return ranges_[3]; }
  TMnMx& re() { return ranges_[4]; }
  TMnMx& im() { return ranges_[5]; }
  TMnMx& weight() { return ranges_[6]; }
  const TMnMx& u() const { return ranges_[0]; }
  const TMnMx& v() const { return ranges_[1]; }
  const TMnMx& w() const { return ranges_[2]; }
  const TMnMx& time() const { return ranges_[3]; }
  const TMnMx& re() const { return ranges_[4]; }
  const TMnMx& im() const { return ranges_[5]; }
  const TMnMx& weight() const { return ranges_[6]; }

 private:
  TMnMx ranges_[7];
};
static_assert(sizeof(AUVXMinMax) == 112);

/// A stored polarisation code; reads and assigns like an int16, at any address.
struct AUVXStokesCode {
  int16_t value;

  operator int16_t() const { return value; }
  AUVXStokesCode& operator=(int code) {
    value = static_cast<int16_t>(code);
    return *this;
  }
};

/// List of up to eight polarisation codes: 1..4 for I, Q, U, V; -1..-4 for RR, LL, RL, LR; -5..-8 for XX, YY, XY, YX.
class ZELTRA_API AUVXStokes {
 public:
  static constexpr int kLargestCount = 8;

  AUVXStokes() : count_(0), codes_{} {}
  /// The list in the header of `uvx`.
  explicit AUVXStokes(AUVXFile& uvx);
  /// The list at the current position of `file`.
  explicit AUVXStokes(ABFile& file);
  /// The list of the STOKES axis of `fits`, at most its first eight codes; empty if there is no such axis.
  explicit AUVXStokes(const AFITS& fits);

  int count() const { return count_; }
  /// Set the number of codes, clamped to 0..8.
  void SetCount(int count) { count_ = static_cast<int16_t>(std::clamp(count, 0, kLargestCount)); }

  /// Code i; no range check.
  AUVXStokesCode& operator()(int i) { return codes_[i]; }
  const AUVXStokesCode& operator()(int i) const { return codes_[i]; }

  /// Find the first index of `code`. @return 1, or 0 with `index` unchanged if it is not in the list
  int FindStokes(int code, int& index) const;

  /// Read from the header of `uvx`. The count is clamped to 0..8.
  /// @return 0 with an empty list if the bytes are not there
  int Load(AUVXFile& uvx);
  /// Read from the current position of `file`.
  int Load(ABFile& file);
  /// Write into the header of `uvx`.
  int Store(AUVXFile& uvx) const;
  /// Write at the current position of `file`.
  int Store(ABFile& file) const;

 private:
  int16_t count_;
  AUVXStokesCode codes_[kLargestCount];
};
static_assert(sizeof(AUVXStokes) == 18);

/// What was observed: the first 64 bytes of the header.
struct ZELTRA_API AUVXInfoHeader {
  int32_t count;       ///< number of records in the file
  double epoch;        ///< equinox of the coordinates, years
  double dateObs;      ///< Julian date of 0 h of the observation date, 0 if unknown
  int16_t zero;        ///< always 0
  char bunit[10];      ///< unit of the visibilities, zero-terminated
  char observer[16];   ///< zero-terminated
  char telescope[16];  ///< zero-terminated

  // The texts, without leading and trailing blanks.
  std::string Bunit() const;
  std::string Observer() const;
  std::string Telescope() const;
};
static_assert(sizeof(AUVXInfoHeader) == 64);
static_assert(offsetof(AUVXInfoHeader, count) == 0 && offsetof(AUVXInfoHeader, epoch) == 4 &&
              offsetof(AUVXInfoHeader, dateObs) == 12 && offsetof(AUVXInfoHeader, zero) == 20 &&
              offsetof(AUVXInfoHeader, bunit) == 22 && offsetof(AUVXInfoHeader, observer) == 32 &&
              offsetof(AUVXInfoHeader, telescope) == 48);

/// The header as stored in a UVX file.
struct ZELTRA_API AUVXHeader {
  AUVXInfoHeader info;
  AUVXMinMax range;
  AUVXStokes stokes;
  int32_t IFs;         ///< number of IFs; 0 if the data have no IF axis, which counts as one
  int32_t channels;    ///< channels per IF
  double freq0;        ///< frequency of channel 0 of IF 0, Hz
  char reserved[255];  ///< zero

  /// All bytes zero, including the ranges: call init on these before checking values against them.
  AUVXHeader();
  /// The header of `uvx`, all zero if it cannot be read; the number of polarisations is clamped to 0..8.
  explicit AUVXHeader(AUVXFile& uvx);
  /// The header made from the primary header of `fits`, which has been read; its ranges are empty. Texts are cut to
  /// their fields; the telescope is INSTRUME, and `freq0` the frequency of pixel 1 of the FREQ axis.
  explicit AUVXHeader(const AFITS& fits);

  /// Write into `uvx` without changing its geometry in memory; AUVXFile::Write sets that too.
  int store(AUVXFile& uvx) const;
};
static_assert(sizeof(AUVXHeader) == 465);
static_assert(offsetof(AUVXHeader, range) == 64 && offsetof(AUVXHeader, stokes) == 176 &&
              offsetof(AUVXHeader, IFs) == 194 && offsetof(AUVXHeader, channels) == 198 &&
              offsetof(AUVXHeader, freq0) == 202 && offsetof(AUVXHeader, reserved) == 210);
static_assert(std::is_trivially_copyable_v<AUVXHeader> && std::is_standard_layout_v<AUVXHeader>);

#pragma pack(pop)

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXHEADER_H_
