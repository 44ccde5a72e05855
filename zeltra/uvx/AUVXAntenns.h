// Antenna lists, from the "AN" table.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXANTENNS_H_
#define ZELTRA_UVX_AUVXANTENNS_H_

#include <cstdint>
#include <string>
#include <utility>

#include "zeltra/core/AArray.h"

namespace zeltra {

class AUVXBaseLines;
class AUVXTable;

/// An antenna.
struct ZELTRA_API AUVXTlscItem {
  char name[18] = {};          ///< zero-terminated
  double x = 0, y = 0, z = 0;  ///< metres, from the centre of the array
  int32_t id = 0;              ///< antenna number

  /// The name without leading and trailing blanks.
  std::string Name() const;
};

/// An antenna with the other columns of its table.
struct ZELTRA_API AUVXTlscItemEx {
  char name[18] = {};             ///< zero-terminated
  double x = 0, y = 0, z = 0;     ///< metres, from the centre of the array
  double dx = 0, dy = 0, dz = 0;  ///< velocities (DERXYZ)
  double offset[3] = {};          ///< axis offset, metres; elements that the table lacks are 0
  int32_t id = 0;                 ///< antenna number
  int32_t mount = 0;              ///< 0 alt-azimuth, 1 equatorial, 2 orbiting, others as in the table

  std::string Name() const;
  bool IsGround() const { return mount != 2; }
};

ZELTRA_EXPORT_TEMPLATE(AArray<AUVXTlscItem>);
ZELTRA_EXPORT_TEMPLATE(AArray<AUVXTlscItemEx>);

/// What the keywords of an antenna table say about the coordinate frame.
struct ZELTRA_API AUVXArrayFrame {
  double x = 0, y = 0, z = 0;  ///< centre of the array, metres
  bool isRight = false;        ///< whether the frame is right-handed

  /// Take over the keywords of `table`: ARRAYX, ARRAYY, ARRAYZ, 0 if absent; FRAME and XYZHAND, which leave the
  /// handedness unchanged if they are absent or unknown.
  void Read(const AUVXTable& table);
};

/// The antennas of a file.
///
/// A copy has the items only: its centre is 0 and it is marked right-handed. A list constructed by moving takes over
/// everything, and so does an unqualified swap. Any assignment, also from a temporary, takes the items only and leaves
/// centre and handedness as they were, so std::swap and the erasing and sorting of containers mix lists up: read the
/// table again, or hold such lists by pointer.
class ZELTRA_API AUVXAntenns : public AArray<AUVXTlscItem> {
 public:
  /// Empty, not right-handed.
  AUVXAntenns() = default;
  explicit AUVXAntenns(const AUVXTable& table) { Create(table); }
  /// An antenna at 0, 0, 0 for each number in `baseLines`, ascending, named TLSC1, TLSC2, ...
  explicit AUVXAntenns(const AUVXBaseLines& baseLines);
  AUVXAntenns(const AUVXAntenns& other);
  AUVXAntenns(AUVXAntenns&& other) noexcept;
  AUVXAntenns& operator=(const AUVXAntenns& other);
  friend void swap(AUVXAntenns& a, AUVXAntenns& b) noexcept {
    std::swap<AArray<AUVXTlscItem>>(a, b);
    std::swap(a.frame_, b.frame_);
  }

  /// Read "AN" again.
  void Init(const AUVXTable& table);
  /// Append an item for each row of "AN", and take over its centre and handedness. A number 0 is replaced by that of
  /// the row, from 1.
  void Create(const AUVXTable& table);

  /// Index of the first antenna with this number, or -1.
  int IndexForID(int id) const;
  /// The antenna with this number; if there is none, the first one, so that there is always an item. Look up a record's
  /// antenna by AUVXGroup::antenna1(), since tlsc1() is negative above 127. An empty list gives an empty item that the
  /// next such call overwrites.
  AUVXTlscItem& ForID(int id);
  bool IsRight() const { return frame_.isRight; }
  /// Centre of the array, metres.
  double ArrayX() const { return frame_.x; }
  double ArrayY() const { return frame_.y; }
  double ArrayZ() const { return frame_.z; }

  /// Indices of the antennas that have no baseline; only the low 8 bits of their numbers are compared.
  /// @return a new array, owned by the caller
  AArray<int>* GetDeleteRows(const AUVXBaseLines& baseLines) const;
  /// Make an "AN" table of names, positions and numbers; names are cut to 8 characters.
  /// @return a new table, owned by the caller
  AUVXTable* ToUVXTable() const;

 private:
  AUVXArrayFrame frame_;
};

/// The antennas of a file with the other columns of the table; everything not described here is as in AUVXAntenns.
class ZELTRA_API AUVXAntennsEx : public AArray<AUVXTlscItemEx> {
 public:
  /// Empty, marked right-handed.
  AUVXAntennsEx() { frame_.isRight = true; }
  explicit AUVXAntennsEx(const AUVXTable& table) { Create(table); }
  explicit AUVXAntennsEx(const AUVXBaseLines& baseLines);
  AUVXAntennsEx(const AUVXAntennsEx& other);
  AUVXAntennsEx(AUVXAntennsEx&& other) noexcept;
  AUVXAntennsEx& operator=(const AUVXAntennsEx& other);
  friend void swap(AUVXAntennsEx& a, AUVXAntennsEx& b) noexcept {
    std::swap<AArray<AUVXTlscItemEx>>(a, b);
    std::swap(a.frame_, b.frame_);
  }

  void Init(const AUVXTable& table);
  void Create(const AUVXTable& table);

  int IndexForID(int id) const;
  AUVXTlscItemEx& ForID(int id);
  bool IsRight() const { return frame_.isRight; }
  double ArrayX() const { return frame_.x; }
  double ArrayY() const { return frame_.y; }
  double ArrayZ() const { return frame_.z; }

  AArray<int>* GetDeleteRows(const AUVXBaseLines& baseLines) const;
  /// The same table as that of AUVXAntenns: the additional columns are not written.
  AUVXTable* ToUVXTable() const;

 private:
  AUVXArrayFrame frame_;
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXANTENNS_H_
