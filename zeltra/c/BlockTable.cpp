// SPDX-License-Identifier: MIT
#include "zeltra/c/BlockTableInternal.h"

#include <algorithm>
#include <limits>

#include "zeltra/core/Text.h"
#include "zeltra/core/UTF8Internal.h"

namespace zeltra {
namespace {

// Blocks small enough to stay in the cache, since what is collected row by row is read column by column.
constexpr size_t kMostRows = 4096, kMostCells = 1 << 18;

}  // namespace

std::string CleanText(std::string_view text) {
  std::string clean;
  while (!text.empty()) {
    const std::string_view before = text;
    const unsigned code = TakeCharacter(text);
    const std::string_view taken = before.substr(0, before.size() - text.size());
    if (code < 0x20 || (code >= 0x7F && code < 0xA0)) {
      clean += '?';
    } else if (code == kReplacement) {
      clean += "\xEF\xBF\xBD";
    } else {
      clean += taken;
    }
  }
  return clean;
}

BlockTable::BlockTable(std::vector<AJobColumn> columns, Take take)
    : take_(std::move(take)),
      mostRows_(std::clamp<size_t>(kMostCells / std::max<size_t>(columns.size(), 1), 1, kMostRows)) {
  for (AJobColumn& column : columns) {
    column.name = CleanText(column.name);
    column.unit = CleanText(column.unit);
    columns_.emplace_back().described = std::move(column);
  }
}

void BlockTable::Integer(int64 value) {
  if (KindOfNext() == AColumnKind::Text) return Text(std::to_string(value));
  if (KindOfNext() != AColumnKind::Integer) return Real(static_cast<double>(value));
  Next(true).integers.push_back(value);
}

void BlockTable::Real(double value) {
  if (KindOfNext() == AColumnKind::Integer) return Nothing();
  if (KindOfNext() == AColumnKind::Text) return Text(valToStr(value));
  Next(true).reals.push_back(value);
}

void BlockTable::Text(std::string_view text) {
  if (KindOfNext() != AColumnKind::Text) return Nothing();
  Next(true).texts.push_back(CleanText(text));
}

void BlockTable::Nothing() {
  Column& column = Next(false);
  switch (column.described.kind) {
    case AColumnKind::Integer:
      return column.integers.push_back(0);
    case AColumnKind::Text:
      column.texts.emplace_back();
      return;
    default:
      return column.reals.push_back(std::numeric_limits<double>::quiet_NaN());
  }
}

void BlockTable::EndRow() {
  cell_ = 0;
  if (++rows_ >= mostRows_) Deliver();
}

AResult BlockTable::Finish() {
  if (rows_ > 0 || !hasDelivered_) Deliver();
  return good_ ? AResult::Ok() : AResult::Cancel("the table was cancelled by the program that reads it");
}

BlockTable::Column& BlockTable::Next(bool isPresent) {
  Column& column = columns_[cell_++];
  column.present.push_back(isPresent);
  column.isWhole = column.isWhole && isPresent;
  return column;
}

void BlockTable::Deliver() {
  std::vector<zeltra_column> views;
  std::vector<const zeltra_column*> pointers;
  for (Column& column : columns_) views.push_back(ViewOf(column));
  for (const zeltra_column& view : views) pointers.push_back(&view);
  good_ = good_ && take_(pointers.data(), pointers.size(), rows_);
  hasDelivered_ = true;
  rows_ = 0;
  for (Column& column : columns_) {
    column.integers.clear();
    column.reals.clear();
    column.texts.clear();
    column.present.clear();
    column.isWhole = true;
  }
}

zeltra_column BlockTable::ViewOf(Column& column) const {
  zeltra_column view = {};
  view.size = sizeof view;
  view.name = column.described.name.c_str();
  view.unit = column.described.unit.c_str();
  view.count = rows_;
  if (!column.isWhole) view.present = column.present.data();
  switch (column.described.kind) {
    case AColumnKind::Integer:
      view.type = ZELTRA_INT64;
      view.values = column.integers.data();
      break;
    case AColumnKind::Text:
      column.pointers.clear();
      for (const std::string& text : column.texts) column.pointers.push_back(text.c_str());
      view.type = ZELTRA_TEXT;
      view.values = column.pointers.data();
      break;
    default:
      view.type = ZELTRA_DOUBLE;
      view.values = column.reals.data();
  }
  return view;
}

}  // namespace zeltra
