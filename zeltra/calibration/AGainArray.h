// Complex gains of antennas over time.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_AGAINARRAY_H_
#define ZELTRA_CALIBRATION_AGAINARRAY_H_

#include <complex>
#include <cstddef>
#include <cstdint>
#include <tuple>
#include <type_traits>
#include <vector>

#include "zeltra/core/AArray.h"
#include "zeltra/core/AObjArray.h"

namespace zeltra {

#pragma pack(push, 1)

/// The gain g of one antenna, hand and IF over an interval: V_pq = g_p M_pq conj(g_q), where V are the observed
/// visibilities and M the true ones. 58 bytes, little-endian, in a file as in memory. The object may lie at any
/// address, so copy its numbers before passing them on by reference or pointer.
struct ZELTRA_API AGainArrayItem {
  double time = 0;        ///< Julian date of the middle of the interval
  float interval = 0;     ///< seconds that the gain was solved over
  int16_t source = 0;     ///< source number, from 1; 0 means all
  int8_t setup = 0;       ///< frequency setup, from 1; 0 or less means all
  int16_t subarray = 0;   ///< from 1; 0 or less means all
  uint8_t antenna = 0;    ///< antenna number
  uint8_t reference = 0;  ///< number of the antenna whose phase is 0
  int16_t ifIndex = 0;    ///< IF, from 0
  int8_t hand = 0;        ///< 0 for RR or XX, 1 for LL or YY
  float weight = 0;       ///< signal-to-noise ratio; there is no solution unless it is above 0
  double re = 1;
  double im = 0;
  double delay = 0;  ///< seconds: the phase grows by 2 pi x delay for each Hz above the first channel of the IF
  double rate = 0;   ///< s/s: the phase grows by 2 pi x frequency x rate for each second after `time`

  static constexpr int kBytes = 58;

  bool isValid() const { return weight > 0; }
  std::complex<double> gain() const { return {re, im}; }
  void SetGain(std::complex<double> gain) {
    re = gain.real();
    im = gain.imag();
  }

  /// Write the 58 bytes at the current position of `file`. @return 0 if not all was written
  int Store(AFile& file) const;
  /// Read them. @return 0 if not all 58 bytes were there; the contents are then undefined
  int Load(AFile& file);
};

#pragma pack(pop)

static_assert(sizeof(AGainArrayItem) == AGainArrayItem::kBytes && std::is_trivially_copyable_v<AGainArrayItem>);
static_assert(offsetof(AGainArrayItem, time) == 0 && offsetof(AGainArrayItem, interval) == 8);
static_assert(offsetof(AGainArrayItem, source) == 12 && offsetof(AGainArrayItem, setup) == 14);
static_assert(offsetof(AGainArrayItem, subarray) == 15 && offsetof(AGainArrayItem, antenna) == 17);
static_assert(offsetof(AGainArrayItem, reference) == 18 && offsetof(AGainArrayItem, ifIndex) == 19);
static_assert(offsetof(AGainArrayItem, hand) == 21 && offsetof(AGainArrayItem, weight) == 22);
static_assert(offsetof(AGainArrayItem, re) == 26 && offsetof(AGainArrayItem, im) == 34);
static_assert(offsetof(AGainArrayItem, delay) == 42 && offsetof(AGainArrayItem, rate) == 50);

ZELTRA_EXPORT_TEMPLATE(AArray<AGainArrayItem>);
ZELTRA_EXPORT_TEMPLATE(AObjArray<AGainArrayItem>);

/// Identifies one series of gains over time: an antenna, an IF and a hand.
struct AGainKey {
  int antenna = 0;
  int ifIndex = 0;  ///< from 0
  int hand = 0;     ///< 0 or 1

  friend auto operator<=>(const AGainKey&, const AGainKey&) = default;
};

inline AGainKey KeyOf(const AGainArrayItem& item) {
  return {item.antenna, item.ifIndex, item.hand};
}

/// Gains sorted by time, then antenna, IF, hand, and finally by source, setup and subarray, once Sort has been called.
class ZELTRA_API AGainArray : public AArray<AGainArrayItem> {
 public:
  AGainArray() = default;
  /// The image at the current position of `file`, as Store wrote it: an int32 count and the items.
  explicit AGainArray(AFile& file) { Load(file); }

  /// Add an item at the end; storage doubles as the list grows. Sort afterwards.
  void Append(const AGainArrayItem& item);
  /// Add the items of `other`, so that the list is sorted.
  void Append(const AGainArray& other);
  void Sort();

  /// Index of the first item with exactly this time and key in the sorted list; -1 if there is none.
  int Find(double time, const AGainKey& key) const;
  /// Indices of the items of one antenna, IF and hand, in the order of the list.
  std::vector<int> Series(const AGainKey& key) const;
  /// The keys that the list has gains for, ascending, each once.
  std::vector<AGainKey> Keys() const;
};

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_AGAINARRAY_H_
