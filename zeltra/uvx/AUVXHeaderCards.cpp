// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXHeaderCards.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "zeltra/core/Text.h"
#include "zeltra/fits/AFITSxtbl.h"
#include "zeltra/fits/FITSTextInternal.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {
namespace {

constexpr char kHistory[] = "HISTORY ";
constexpr size_t kCardBytes = kFITSCard;
constexpr size_t kHistoryRoom = kCardBytes - kFITSKeyword;
constexpr size_t kSourceName = 16;  // characters of a name in "SU"

// The text between quotes, with doubled quotes made single.
std::string Unquoted(std::string_view quoted) {
  std::string text;
  for (size_t i = 1; i < quoted.size(); ++i) {
    if (quoted[i] == '\'' && (i + 1 == quoted.size() || quoted[++i] != '\'')) break;
    text += quoted[i];
  }
  return text.substr(0, text.find_last_not_of(' ') + 1);
}

}  // namespace

std::string_view KeywordOf(std::string_view card) {
  const std::string_view keyword = card.substr(0, kFITSKeyword);
  return keyword.substr(0, keyword.find_last_not_of(' ') + 1);
}

AUVXHeaderCards::AUVXHeaderCards(const AUVXTable& table) {
  const int column = table.FindColumn("CARD"), offset = table.ColumnOffset(column);
  if (offset < 0) return;
  const AXTblFormat format = table.ParseFormat(column);
  if (format.type != 'A' || format.count != kFITSCard) return;
  for (int row = 0; row < table.rows(); ++row) Add({table.Row(row) + offset, kCardBytes});
}

std::string_view AUVXHeaderCards::operator()(int i) const {
  return std::string_view(cards_).substr(static_cast<size_t>(i) * kCardBytes, kCardBytes);
}

void AUVXHeaderCards::Add(std::string_view card) {
  cards_ += card.substr(0, kCardBytes);
  cards_.resize((cards_.size() + kCardBytes - 1) / kCardBytes * kCardBytes, ' ');
}

void AUVXHeaderCards::AddHistory(const std::string& text) {
  std::string rest = PrintableText(text);
  while (rest.size() > kHistoryRoom) {
    const size_t blank = rest.rfind(' ', kHistoryRoom);
    // Continuation lines are indented; a break within the indent would not shorten the line.
    const size_t end = blank == rest.npos || rest.find_first_not_of(' ') >= blank ? kHistoryRoom : blank;
    Add(kHistory + rest.substr(0, end));
    rest = "  " + rest.substr(rest[end] == ' ' ? end + 1 : end);
  }
  Add(kHistory + rest);
}

std::optional<std::string> AUVXHeaderCards::Find(std::string_view key) const {
  for (int i = count() - 1; i >= 0; --i) {
    const std::string_view card = (*this)(i);
    if (KeywordOf(card) != key || card.substr(kFITSKeyword, 2) != "= ") continue;
    const std::string value = Trimmed(card.substr(kFITSKeyword + 2));
    return value.starts_with('\'') ? Unquoted(value) : Trimmed(value.substr(0, value.find('/')));
  }
  return std::nullopt;
}

std::string AUVXHeaderCards::ObjectOf(const std::string& name) const {
  const std::optional<std::string> object = Find("OBJECT");
  return object && Trimmed(object->substr(0, kSourceName)) == name ? *object : name;
}

AUVXTable* AUVXHeaderCards::ToUVXTable() const {
  auto table = std::make_unique<AUVXTable>();
  table->Create(AUVXTable::toHash("HD", 1));
  table->AddColumn("CARD", "", "80A");
  table->SetRows(count());
  if (table->rows() > 0) std::memcpy(table->data(), cards_.data(), cards_.size());
  return table.release();
}

}  // namespace zeltra
