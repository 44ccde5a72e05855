// The triangles of antennas whose closure phases may be used.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_ANALYSIS_A3TLSCS_H_
#define ZELTRA_ANALYSIS_A3TLSCS_H_

#include <cstdint>
#include <string>

#include "zeltra/core/AArray.h"

namespace zeltra {

class ABaseLine;

/// Three antenna numbers as signed bytes, ascending if made by A3Tlscs::Create, and a flag. Four bytes, also in files.
struct ZELTRA_API A3TlscsItem {
  A3TlscsItem() = default;
  /// @param flag  0 means usable
  A3TlscsItem(char tlsc1, char tlsc2, char tlsc3, char flag)
      : tlsc1_(static_cast<int8_t>(tlsc1)),
        tlsc2_(static_cast<int8_t>(tlsc2)),
        tlsc3_(static_cast<int8_t>(tlsc3)),
        flag_(static_cast<uint8_t>(flag)) {}

  // Antenna numbers of 128 and more read as negative, the form in which they are sorted. AUVXAntenns::ForID needs the
  // low 8 bits, `tlsc1() & 255`, and silently returns the first antenna for a number that it lacks.
  int tlsc1() const { return tlsc1_; }
  int tlsc2() const { return tlsc2_; }
  int tlsc3() const { return tlsc3_; }
  /// The flag byte: 0 means usable.
  int flag() const { return flag_; }
  /// Store the low byte of `flag`.
  A3TlscsItem& setFlag(int flag) {
    flag_ = static_cast<uint8_t>(flag);
    return *this;
  }
  /// Text as in 1-2-5.
  std::string asString() const;

 private:
  int8_t tlsc1_ = 0;
  int8_t tlsc2_ = 0;
  int8_t tlsc3_ = 0;
  uint8_t flag_ = 0;
};
static_assert(sizeof(A3TlscsItem) == 4);

/// Order of triangles: ascending by the three antennas in turn, as signed numbers; flags are ignored.
/// @return -1 if `key` is greater, 1 if it is smaller, 0 if all antennas agree
ZELTRA_API int CompareTriangles(const A3TlscsItem& key, const A3TlscsItem& item);

ZELTRA_EXPORT_TEMPLATE(AArray<A3TlscsItem>);

/// Triangles in the order of CompareTriangles, each once.
class ZELTRA_API A3Tlscs : public AArray<A3TlscsItem> {
 public:
  A3Tlscs() : AArray(0, 0, 64) {}
  /// The image at the current position of `f`.
  explicit A3Tlscs(AFile& f) : A3Tlscs() { Load(f); }
  A3Tlscs(const ABaseLine& baselines, int tlsc) : A3Tlscs() { Create(baselines, tlsc); }

  /// List the triangles through antenna `tlsc` (0 to 255, or as a signed byte) whose three baselines are present and
  /// not flagged.
  /// @return their number
  int Create(const ABaseLine& baselines, int tlsc);

  /// Find a triangle by its antennas.
  /// @param index  its position; if not found, where it would be inserted, or -1 for an empty list
  /// @return 1 if found
  int HasItem(const A3TlscsItem& item, int& index) const;

  /// Remove the triangles whose flag is not 0. @return their number
  int DeleteUnflagItem();

  /// List the distinct antennas, ascending as signed numbers.
  /// @param antennas  room for every antenna: 256 numbers are always enough
  /// @param flags     room for the same number of flags: that of the first triangle that contains the antenna, or 0 if
  ///                  any such triangle is unflagged
  /// @return the number of antennas written
  int GetTlscMap(char* antennas, char* flags) const;
};

}  // namespace zeltra

#endif  // ZELTRA_ANALYSIS_A3TLSCS_H_
