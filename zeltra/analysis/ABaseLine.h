// Baselines as keys, and the sorted list of one source's baselines.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_ANALYSIS_ABASELINE_H_
#define ZELTRA_ANALYSIS_ABASELINE_H_

#include <cstdint>
#include <string>

#include "zeltra/core/AArray.h"

namespace zeltra {

class AUVXBaseLines;
struct AUVXGroup;

/// A pair of antenna numbers, 0 to 255.
struct ZELTRA_API ABL {
  /// Leaves both numbers undefined.
  ABL() = default;
  /// Store the low bytes.
  ABL(int tlsc1, int tlsc2) : tlsc1_(static_cast<uint8_t>(tlsc1)), tlsc2_(static_cast<uint8_t>(tlsc2)) {}
  /// Set both at once: the low byte is antenna 1, the high byte antenna 2.
  explicit ABL(short both) : ABL(both & 0xFF, (both >> 8) & 0xFF) {}

  int tlsc1() const { return tlsc1_; }
  int tlsc2() const { return tlsc2_; }
  /// Text as in 3-7.
  std::string Str() const;

 private:
  uint8_t tlsc1_;
  uint8_t tlsc2_;
};
static_assert(sizeof(ABL) == 2);

/// A baseline with a flag: the key of the averaging and closure code.
///
/// Antenna numbers are signed bytes, the form in which they are sorted, so numbers of 128 and more read as negative. To
/// look an antenna up by its number use antenna1() and antenna2(), since AUVXAntenns::ForID silently returns the first
/// antenna for a number that it lacks. Three bytes without padding, also in files.
struct ZELTRA_API ABaseLineItem {
  ABaseLineItem() = default;
  /// @param flag  true if the baseline is flagged, that is, not to be used
  ABaseLineItem(int tlsc1, int tlsc2, bool flag)
      : tlsc1_(static_cast<int8_t>(tlsc1)), tlsc2_(static_cast<int8_t>(tlsc2)), flag_(flag) {}
  /// The baseline of a record; flagged if bit 0 of the record's flag byte is set.
  explicit ABaseLineItem(const AUVXGroup& group);

  int tlsc1() const { return tlsc1_; }
  int tlsc2() const { return tlsc2_; }
  /// The antenna numbers, 0 to 255.
  int antenna1() const { return static_cast<uint8_t>(tlsc1_); }
  int antenna2() const { return static_cast<uint8_t>(tlsc2_); }
  /// 1 if the baseline is not flagged.
  int isValid() const { return flag_ == 0; }
  /// The flag byte: 0 means valid.
  int flag() const { return flag_; }
  /// Store the low byte of `flag`.
  ABaseLineItem& setFlag(int flag) {
    flag_ = static_cast<uint8_t>(flag);
    return *this;
  }
  /// Text as in 3-7.
  std::string asString() const;

 private:
  int8_t tlsc1_ = 0;
  int8_t tlsc2_ = 0;
  uint8_t flag_ = 0;
};
static_assert(sizeof(ABaseLineItem) == 3);

/// Order of baselines: ascending antenna 1, then antenna 2, both as signed numbers; flags are ignored.
/// @return -1 if `key` is greater, 1 if it is smaller, 0 if both antennas agree
ZELTRA_API int fnBLItemCompare(const ABaseLineItem& key, const ABaseLineItem& item);

ZELTRA_EXPORT_TEMPLATE(AArray<ABaseLineItem>);

/// Baselines in the order of fnBLItemCompare, each once.
class ZELTRA_API ABaseLine : public AArray<ABaseLineItem> {
 public:
  /// Maximum number of antennas that getScopeMap lists.
  static constexpr int kScopeMapSize = 64;

  ABaseLine() : AArray(0, 0, 64) {}
  /// Empty, with room for `size` items.
  ABaseLine(int size, int growBy) : AArray(0, size, growBy) {}
  /// Adopt `n` sorted items at `items`, a block from malloc that the list frees.
  ABaseLine(ABaseLineItem* items, int n) : AArray(items, n, 256, 0) {}
  /// The image at the current position of `f`.
  explicit ABaseLine(AFile& f) : AArray(f) {}
  /// The baselines of one source, see Init.
  ABaseLine(const AUVXBaseLines& table, int source) { Init(table, source); }

  /// Copy every baseline of `source`, with its flag, from a baseline table; if the source is absent, the list becomes
  /// empty.
  void Init(const AUVXBaseLines& table, int source);

  /// Find a baseline by its antennas.
  /// @param index  its position; if not found, where it would be inserted, or -1 for an empty list
  /// @return 1 if found
  int hasBase(const ABaseLineItem& base, int& index) const;

  /// Insert a baseline in order, or clear the flag of one already present if `base` is not flagged: a baseline is
  /// flagged only if every occurrence was.
  /// @return its position
  short checkBase(const ABaseLineItem& base);

  /// Remove the autocorrelations. @return their number
  int DeleteEQBase();

  /// Number of items that are not flagged.
  int GetMarkItem() const;

  /// Remove the flagged items. @return their number
  int deleteUnMarkItem();

  /// List the distinct antennas, ascending as signed numbers.
  /// @param antennas  room for kScopeMapSize numbers; any further antennas are left out
  /// @param flags     room for the same number of flags: that of the first baseline that contains the antenna, or 0 if
  ///                  any such baseline is unflagged
  /// @return the number of antennas written
  short getScopeMap(char* antennas, char* flags) const;
};

}  // namespace zeltra

#endif  // ZELTRA_ANALYSIS_ABASELINE_H_
