// Reading the bytes of a table's rows, for the lists that are made from tables.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXTABLEINTERNAL_H_
#define ZELTRA_UVX_AUVXTABLEINTERNAL_H_

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "zeltra/core/Text.h"
#include "zeltra/fits/TableRowsInternal.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// Element at `p`, at any address, of letter D, E, J or I.
double DecodeElement(const char* p, char type);

/// x + 0.5 with its fraction dropped; 0 for NaN, and clamped to the range of int.
int RoundedInt(double x);

/// Texts of table columns and units, padded with blanks to eight characters.
std::string PaddedToEight(const std::string& text);

/// A column as the lists use it.
struct ListColumn {
  std::string name;
  char type;
  int count;   // elements that lie inside the row
  int offset;  // bytes from the start of the row

  bool Names(std::string_view part) const { return name.find(part) != std::string::npos; }
  bool IsText() const { return type == 'A' && count > 0; }
  bool IsNumeric() const { return count > 0 && (type == 'D' || type == 'E' || type == 'I' || type == 'J'); }
};

/// The columns of a table in order. Letters other than A, D, E, I, J, L, including bits, take no bytes of a row here:
/// later columns are read where they would be without such a column. Programs rely on this.
std::vector<ListColumn> ListColumns(const AUVXTable& table);

/// Element `element` of a numeric column in one row.
inline double ListNumber(const AUVXTable& table, const ListColumn& column, int row, int element = 0) {
  return DecodeElement(table.Row(row) + column.offset + element * ElementBytes(column.type), column.type);
}

// Each function below sets one field of the `table.rows()` items at `items` from one column.

template <typename Item>
void ReadField(const AUVXTable& table, const ListColumn& column, Item* items, double Item::*field, int element = 0) {
  if (element >= column.count) return;
  for (int row = 0; row < table.rows(); ++row) items[row].*field = ListNumber(table, column, row, element);
}

template <typename Item>
void ReadField(const AUVXTable& table, const ListColumn& column, Item* items, int32_t Item::*field, int element = 0) {
  if (element >= column.count) return;
  for (int row = 0; row < table.rows(); ++row) items[row].*field = RoundedInt(ListNumber(table, column, row, element));
}

template <typename Item, int kWidth>
void ReadField(const AUVXTable& table, const ListColumn& column, Item* items, char (Item::*field)[kWidth]) {
  const auto length = static_cast<size_t>(column.count);
  for (int row = 0; row < table.rows(); ++row) {
    SetFieldText(items[row].*field, kWidth, std::string_view(table.Row(row) + column.offset, length));
  }
}

/// Append one default-constructed item for each row of `table`.
/// @return the first of them
template <typename Item>
Item* AppendItems(AArray<Item>& list, const AUVXTable& table) {
  const int before = list.count();
  // An index has millions of rows, so nothing is copied unless it has to be.
  if (before == 0) {
    list.GrowBy(table.rows());
  } else {
    list += AArray<Item>(table.rows(), 0, 256);
  }
  std::fill_n(list.lpArray() + before, table.rows(), Item());
  return list.lpArray() + before;
}

/// Index of the first item with this id, or -1.
template <typename Item>
int FindId(const AArray<Item>& list, int id) {
  const Item* end = list.lpArray() + list.count();
  const Item* found =
      std::find_if(static_cast<const Item*>(list.lpArray()), end, [id](const Item& item) { return item.id == id; });
  return found == end ? -1 : static_cast<int>(found - list.lpArray());
}

/// The first item with this id, else the first item. An empty list gives an item local to the thread, emptied at every
/// call.
template <typename Item>
Item& ItemForId(AArray<Item>& list, int id) {
  if (list.count() > 0) return list(std::max(FindId(list, id), 0));
  thread_local Item none;
  return none = Item();
}

/// Indices of the items whose `key` is not in the ascending `present`.
/// @return a new array, owned by the caller
template <typename Item, typename Number, typename Key>
AArray<int>* PlacesWithout(const AArray<Item>& list, const AArray<Number>& present, Key key) {
  auto* places = new AArray<int>;
  for (int i = 0; i < list.count(); ++i) {
    const Number* begin = present.lpArray();
    if (!std::binary_search(begin, begin + present.count(), key(list(i)))) places->Add(i);
  }
  return places;
}

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXTABLEINTERNAL_H_
