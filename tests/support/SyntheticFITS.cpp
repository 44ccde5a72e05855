// SPDX-License-Identifier: MIT
#include "tests/support/SyntheticFITS.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <stdexcept>

namespace zeltra::test {
namespace {

constexpr size_t kCard = 80;
constexpr size_t kBlock = 2880;

std::string LogicalCard(const std::string& keyword) {
  std::string card = SyntheticCard(keyword, 0);
  card[29] = 'T';
  return card;
}

void PadTo(std::string& bytes, char filler) {
  bytes.resize((bytes.size() + kBlock - 1) / kBlock * kBlock, filler);
}

std::string Finished(std::string header) {
  header += RawCardText("END");
  PadTo(header, ' ');
  return header;
}

// The low `width` bytes of `bits`, the most significant first.
void AppendBits(std::string& bytes, std::uint64_t bits, int width) {
  for (int i = width - 1; i >= 0; --i) bytes += static_cast<char>(bits >> (8 * i) & 0xFF);
}

// A number in the form that BITPIX states.
void AppendNumber(std::string& bytes, double number, int bitpix) {
  if (bitpix == -32) return AppendBits(bytes, std::bit_cast<std::uint32_t>(static_cast<float>(number)), 4);
  if (bitpix == -64) return AppendBits(bytes, std::bit_cast<std::uint64_t>(number), 8);
  AppendBits(bytes, static_cast<std::uint64_t>(std::llround(number)), bitpix / 8);
}

struct Form {
  int repeat = 1;  // the count that a letter alone stands for
  char letter = 0;

