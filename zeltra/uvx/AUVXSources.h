// Source list, from the "SU" table.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXSOURCES_H_
#define ZELTRA_UVX_AUVXSOURCES_H_

#include <cstdint>
#include <string>

#include "zeltra/core/AArray.h"

namespace zeltra {

class AFITS;
class AUVXBaseLines;
class AUVXTable;

/// A source. Coordinates are in the unit of the table, which is degrees in tables that AIPS or this library wrote.
struct ZELTRA_API AUVXSourceItem {
  int32_t id = 0;       ///< source number
  char name[18] = {};   ///< zero-terminated
  double epoch = 0;     ///< equinox, years; negative while the apparent coordinates are still to be precessed
  double raApp = 0;     ///< apparent right ascension
  double decApp = 0;    ///< apparent declination
  double raEpoch = 0;   ///< right ascension at the epoch
  double decEpoch = 0;  ///< declination at the epoch

  /// The name without leading and trailing blanks.
  std::string Name() const;
};

ZELTRA_EXPORT_TEMPLATE(AArray<AUVXSourceItem>);

/// The sources of a file.
class ZELTRA_API AUVXSources : public AArray<AUVXSourceItem> {
 public:
  AUVXSources() = default;
  explicit AUVXSources(const AUVXTable& table) { Init(table); }
  /// The sources of a FITS file whose headers have been read: those of its "SU" table, or a single one, number 1, made
  /// of OBJECT and the value of the RA and DEC axes at pixel 1, its epoch negative.
  explicit AUVXSources(AFITS& fits);
  AUVXSources(const AUVXSources&) = default;
  AUVXSources& operator=(const AUVXSources&) = default;
  AUVXSources(AUVXSources&&) noexcept = default;
  AUVXSources& operator=(AUVXSources&&) noexcept = default;

  /// Read "SU" again.
  void Init(const AUVXTable& table);

  /// Index of the first source with this number, or -1.
  int IndexForID(int id) const;
  /// The source with this number; if there is none, the first one, so that there is always an item. An empty list gives
  /// an empty item that the next such call overwrites.
  AUVXSourceItem& ForID(int id);

  /// Indices of the sources that have no baseline; only the low 16 bits of their numbers are compared.
  /// @return a new array, owned by the caller
  AArray<int>* GetDeleteRows(const AUVXBaseLines& baseLines) const;
  /// Make an "SU" table of numbers, names (cut to 16 characters), epochs and apparent coordinates; those at the epoch
  /// are not written.
  /// @return a new table, owned by the caller
  AUVXTable* ToUVXTable() const;

  /// Precess the apparent coordinates of each source with a negative epoch from the date of that epoch to `julianDate`,
  /// and make the epoch positive.
  ///
  /// Precession follows Newcomb, with n in declination and m in right ascension, arc seconds per year; ra and dec enter
  /// sine, cosine and tangent as stored, whatever their unit, so that results agree with files corrected earlier. An
  /// epoch other than 1950 and 1900 counts as J2000.
  void CorrectRADEC(double julianDate);
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXSOURCES_H_
