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

/// The cards of the table "HD": what a header says beyond the fields of a UVX file, HISTORY among them, in its order.
class ZELTRA_API AUVXHeaderCards {
 public:
  AUVXHeaderCards() = default;
  /// Read a table "HD" that ToUVXTable made; of another one nothing.
  explicit AUVXHeaderCards(const AUVXTable& table);

  int count() const { return static_cast<int>(cards_.size() / kFITSCard); }
  /// Card i, 80 characters, valid until a card is added; no range check.
  std::string_view operator()(int i) const;
  /// Append a card, cut or filled with blanks to 80 characters.
  void Add(std::string_view card);
  /// Append as many HISTORY cards as the text needs, which is broken at blanks; '?' stands for what is not printable.
  void AddHistory(const std::string& text);

  /// The value of the last card with this keyword, without quotes and the blanks at its end.
  std::optional<std::string> Find(std::string_view key) const;
  /// The text of OBJECT, where `name` is what a table of sources keeps of it, 16 characters; else `name`.
  std::string ObjectOf(const std::string& name) const;

  /// Make a table "HD" of the library's own family: CARD, 80 characters.
  /// @return new, the caller's
  AUVXTable* ToUVXTable() const;

 private:
  std::string cards_;
};

/// The keyword of a card, without the blanks after it.
ZELTRA_API std::string_view KeywordOf(std::string_view card);

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXHEADERCARDS_H_
