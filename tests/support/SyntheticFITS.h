// FITS files made in memory, whole or damaged.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_TESTS_SUPPORT_SYNTHETICFITS_H_
#define ZELTRA_TESTS_SUPPORT_SYNTHETICFITS_H_

#include <algorithm>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <vector>

namespace zeltra::test {

/// A card of any text, 80 characters.
std::string RawCardText(std::string card);
/// A card `keyword = 'text'` or `keyword = number`, 80 characters.
std::string SyntheticCard(const std::string& keyword, const std::string& text);
std::string SyntheticCard(const std::string& keyword, double number);

/// The content of one field of one row: numbers, or text for a field of letter A. What is missing is zero or blank.
struct SyntheticCell {
  template <typename Number>
  requires std::is_arithmetic_v<Number> SyntheticCell(Number number) : numbers{static_cast<double>(number)} {}
  SyntheticCell(std::initializer_list<double> list) : numbers(list) {}
  SyntheticCell(std::vector<double> list) : numbers(std::move(list)) {}
  SyntheticCell(std::string content) : text(std::move(content)) {}
  SyntheticCell(const char* content) : text(content) {}

  std::vector<double> numbers;
  std::string text;
};

/// An extension table:
///   SyntheticTable("AIPS FQ").Columns({{"FRQSEL", "1J"}, {"IF FREQ", "2D", "HZ"}}).Row({1, {0., 8e6}})
class SyntheticTable {
 public:
  explicit SyntheticTable(std::string extname, std::string xtension = "BINTABLE")
      : extname_(std::move(extname)), xtension_(std::move(xtension)) {}

  struct Field {
    std::string ttype, tform, tunit = "";
  };

  /// Fields of letter L, X, B, I, J, K, A, E, D, C, M or P. A TUNIT card is written even if the unit is empty.
  SyntheticTable& Columns(std::vector<Field> fields) { return fields_ = std::move(fields), *this; }
  /// A card after those of the columns.
  template <typename Value>
  SyntheticTable& Card(const std::string& keyword, const Value& value) {
    return RawCard(SyntheticCard(keyword, value));
  }
  SyntheticTable& RawCard(const std::string& card) { return cards_ += RawCardText(card), *this; }
  /// One cell for each column; bits of an X field are given as one number, most significant byte first.
  SyntheticTable& Row(const std::vector<SyntheticCell>& cells);
  /// Bytes after the rows, counted by PCOUNT.
  SyntheticTable& Heap(const std::string& bytes) { return heap_ = bytes, *this; }

  std::string Bytes() const;

 private:
  std::string extname_, xtension_;
  std::vector<Field> fields_;
  std::string cards_, rows_, heap_;
  int rowCount_ = 0;
};

/// A random-groups UV FITS file:
///   SyntheticFITS::UV(4, 2, 16).Groups(100, parameter, value).Table(fq).Bytes()
/// Verbs that damage the file act on its finished bytes, in the order of the calls.
class SyntheticFITS {
 public:
  /// Physical value of random parameter `parameter` (from 0) of group `group` (from 0).
  using ParameterFunction = std::function<double(int group, int parameter)>;
  /// Physical value of element `element` (from 0) of the data array of a group, first axis fastest.
  using ValueFunction = std::function<double(int group, int element)>;

  /// The usual axes COMPLEX (3), STOKES (-1, -2, ...), FREQ (1.4 GHz, 1 MHz), IF, RA, DEC, and parameters UU--, VV--,
  /// WW--, BASELINE, DATE (PZERO 2450000.5), DATE; BITPIX -32; the usual cards; no groups yet.
  static SyntheticFITS UV(int stokes, int ifs, int channels);

  /// 8, 16, 32, -32 (the default) or -64.
  SyntheticFITS& Bitpix(int bitpix) { return bitpix_ = bitpix, *this; }
  /// Write BSCALE and BZERO: stored values are (value - bzero) / bscale.
  SyntheticFITS& Scale(double bscale, double bzero) {
    return isScaled_ = true, bscale_ = bscale, bzero_ = bzero, *this;
  }
  /// The next axis; NAXIS1 = 0 comes before the first. An empty `ctype` gets a length and no other cards.
  SyntheticFITS& Axis(const std::string& ctype, int length, double crval = 1, double cdelt = 1, double crpix = 1) {
    return axes_.push_back({ctype, length, {crval, cdelt, crpix, 0}}), *this;
  }
  /// The next random parameter: stored values are (value - pzero) / pscal.
  SyntheticFITS& Parameter(const std::string& ptype, double pscal = 1, double pzero = 0) {
    return parameters_.push_back({ptype, pscal, pzero}), *this;
  }
  SyntheticFITS& Groups(int count, ParameterFunction parameter, ValueFunction value);
  /// A card after those of the axes and parameters.
  template <typename Value>
  SyntheticFITS& Card(const std::string& keyword, const Value& value) {
    return RawCard(SyntheticCard(keyword, value));
  }
  SyntheticFITS& RawCard(const std::string& card) { return cards_ += RawCardText(card), *this; }
  SyntheticFITS& Table(const SyntheticTable& table) { return tables_ += table.Bytes(), *this; }

  SyntheticFITS& Truncate(size_t size) {
    return Damage([=](std::string& bytes) { bytes.resize(std::min(size, bytes.size())); });
  }
  SyntheticFITS& Flip(size_t offset, unsigned char mask = 0xFF) {
    return Damage([=](std::string& bytes) { bytes.at(offset) = static_cast<char>(bytes.at(offset) ^ mask); });
  }
  /// Put `card` in place of the card of this keyword, the `occurrence`-th of the file (from 0). It is padded with
  /// blanks, so that an empty text removes the card. Throws if there is no such card: nothing would be tested.
  SyntheticFITS& ReplaceCard(const std::string& keyword, const std::string& card, int occurrence = 0);
  SyntheticFITS& Append(const std::string& tail) {
    return Damage([=](std::string& bytes) { bytes += tail; });
  }

  std::string Bytes() const;

 private:
  struct AxisCards {
    std::string ctype;
    int length;
    double values[4];
  };
  struct ParameterCards {
    std::string ptype;
    double pscal, pzero;
  };

  SyntheticFITS& Damage(std::function<void(std::string&)> damage) {
    return damages_.push_back(std::move(damage)), *this;
  }
  std::string Header() const;
  std::string Data() const;

  int bitpix_ = -32;
  bool isScaled_ = false;
  double bscale_ = 1, bzero_ = 0;
  std::vector<AxisCards> axes_;
  std::vector<ParameterCards> parameters_;
  int groups_ = 0;
  ParameterFunction parameter_;
  ValueFunction value_;
  std::string cards_, tables_;
  std::vector<std::function<void(std::string&)>> damages_;
};

}  // namespace zeltra::test

#endif  // ZELTRA_TESTS_SUPPORT_SYNTHETICFITS_H_
