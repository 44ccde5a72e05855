// SPDX-License-Identifier: MIT
#include "zeltra/core/Parse.h"

#include <gmock/gmock.h>

#include "tests/support/Test.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"

namespace zeltra::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// What is read from a text as a `Value`, or -999 if nothing is.
template <typename Value, typename Read>
double Taken(const char* text, Read read) {
  Value value{};
  return read(text, value) ? static_cast<double>(value) : -999;
}
double Number(const char* text) {
  return Taken<double>(text, [](auto t, double& v) { return strToVal(t, v); });
}
double Whole(const char* text) {
  return Taken<int>(text, [](auto t, int& v) { return strToVal(t, v); });
}
double Degrees(const char* text) {
  return Taken<double>(text, [](auto t, double& v) { return strToAngle(t, v); }) * kDegreesPerRadian;
}
double Time(const char* text, double dateObs = 2458928.5) {
  return Taken<double>(text, [=](auto t, double& v) { return strToTime(t, dateObs, v); });
}

TEST(Parse, TakesTheWholeTextForANumber) {
  EXPECT_EQ(Number(" +1.5D3 "), 1500);
  EXPECT_EQ(Number("-.5e-1"), -0.05);
  EXPECT_EQ(Number("1e-999"), 0);
  for (const char* text : {"", ".", "1.5x", "1 2", "0x10", "nan", "inf", "1e", "1e999", "+-1", "1,5"}) {
    EXPECT_EQ(Number(text), -999) << text;
  }
  EXPECT_EQ(Whole("+07"), 7);
  for (const char* text : {"", "1.0", "2147483648", "--1", "+-1"}) EXPECT_EQ(Whole(text), -999) << text;
  double value = 0;
  EXPECT_TRUE(strToVal(" 2.5M ", kThousands, value));
  EXPECT_EQ(value, 2.5e6);
  EXPECT_FALSE(strToVal("M", kThousands, value) || strToVal("2.5T", kThousands, value));
  EXPECT_THAT(strToVal("12x", value).message(), HasSubstr("\"12x\" is not a number"));
  EXPECT_TRUE(IsSimpleFloatParse("-1.25"));
  EXPECT_FALSE(IsSimpleFloatParse("1e5") || IsSimpleFloatParse("") || IsSimpleFloatParse("-"));
  // The digits of a mantissa may outweigh its exponent.
  EXPECT_EQ(ParseNumber("1" + std::string(400, '0') + "e-50"), HUGE_VAL);
  EXPECT_EQ(ParseNumber("-0." + std::string(400, '0') + "1e50"), 0);
}

TEST(Parse, ReadsTimes) {
  for (const char* text : {"2020-03-20T07:30:00", "2020-03-20 07:30Z", "2020-03-20T7h30m", "2458928.8125", "58928.3125",
                           "07:30", "07:30:00.0", "7.5h", "+0/07:30", "7h29m60s"}) {
    EXPECT_EQ(Time(text), 2458928.8125) << text;
  }
  EXPECT_EQ(Time("+1/12:00"), 2458930);
  EXPECT_EQ(Time("2020-03-20"), 2458928.5);
  for (const char* text : {"", "24:00", "07:60", "07:30:61", "7", "1e9", "2020-02-30", "2020-03-20T", "07:30:00:00",
                           "-07:30", "+1/", "1/07:30", "07.5:30", "20/03/20", "7h30", "Z"}) {
    const double date = 2400000.5;  // of the modified Julian date 0
    EXPECT_EQ(Time(text), text == std::string("7") ? date + 7 : -999) << text;
  }
  double julianDate = 0;
  EXPECT_THAT(strToTime("07:30", 0, julianDate).message(), HasSubstr("observation date"));
}

TEST(Parse, ReadsAngles) {
  EXPECT_DOUBLE_EQ(Degrees("-00:30"), -0.5);
  EXPECT_DOUBLE_EQ(Degrees("+12:30:04.5"), 12.50125);
  EXPECT_DOUBLE_EQ(Degrees("12d30'4.5\""), 12.50125);
  EXPECT_DOUBLE_EQ(Degrees("12d30.3m"), 12.505);
  EXPECT_DOUBLE_EQ(Degrees("-12h30m"), -187.5);
  EXPECT_DOUBLE_EQ(Degrees("1.25e1"), 12.5);
  for (const char* text : {"", "12:60", "12:30:60", "12h30'", "12d30", "12:", "12.5:30", "- 12:30", "12d30m5s6"}) {
    EXPECT_LT(Degrees(text), -1000) << text;
  }
}

TEST(Parse, ReadsRanges) {
  ARange range;
  EXPECT_TRUE(strToRange("250k, 1.5M", range) && range.least == 250e3 && range.greatest == 1.5e6);
  EXPECT_TRUE(strToRange("2G,", range) && range.least == 2e9 && range.greatest > 1e300);
  for (const char* text : {"", "5", "2,1", "-1,2", "1K,2M", "1,2,3", "k,1"})
    EXPECT_FALSE(strToRange(text, range)) << text;
}

TEST(Parse, ReadsListsAndLines) {
  std::vector<int> numbers;
  EXPECT_TRUE(strToList("7,0-2, 1", 0, numbers));
  EXPECT_THAT(numbers, ElementsAre(7, 0, 1, 2, 1));
  for (const char* text : {"", "1,", "2-1", "-1", "0", "1-99999999", "1-16777216,1"}) {
    EXPECT_FALSE(strToList(text, 1, numbers)) << text;
  }
  std::vector<std::string> words;
  EXPECT_TRUE(ALineParse(" BR 12d30'05\"\t'3C 273' , \"!#\",, x ! 'comment", words));
  EXPECT_THAT(words, ElementsAre("BR", "12d30'05\"", "3C 273", "!#", "", "x"));
  EXPECT_TRUE(ALineParse("a,# b", words));
  EXPECT_THAT(words, ElementsAre("a", ""));
  EXPECT_FALSE(ALineParse("a 'b", words));
  EXPECT_FALSE(ALineParse("'O''Brien'", words));
}

}  // namespace
}  // namespace zeltra::test
