// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXAntenns.h"

#include <memory>
#include <type_traits>
#include <utility>

#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {

template class AArray<AUVXTlscItem>;
template class AArray<AUVXTlscItemEx>;

namespace {

// The columns that only the extended list has. A column matches if its name contains the text sought, and the first
// match wins, so DERXYZ is tried before NOSTA and the others after it.

bool ReadDerivative(const AUVXTable& table, const ListColumn& column, AUVXTlscItemEx* items) {
  using Item = AUVXTlscItemEx;
  if (!column.Names("DERXYZ")) return false;
  ReadField(table, column, items, &Item::dx, 0);
  ReadField(table, column, items, &Item::dy, 1);
  ReadField(table, column, items, &Item::dz, 2);
  return true;
}

bool ReadDerivative(const AUVXTable&, const ListColumn&, AUVXTlscItem*) {
  return false;
}

void ReadExtended(const AUVXTable& table, const ListColumn& column, AUVXTlscItemEx* items) {
  using Item = AUVXTlscItemEx;
  if (column.Names("MNTSTA")) {
    ReadField(table, column, items, &Item::mount, column.count - 1);
  } else if (column.Names("STAXOF")) {
    for (int row = 0; row < table.rows(); ++row) {
      for (int i = 0; i < std::min(column.count, 3); ++i) items[row].offset[i] = ListNumber(table, column, row, i);
    }
  }
}

void ReadExtended(const AUVXTable&, const ListColumn&, AUVXTlscItem*) {}

/// If a column has several numbers where an antenna has room for one, the last of them counts.
template <typename Item>
void ReadColumn(const AUVXTable& table, const ListColumn& column, Item* items) {
  if (column.Names("ANNAME") && column.IsText()) {
    ReadField(table, column, items, &Item::name);
  } else if (!column.IsNumeric()) {
    return;
  } else if (column.Names("STABXYZ")) {
    ReadField(table, column, items, &Item::x, 0);
    ReadField(table, column, items, &Item::y, 1);
    ReadField(table, column, items, &Item::z, 2);
  } else if (ReadDerivative(table, column, items)) {
    return;
  } else if (column.Names("NOSTA")) {
    ReadField(table, column, items, &Item::id, column.count - 1);
    for (int row = 0; row < table.rows(); ++row) {
      if (items[row].id == 0) items[row].id = row + 1;
    }
  } else {
    ReadExtended(table, column, items);
  }
}

template <typename Item>
void AppendRows(AArray<Item>& list, const AUVXTable& table) {
  Item* items = AppendItems(list, table);
  for (const ListColumn& column : ListColumns(table)) ReadColumn(table, column, items);
}

template <typename Item>
void AppendFromBaseLines(AArray<Item>& list, const AUVXBaseLines& baseLines) {
  const std::unique_ptr<AArray<int>> map(baseLines.getTlscMap());
  for (int i = 0; i < map->count(); ++i) {
    Item item;
    SetFieldText(item.name, sizeof item.name, "TLSC" + std::to_string(i + 1));
    item.id = (*map)(i);
    list.Add(item);
  }
}

template <typename Item>
AArray<int>* RowsWithoutBaseLine(const AArray<Item>& list, const AUVXBaseLines& baseLines) {
  const std::unique_ptr<AArray<int>> map(baseLines.getTlscMap());
  return PlacesWithout(list, *map, [](const Item& item) { return item.id & 0xFF; });
}

template <typename Item>
AUVXTable* MakeTable(const AArray<Item>& list) {
  auto table = std::make_unique<AUVXTable>();
  table->Create(AUVXTable::toHash("AN", 0));
  table->AddColumn(PaddedToEight("ANNAME"), "", "8A");
  table->AddColumn(PaddedToEight("STABXYZ"), PaddedToEight("METERS"), "3D");
  table->AddColumn(PaddedToEight("NOSTA"), "", "1J");
  table->SetRows(list.count());
  for (int row = 0; row < table->rows(); ++row) {
    const Item& item = list(row);
    table->SetText(row, 0, item.Name());
    table->SetNumber(row, 1, 0, item.x);
    table->SetNumber(row, 1, 1, item.y);
    table->SetNumber(row, 1, 2, item.z);
    table->SetNumber(row, 2, 0, item.id);
  }
  return table.release();
}

AUVXArrayFrame RightHanded() {
  AUVXArrayFrame frame;
  frame.isRight = true;
  return frame;
}

}  // namespace

