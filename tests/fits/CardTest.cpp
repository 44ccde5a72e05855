// SPDX-License-Identifier: MIT
#include <clocale>

#include "tests/support/Test.h"
#include "zeltra/fits/FITSCards.h"
#include "zeltra/fits/ParseFITSstr.h"

namespace zeltra::test {
namespace {

ParseFITSstr Parsed(const std::string& card) {
  ParseFITSstr result;
  result.Parse(card);
  return result;
}

double Number(const std::string& value) {
  return Parsed("KEY     = " + value).dPar();
}

int Integer(const std::string& value) {
  return Parsed("KEY     = " + value).iPar();
}

std::string Written(const std::string& keyword, const std::string& value, int numeric) {
  std::string buffer(82, '#');
  FormatCard(buffer.data() + 1, keyword, value, numeric);
  EXPECT_EQ(buffer.front(), '#');
  EXPECT_EQ(buffer.back(), '#');
  return buffer.substr(1, 80);
}

std::string Blanks(size_t count) {
  return std::string(count, ' ');
}

TEST(CardParse, SplitsKeywordIndexAndValue) {
  const ParseFITSstr crval =
      Parsed("CRVAL2  =                1.4E9 / Hz                                              ");
  EXPECT_EQ(crval.strKey(), "CRVAL");
  EXPECT_EQ(crval.GetNumber(), 2);
  EXPECT_EQ(crval.strPar(), "1.4E9");
  EXPECT_EQ(crval.dPar(), 1.4e9);
  EXPECT_EQ(crval.IsParString(), 0);

  const ParseFITSstr object = Parsed("OBJECT  = 'NGC 1275  '         / name");
  EXPECT_EQ(object.strKey(), "OBJECT");
  EXPECT_EQ(object.GetNumber(), -1);
  EXPECT_EQ(object.strPar(), "NGC 1275");
  EXPECT_EQ(object.IsParString(), 1);

  EXPECT_EQ(Parsed("DATE-OBS= '1999/01/02'").strPar(), "1999-01-02");
  EXPECT_EQ(Parsed("OBJECT  = 'A /B' / comment").strPar(), "A") << "the value ends at the first blank and slash";
  EXPECT_EQ(Parsed("TFORM999= '1E'").GetNumber(), 999);
  EXPECT_EQ(Parsed("12345678= '1E'").GetNumber(), 12345678);
  EXPECT_EQ(Parsed("12345678= '1E'").strKey(), "");
  EXPECT_EQ(Parsed("K /     = 5").strPar(), "") << "the comment begins before the value";
}

TEST(CardParse, TakesAnyTextAndAnyByte) {
  EXPECT_EQ(Parsed("").GetHash(), 0);
  EXPECT_EQ(Parsed("A").strKey(), "A");
  EXPECT_EQ(Parsed("OBJECT  =").strPar(), "");
  std::string card(80, '\xFF');
  card[12] = '\0';
  EXPECT_EQ(Parsed(card).strPar().size(), 71u);
  for (int c = 0; c < 256; ++c) EXPECT_LE(Parsed(std::string(80, static_cast<char>(c))).strKey().size(), 8u);
}

TEST(CardParse, HashesTheFirstSixCharacters) {
  EXPECT_EQ(ParseFITSstr::Hash(""), 0);
  EXPECT_EQ(ParseFITSstr::Hash("END"), 3492);
  // D A T E - O: 3 + 0 + 19 x 2^10 + 4 x 2^15 - 20 x 2^20 + 14 x 2^25
  EXPECT_EQ(ParseFITSstr::Hash("DATE-OBS"), 448941059);
  EXPECT_NE(ParseFITSstr::Hash("DATE-OBS"), ParseFITSstr::Hash("DATE-MAP"));
  EXPECT_EQ(ParseFITSstr::Hash("TELESCOP"), ParseFITSstr::Hash("TELESC"));
  EXPECT_EQ(Parsed("CRVAL4  = 1").GetHash(), ParseFITSstr::Hash("CRVAL"));
}

TEST(CardParse, ReadsNumbersWithAPointInEveryLocale) {
  for (const char* locale : {"de_DE.UTF-8", "German_Germany.1252", "C"}) {
    if (!std::setlocale(LC_ALL, locale)) continue;
    EXPECT_EQ(Number("-1.25E-3 / x"), -1.25e-3) << locale;
  }
  std::setlocale(LC_ALL, "C");
  EXPECT_EQ(Number("+2.5"), 2.5);
  EXPECT_EQ(Number("7 m"), 7);
  EXPECT_EQ(Number("T"), 0);
  EXPECT_EQ(Number("+-3"), 0);
  EXPECT_EQ(Number("-1E999"), -HUGE_VAL);
  EXPECT_EQ(Number("1E-999"), 0);
  EXPECT_EQ(Integer("-32"), -32);
  EXPECT_EQ(Integer("12.9"), 12);
  EXPECT_EQ(Integer("99999999999"), INT_MAX);
  EXPECT_EQ(Integer("-99999999999"), INT_MIN);
  EXPECT_EQ(Integer(""), 0);
}

TEST(CardWrite, PlacesValuesInTheirColumns) {
  EXPECT_EQ(Written("BSCALE", kFITSScaleOne, 1), "BSCALE  =    1.00000000000E+00 /" + Blanks(48));
  EXPECT_EQ(Written("EXTEND", kFITSTrue, 1), "EXTEND  =                    T /" + Blanks(48));
  EXPECT_EQ(Written("BUNIT", "JY", 0), "BUNIT   = 'JY      '           /" + Blanks(48));
  EXPECT_EQ(Written("OBJECT", "1234567890123456789", 0), "OBJECT  = '1234567890123456789'/" + Blanks(48));
  EXPECT_EQ(Written("OBJECT", "12345678901234567890", 0), "OBJECT  = '12345678901234567890'" + Blanks(48));
  EXPECT_EQ(Written("NUMBER", "-123456789012345678901", 1), "NUMBER  = -123456789012345678901" + Blanks(48))
      << "a number too long for its columns leaves the keyword alone";
}

TEST(CardWrite, EndsEveryCardAtColumn80) {
  EXPECT_EQ(Written("LONGKEYWORD", std::string(100, 'x'), 0), "LONGKEYW= '" + std::string(68, 'x') + "'");
  EXPECT_EQ(Written("N", std::string(100, '1'), 1), "N       = " + std::string(70, '1'));
  EXPECT_EQ(Written("OBSERVER", "O'Neill", 0), "OBSERVER= 'O''Neill'           /" + Blanks(48));
  EXPECT_EQ(Written("OBSERVER", std::string(67, 'x') + "'y", 0), "OBSERVER= '" + std::string(67, 'x') + "' ")
      << "half a quote would open the text again";

  std::string buffer(82, '#');
  FormatHistoryCard(buffer.data() + 1, "AIPS WTSCAL = 1.0 / kept");
  EXPECT_EQ(buffer, "#HISTORY   AIPS WTSCAL = 1.0 / kept" + Blanks(46) + "#");
  FormatHistoryCard(buffer.data() + 1, std::string(90, 'h'));
  EXPECT_EQ(buffer, "#HISTORY   " + std::string(70, 'h') + "#");
}

TEST(CardWrite, ShortensExponentsAndDates) {
  EXPECT_EQ(FixExponent("1.5E+007"), "1.5E+07");
  EXPECT_EQ(FixExponent("-1.5E-012"), "-1.5E-12");
  EXPECT_EQ(FixExponent(kFITSAxisZero), "0.000000000E+00");
  EXPECT_EQ(FixExponent("12"), "12");
  EXPECT_EQ(FixExponent("1E5"), "1E5");
  EXPECT_EQ(FormatCardDate(0), "01/01/70");
  EXPECT_EQ(FormatCardDate(951782400 + 86399), "29/02/00");
}

}  // namespace
}  // namespace zeltra::test
