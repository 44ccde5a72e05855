// The cards of a FITS header that a UVX file has no field for.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXHEADERCARDS_H_
#define ZELTRA_UVX_AUVXHEADERCARDS_H_

#include <optional>
#include <string>
#include <string_view>

#include "zeltra/fits/FITSCards.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

class AUVXTable;

/// The cards of the table "HD": what a header says beyond the fields of a UVX file, including HISTORY, in its order.
class ZELTRA_API AUVXHeaderCards {
 public:
  AUVXHeaderCards() = default;
  /// Read a table "HD" that ToUVXTable made; any other table gives no cards.
  explicit AUVXHeaderCards(const AUVXTable& table);

  int count() const { return static_cast<int>(cards_.size() / kFITSCard); }
  /// Card i, 80 characters, valid until a card is added; no range check.
  std::string_view operator()(int i) const;
  /// Append a card, cut or padded with blanks to 80 characters.
  void Add(std::string_view card);
  /// Append as many HISTORY cards as the text needs, broken at blanks; '?' replaces unprintable characters.
  void AddHistory(const std::string& text);

  /// The value of the last card with this keyword, without quotes and trailing blanks.
  std::optional<std::string> Find(std::string_view key) const;
  /// The full text of OBJECT if `name` is what a table of sources keeps of it, its first 16 characters; otherwise
  /// `name`.
  std::string ObjectOf(const std::string& name) const;

  /// Make a table "HD" of the library's own family: CARD, 80 characters.
  /// @return a new table, owned by the caller
  AUVXTable* ToUVXTable() const;

 private:
  std::string cards_;
};

/// The keyword of a card, without trailing blanks.
ZELTRA_API std::string_view KeywordOf(std::string_view card);

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXHEADERCARDS_H_