std::string AUVXTlscItem::Name() const {
  return FieldText(name, sizeof name);
}
std::string AUVXTlscItemEx::Name() const {
  return FieldText(name, sizeof name);
}

void AUVXArrayFrame::Read(const AUVXTable& table) {
  x = y = z = 0;
  for (int i = 0; i < table.keywords().count(); ++i) {
    const AUVXTableKeyWord& keyWord = table.keywords()(i);
    const std::string key = keyWord.Key();
    const std::string value = keyWord.Value();
    const auto names = [&key](const char* part) { return key.find(part) != std::string::npos; };
    if (names("ARRAYX")) {
      x = keyWord.Number();
    } else if (names("ARRAYY")) {
      y = keyWord.Number();
    } else if (names("ARRAYZ")) {
      z = keyWord.Number();
    } else if (names("FRAME")) {
      isRight = isRight || value == "GEOCENTRIC";
    } else if (names("XYZHAND")) {
      isRight = value == "RIGHT" || (isRight && value != "LEFT");
    }
  }
}

AUVXAntenns::AUVXAntenns(const AUVXBaseLines& baseLines) {
  AppendFromBaseLines(*this, baseLines);
}

AUVXAntenns::AUVXAntenns(const AUVXAntenns& other) : AArray(other), frame_(RightHanded()) {}

AUVXAntenns::AUVXAntenns(AUVXAntenns&& other) noexcept
    : AArray(std::move(other)), frame_(std::exchange(other.frame_, {})) {}

AUVXAntenns& AUVXAntenns::operator=(const AUVXAntenns& other) {
  AArray::operator=(other);
  return *this;
}

void AUVXAntenns::Init(const AUVXTable& table) {
  Free();
  Create(table);
}

void AUVXAntenns::Create(const AUVXTable& table) {
  frame_.Read(table);
  AppendRows(*this, table);
}

int AUVXAntenns::IndexForID(int id) const {
  return FindId(*this, id);
}
AUVXTlscItem& AUVXAntenns::ForID(int id) {
  return ItemForId(*this, id);
}

AArray<int>* AUVXAntenns::GetDeleteRows(const AUVXBaseLines& baseLines) const {
  return RowsWithoutBaseLine(*this, baseLines);
}

AUVXTable* AUVXAntenns::ToUVXTable() const {
  return MakeTable(*this);
}

AUVXAntennsEx::AUVXAntennsEx(const AUVXBaseLines& baseLines) {
  AppendFromBaseLines(*this, baseLines);
}

AUVXAntennsEx::AUVXAntennsEx(const AUVXAntennsEx& other) : AArray(other), frame_(RightHanded()) {}

AUVXAntennsEx::AUVXAntennsEx(AUVXAntennsEx&& other) noexcept
    : AArray(std::move(other)), frame_(std::exchange(other.frame_, RightHanded())) {}

AUVXAntennsEx& AUVXAntennsEx::operator=(const AUVXAntennsEx& other) {
  AArray::operator=(other);
  return *this;
}

void AUVXAntennsEx::Init(const AUVXTable& table) {
  Free();
  Create(table);
}

void AUVXAntennsEx::Create(const AUVXTable& table) {
  frame_.Read(table);
  AppendRows(*this, table);
}

int AUVXAntennsEx::IndexForID(int id) const {
  return FindId(*this, id);
}
AUVXTlscItemEx& AUVXAntennsEx::ForID(int id) {
  return ItemForId(*this, id);
}

AArray<int>* AUVXAntennsEx::GetDeleteRows(const AUVXBaseLines& baseLines) const {
  return RowsWithoutBaseLine(*this, baseLines);
}

AUVXTable* AUVXAntennsEx::ToUVXTable() const {
  return MakeTable(*this);
}

}  // namespace zeltra