  explicit Form(const std::string& tform) {
    const auto rest = std::from_chars(tform.data(), tform.data() + tform.size(), repeat).ptr;
    letter = *rest;
  }
  // Numbers in an element, and the BITPIX of each.
  int Parts() const { return letter == 'C' || letter == 'M' || letter == 'P' ? 2 : 1; }
  int Bitpix() const {
    const std::string letters = "LBIJPKECDM";
    const std::array<int, 10> bitpix = {8, 8, 16, 32, 32, 64, -32, -32, -64, -64};
    return bitpix.at(letters.find(letter));
  }
  size_t Bytes() const {
    if (letter == 'A') return static_cast<size_t>(repeat);
    if (letter == 'X') return static_cast<size_t>(repeat + 7) / 8;
    return static_cast<size_t>(repeat * Parts() * std::abs(Bitpix()) / 8);
  }
};

void AppendCell(std::string& bytes, const Form& form, const SyntheticCell& cell) {
  const auto number = [&cell](size_t i) { return i < cell.numbers.size() ? cell.numbers[i] : 0.0; };
  if (form.letter == 'A') {
    std::string text = cell.text;
    text.resize(form.Bytes(), ' ');
    bytes += text;
  } else if (form.letter == 'X') {
    AppendBits(bytes, static_cast<std::uint64_t>(number(0)), static_cast<int>(form.Bytes()));
  } else {
    for (int i = 0; i < form.repeat * form.Parts(); ++i) {
      AppendNumber(bytes, number(static_cast<size_t>(i)), form.Bitpix());
    }
  }
}

size_t FindCard(const std::string& bytes, std::string keyword, int occurrence) {
  keyword.resize(8, ' ');
  for (size_t at = 0; at < bytes.size(); at += kCard) {
    if (bytes.compare(at, 8, keyword) == 0 && occurrence-- == 0) return at;
  }
  throw std::logic_error("no card " + keyword);
}

}  // namespace

std::string RawCardText(std::string card) {
  card.resize(kCard, ' ');
  return card;
}

std::string SyntheticCard(const std::string& keyword, const std::string& text) {
  std::string card = keyword;
  card.resize(8, ' ');
  std::string padded = text;
  if (padded.size() < 8) padded.resize(8, ' ');
  return RawCardText(card + "= '" + padded + "'");
}

std::string SyntheticCard(const std::string& keyword, double number) {
  char text[32];
  std::string value(text, std::to_chars(text, text + sizeof text, number).ptr);
  for (char& c : value) c = c == 'e' ? 'E' : c;
  std::string card = keyword;
  card.resize(8, ' ');
  card += "= ";
  card.resize(value.size() < 20 ? 30 - value.size() : 10, ' ');
  return RawCardText(card + value);
}

SyntheticTable& SyntheticTable::Row(const std::vector<SyntheticCell>& cells) {
  if (cells.size() != fields_.size()) throw std::logic_error("a row needs one cell a column");
  for (size_t i = 0; i < cells.size(); ++i) AppendCell(rows_, Form(fields_[i].tform), cells[i]);
  ++rowCount_;
  return *this;
}

std::string SyntheticTable::Bytes() const {
  size_t rowBytes = 0;
  for (const Field& field : fields_) rowBytes += Form(field.tform).Bytes();
  std::string header = SyntheticCard("XTENSION", xtension_) + SyntheticCard("BITPIX", 8) + SyntheticCard("NAXIS", 2) +
                       SyntheticCard("NAXIS1", static_cast<double>(rowBytes)) + SyntheticCard("NAXIS2", rowCount_) +
                       SyntheticCard("PCOUNT", static_cast<double>(heap_.size())) + SyntheticCard("GCOUNT", 1) +
                       SyntheticCard("TFIELDS", static_cast<double>(fields_.size())) +
                       SyntheticCard("EXTNAME", extname_) + SyntheticCard("EXTVER", 1);
  for (size_t i = 0; i < fields_.size(); ++i) {
    const std::string index = std::to_string(i + 1);
    header += SyntheticCard("TTYPE" + index, fields_[i].ttype) + SyntheticCard("TFORM" + index, fields_[i].tform) +
              SyntheticCard("TUNIT" + index, fields_[i].tunit);
  }
  std::string data = rows_ + heap_;
  PadTo(data, '\0');
  return Finished(header + cards_) + data;
}

SyntheticFITS SyntheticFITS::UV(int stokes, int ifs, int channels) {
  SyntheticFITS fits;
  fits.Axis("COMPLEX", 3).Axis("STOKES", stokes, -1, -1).Axis("FREQ", channels, 1.4e9, 1e6).Axis("IF", ifs);
  fits.Axis("RA", 1, 187.5).Axis("DEC", 1, 12.25);
  fits.Parameter("UU--").Parameter("VV--").Parameter("WW--").Parameter("BASELINE");
  fits.Parameter("DATE", 1, 2450000.5).Parameter("DATE");
  fits.Card("OBJECT", "3C273").Card("TELESCOP", "VLBA").Card("INSTRUME", "VLBA").Card("OBSERVER", "BG001");
  fits.Card("DATE-OBS", "1995-10-10").Card("BUNIT", "JY").Card("EPOCH", 2000);
  return fits;
}

SyntheticFITS& SyntheticFITS::Groups(int count, ParameterFunction parameter, ValueFunction value) {
  groups_ = count;
  parameter_ = std::move(parameter);
  value_ = std::move(value);
  return *this;
}

SyntheticFITS& SyntheticFITS::ReplaceCard(const std::string& keyword, const std::string& card, int occurrence) {
  return Damage(
      [=](std::string& bytes) { bytes.replace(FindCard(bytes, keyword, occurrence), kCard, RawCardText(card)); });
}

std::string SyntheticFITS::Header() const {
  std::string header = LogicalCard("SIMPLE") + SyntheticCard("BITPIX", bitpix_) +
                       SyntheticCard("NAXIS", static_cast<double>(axes_.size() + 1)) + SyntheticCard("NAXIS1", 0);
  for (size_t i = 0; i < axes_.size(); ++i) {
    header += SyntheticCard("NAXIS" + std::to_string(i + 2), axes_[i].length);
  }
  header += LogicalCard("EXTEND") + LogicalCard("GROUPS") +
            SyntheticCard("PCOUNT", static_cast<double>(parameters_.size())) + SyntheticCard("GCOUNT", groups_);
  if (isScaled_) header += SyntheticCard("BSCALE", bscale_) + SyntheticCard("BZERO", bzero_);
  const char* axisKeywords[] = {"CRVAL", "CDELT", "CRPIX", "CROTA"};
  for (size_t i = 0; i < axes_.size(); ++i) {
    if (axes_[i].ctype.empty()) continue;
    const std::string index = std::to_string(i + 2);
    header += SyntheticCard("CTYPE" + index, axes_[i].ctype);
    for (size_t k = 0; k < 4; ++k) header += SyntheticCard(axisKeywords[k] + index, axes_[i].values[k]);
  }
  for (size_t i = 0; i < parameters_.size(); ++i) {
    const std::string index = std::to_string(i + 1);
    header += SyntheticCard("PTYPE" + index, parameters_[i].ptype) +
              SyntheticCard("PSCAL" + index, parameters_[i].pscal) +
              SyntheticCard("PZERO" + index, parameters_[i].pzero);
  }
  return Finished(header + cards_);
}

std::string SyntheticFITS::Data() const {
  std::string data;
  int elements = 1;
  for (const AxisCards& axis : axes_) elements *= axis.length;
  for (int group = 0; group < groups_; ++group) {
    for (size_t i = 0; i < parameters_.size(); ++i) {
      const double value = parameter_(group, static_cast<int>(i));
      AppendNumber(data, (value - parameters_[i].pzero) / parameters_[i].pscal, bitpix_);
    }
    for (int i = 0; i < elements; ++i) AppendNumber(data, (value_(group, i) - bzero_) / bscale_, bitpix_);
  }
  PadTo(data, '\0');
  return data;
}

std::string SyntheticFITS::Bytes() const {
  std::string bytes = Header() + Data() + tables_;
  for (const auto& damage : damages_) damage(bytes);
  return bytes;
}

}  // namespace zeltra::test
