// Names of polarisations, and combinations of two of them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_ASTOKESMIX_H_
#define ZELTRA_UVX_ASTOKESMIX_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "zeltra/core/AArray.h"
#include "zeltra/uvx/AUVXComplex.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace zeltra {

/// One polarisation of a record.
struct ZELTRA_API AStokesItem {
  int8_t index = -1;  ///< position on the Stokes axis, that is, in the file's list of codes; negative: absent
  int8_t code = 0;    ///< polarisation code as in AUVXStokes

  AStokesItem() = default;
  AStokesItem(int place, int polarisation)
      : index(static_cast<int8_t>(place)), code(static_cast<int8_t>(polarisation)) {}

  bool IsPresent() const { return index >= 0; }
  /// Name of the code, as in "RR-POL"; a code without a name appears as its number, as in "7-POL".
  std::string asString() const;
  /// Name of the code without its ending, as in "RR".
  std::string asShortString() const;
};
static_assert(sizeof(AStokesItem) == 2 && offsetof(AStokesItem, index) == 0 && offsetof(AStokesItem, code) == 1);

/// A polarisation that is stored, or one that is formed from two that are. With p the value of item1 and q that of
/// item2, the id says which:
///
///     -4  LR = p - i q          (Q, U)        1  I = (p + q) / 2      (LL, RR)
///     -3  RL = p + i q          (Q, U)        2  Q = (p + q) / 2      (RL, LR)
///     -2  LL = q - p            (V, I)        3  U = i (p - q) / 2    (RL, LR)
///     -1  RR = p + q            (V, I)        4  V = (q - p) / 2      (LL, RR)
///      0  the value of item1, or of item2 if item1 is absent
///
/// The items in brackets are those that the lists below use. In a file, a combination is the 6 bytes of this record.
struct ZELTRA_API AStokesMix {
  int16_t id = 0;
  AStokesItem item1;
  AStokesItem item2;

  /// A single polarisation with both items absent.
  AStokesMix() = default;
  AStokesMix(int mixId, AStokesItem first, AStokesItem second)
      : id(static_cast<int16_t>(mixId)), item1(first), item2(second) {}

  /// Name of the combination, as in "I (LL, RR)": a fixed text for the id, whatever the order of the items; the name of
  /// the item for id 0, "??-POL" for an unknown id.
  std::string asString() const;
  /// Name of the result alone, as in "I"; "??" for an unknown id.
  std::string asShortString() const;

  /// Polarisation code of the result.
  int GetStokesID() const { return id != 0 ? id : Single().code; }

  /// Combine the Stokes values of one frequency of a record.
  /// @param values    values in the order of the file's list of codes; all those that the items refer to must be there
  /// @param weighted  non-zero: each input is first multiplied by the absolute value of its weight
  /// @return the value; its weight is that of a single input, otherwise the mean of the absolute weights, negative
  ///         (flagged) unless both inputs are valid. An absent input counts as a flagged zero; an unknown id gives a
  ///         zero with weight 1.
  AUVXComplex GetVisible(const AUVXComplex* values, int weighted) const;

  /// Write the 6 bytes at the current position. @return non-zero for success
  int store(ABFile& file) const;
  /// Read 6 bytes at the current position. @return 0 if they are not there; the combination is then unchanged
  int load(ABFile& file);

 private:
  const AStokesItem& Single() const { return item1.IsPresent() ? item1 : item2; }
};
static_assert(sizeof(AStokesMix) == 6 && offsetof(AStokesMix, item1) == 2 && offsetof(AStokesMix, item2) == 4);
static_assert(std::is_trivially_copyable_v<AStokesMix>);

/// List every stored polarisation, then what can be formed: I and V from LL and RR, Q and U from RL and LR, RR and LL
/// from I and V, RL and LR from Q and U. The caller owns the list.
///
/// U is i (RL - LR) / 2, the reverse of the sign in RL = Q + i U; programs rely on it.
ZELTRA_API AArray<AStokesMix>* toListMix(const AUVXStokes& list);

/// List the stored parallel hands (YY, XX, LL, RR), then RR and LL if they can be formed from I and V. The caller owns
/// the list.
ZELTRA_API AArray<AStokesMix>* toListMixRL(const AUVXStokes& list);
/// The same into `out`, whose contents and storage are released first. @return the number of combinations
ZELTRA_API int toListMixRL(const AUVXStokes& list, AArray<AStokesMix>& out);

/// List the stored cross hands LR, RL and XY. The caller owns the list.
ZELTRA_API AArray<AStokesMix>* toListMixRL_LR(const AUVXStokes& list);
/// List the stored cross hands in `out`, whose contents and storage are released first. Unlike the form above this
/// lists YX too; programs rely on it. @return the number of combinations
ZELTRA_API int toListMixRL_LR(const AUVXStokes& list, AArray<AStokesMix>& out);

ZELTRA_EXPORT_TEMPLATE(AArray<AStokesMix>);

}  // namespace zeltra

#endif  // ZELTRA_UVX_ASTOKESMIX_H_
