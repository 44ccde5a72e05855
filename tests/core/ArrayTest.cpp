// SPDX-License-Identifier: MIT
#include <numeric>

#include "tests/support/Elements.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/core/AMatrix.h"
#include "zeltra/core/AObjArray.h"
#include "zeltra/core/APtrArray.h"
#include "zeltra/core/ASort.h"
#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"

namespace zeltra::test {
namespace {

AArray<int> Counted(int n) {
  AArray<int> a;
  for (int i = 0; i < n; ++i) a.Add(i);
  return a;
}

// Notes the sizes of the blocks that it allocates.
std::vector<int> takenSizes;
class TracingArray : public AArray<int> {
 protected:
  int* AMALLOC(int n) override {
    takenSizes.push_back(n);
    return AArray<int>::AMALLOC(n);
  }
};

TEST(Array, GrowsByItsFixedStep) {
  takenSizes.clear();
  TracingArray a;
  for (int i = 0; i < 700; ++i) a.Add(i);
  EXPECT_EQ(takenSizes, (std::vector<int>{256, 512, 768}));
  std::vector<int> expected(700);
  std::iota(expected.begin(), expected.end(), 0);
  EXPECT_EQ(Elements(a), expected);
  TracingArray sum;
  sum += a;
  EXPECT_EQ(takenSizes.back(), 700) << "appending takes no slack";
}

TEST(Array, InsertsAndDeletesInPlace) {
  AArray<int> a = Counted(5);
  EXPECT_EQ(a.InsertAt(1, a(4)), 1);
  EXPECT_EQ(Elements(a), (std::vector<int>{0, 4, 1, 2, 3, 4}));
  EXPECT_EQ(a.DeleteItems(1, 2), 4);
  EXPECT_EQ(Elements(a), (std::vector<int>{0, 2, 3, 4}));
  EXPECT_EQ(a.DeleteItems(2, 100), 2);
  EXPECT_EQ(a.DeleteItems(1, std::numeric_limits<int>::max()), 1);
  a = 7;
  EXPECT_EQ(Elements(a), std::vector<int>{7});
}

TEST(Array, MovesItsBlockAndLeavesAnEmptyArray) {
  takenSizes.clear();
  TracingArray a;
  a.Reserve(1000);
  for (int i = 0; i < 700; ++i) a.Add(i);
  TracingArray b(std::move(a)), c;
  c = std::move(b);
  EXPECT_EQ(takenSizes, (std::vector<int>{1000}));
  EXPECT_EQ(std::accumulate(c.begin(), c.end(), 0), 699 * 350);
  for (TracingArray* moved : {&a, &b}) {
    EXPECT_EQ(moved->begin(), moved->end());
    EXPECT_EQ(moved->Add(5), 0);
  }
}

TEST(Array, FreeEmptiesAndTheArrayStaysUsable) {
  AArray<int> a = Counted(300);
  a.Free();
  EXPECT_EQ(a.count(), 0);
  EXPECT_EQ(a.lpArray(), nullptr);
  a.Add(5);
  EXPECT_EQ(Elements(a), std::vector<int>{5});
  EXPECT_EQ(a.GrowBy(10).ZeroInit().count(), 10);
  EXPECT_EQ(Elements(a), std::vector<int>(10, 0));
  a = AArray<int>();
  EXPECT_EQ(a.lpArray(), nullptr);
}

TEST(ArrayImage, IsACountAndTheElements) {
  OpenTempFile file;
  AArray<short> a;
  a.Add(0x0201);
  a.Add(-1);
  EXPECT_TRUE(a.Store(file));
  EXPECT_TRUE(AArray<short>().Store(file));
  EXPECT_EQ(file.Bytes(), std::string("\2\0\0\0\1\2\xff\xff\0\0\0\0", 12));
  file.Seek(0);
  AArray<short> b(file);
  ASSERT_EQ(b.count(), 2);
  EXPECT_EQ(b(1), -1);
  EXPECT_TRUE(b.Load(file));
  EXPECT_EQ(b.count(), 0);
  EXPECT_EQ(b.lpArray(), nullptr);
  EXPECT_FALSE(b.Load(file)) << "the file has ended";
}

TEST(ArrayImage, RefusesCountsThatTheFileCannotHold) {
  for (const int32_t count : {-1, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max(), 3}) {
    OpenTempFile file(std::string(reinterpret_cast<const char*>(&count), 4) + "12345678");
    AArray<int> a = Counted(3);
    EXPECT_FALSE(a.Load(file)) << count;
    EXPECT_EQ(a.count(), 0);
    file.Seek(0);
    AMatrix<double> m(2, 2);
    EXPECT_FALSE(m.Load(file)) << count;
    EXPECT_EQ(m.lpArray(), nullptr);
  }
}

TEST(ArrayImage, LeavesAnEmptyArrayWhereThereIsNoMemory) {
  struct Poor : AArray<int> {
    int* AMALLOC(int) override { return nullptr; }
  } poor;
  OpenTempFile file(std::string("\2\0\0\0", 4) + "12345678");
  EXPECT_FALSE(poor.Load(file));
  EXPECT_EQ(poor.count(), 0);
}

struct Tracked {
  explicit Tracked(int* counter) : alive(counter) { ++*alive; }
  ~Tracked() { --*alive; }
  int* alive;
};

TEST(PtrArray, DeletesWhatItDropsUnlessToldOtherwise) {
  int alive = 0;
  {
    APtrArray<Tracked*> a(0, 0, 2);
    for (int i = 0; i < 5; ++i) a.Add(new Tracked(&alive));
    a.Add(nullptr);
    EXPECT_EQ(a.DeleteItems(0, 2), 4);
    EXPECT_EQ(alive, 3);
    APtrArray<Tracked*> shared(a);
    EXPECT_EQ(shared.GetItemAutoDelete(), 0) << "a copy leaves its elements to the array that it was made from";
    shared.Free();
    EXPECT_EQ(alive, 3);
    APtrArray<Tracked*> other(0, 0, 2);
    other.Add(new Tracked(&alive));
    other = std::move(a);
    EXPECT_EQ(alive, 3);
    EXPECT_EQ(a.count(), 0);
    other.DeleteItems(1, 100);
    EXPECT_EQ(alive, 1);
    APtrArray<Tracked*> sized(3, 5, 8);
    EXPECT_EQ(sized(2), nullptr);
    EXPECT_EQ(sized.GrowBy(2000)(1999), nullptr);
  }
  EXPECT_EQ(alive, 0);
}

struct Named {
  std::string text = "new";
  int Store(AFile& f) { return f.Write(text.data(), 3); }
  int Load(AFile& f) {
    text.assign(3, '\0');
    return f.Read(text.data(), 3);
  }
};

TEST(ObjArray, KeepsConstructedElements) {
  AObjArray<Named> a(1, 0, 1);
  EXPECT_EQ(a(0).text, "new");
  a.InsertAt(0, {"abc"});
  a += a;
  a.DeleteItems(1, 2);
  EXPECT_EQ(a(0).text + a(1).text, "abcnew");
  a.GrowBy(8, 1);
  OpenTempFile file;
  EXPECT_TRUE(a.Store(file));
  EXPECT_EQ(file.Bytes().substr(0, 10), std::string("\10\0\0\0abcnew", 10));
  file.Seek(0);
  AObjArray<Named> b;
  EXPECT_TRUE(b.Load(file));
  EXPECT_EQ(b.count(), 8);
  OpenTempFile cut(std::string("\xff\xff\xff\x7f", 4) + "abc");
  EXPECT_FALSE(b.Load(cut));
}

// Reads one byte of a file but takes far more memory.
struct Large {
  Large() { ++made; }
  int Load(AFile& f) { return f.Read(&bytes[0], 1); }
  inline static int made = 0;
  char bytes[100];
};

TEST(ObjArray, LoadsInLinearTimeWithinTheBytesOfTheFile) {
  OpenTempFile file(std::string("\xe8\3\0\0", 4) + std::string(1000, 'x'));
  AObjArray<Large> a(0, 0, 1);
  ASSERT_TRUE(a.Load(file));
  EXPECT_EQ(a.count(), 1000);
  EXPECT_EQ(a(999).bytes[0], 'x');
  EXPECT_LT(Large::made, 8000) << "with the elements moved at each step it is half a million";
}

TEST(Matrix, IsLineMajorOnDisk) {
  OpenTempFile file;
  AMatrix<short> m(2, 3);
  m(0, 0) = 1;
  m(1, 2) = 6;
  EXPECT_TRUE(m.Store(file));
  file.largest = 31;
  EXPECT_FALSE(m.Store(file)) << "the last byte does not fit";
  EXPECT_EQ(file.Bytes().substr(0, 20), std::string("\2\0\0\0\3\0\0\0\1\0\0\0\0\0\0\0\0\0\6\0", 20));
  file.Seek(0);
  AMatrix<short> copy;
  copy = AMatrix<short>(file);
  EXPECT_EQ(copy(1, 2), 6);
  EXPECT_EQ(copy.LineLength(), 3);
  EXPECT_EQ(AMatrix<double>(0x7fffffff, 0x7fffffff).lpArray(), nullptr);
}

TEST(Sorted, ListsOrderAndFindKeys) {
  ASort<int, int> list;
  for (const int key : {3, 1, 3, 2}) list.Add(key, list.count());
  list.Sort();
  EXPECT_EQ(list.Key(0), 1);
  EXPECT_EQ(list.Value(2), 0) << "equal keys keep their order";
  EXPECT_EQ(list.Value(3), 2);
  ABSort<double, double> sorted;
  EXPECT_EQ(sorted.Add(2, 20), 0);
  EXPECT_EQ(sorted.Add(1, 10), 0);
  EXPECT_EQ(sorted.Add(2, 99), 1);
  EXPECT_EQ(sorted.Value(1), 20);
  int index = -1;
  EXPECT_FALSE(sorted.Search(1.5, index));
  EXPECT_EQ(index, 1);
  EXPECT_TRUE(sorted.Search(2, index));
  const double nan = std::nan("");
  EXPECT_FALSE(sorted.Search(nan, index));
  EXPECT_EQ(sorted.Add(nan, 30) + sorted.Add(nan, 99), 4) << "after every number, once";
  EXPECT_EQ(sorted.Add(3, 0), 2);
  ASort<double, int> gaps;
  for (int i = 0; i < 40; ++i) gaps.Add(i % 3 == 0 ? nan : -i, i);
  gaps.Sort();
  for (int i = 1; i < 26; ++i) EXPECT_LT(gaps.Key(i - 1), gaps.Key(i));
  ABSort<char, double> mixed;
  EXPECT_EQ(mixed.Add('b', 0.5) + mixed.Add('a', 1.5), 0);
  EXPECT_EQ(mixed.Value(0), 1.5);
}

TEST(Text, NumbersAreShortAndReadBack) {
  EXPECT_EQ(valToStr(0.1), "0.1");
  EXPECT_EQ(valToStr(0.1f), "0.1");
  EXPECT_EQ(valToStr(static_cast<double>(0.1f)), "0.10000000149011612");
  EXPECT_EQ(valToStr(1e300), "1e+300");
  EXPECT_EQ(std::strtod(valToStr(1.0 / 3).c_str(), nullptr), 1.0 / 3);
  EXPECT_EQ(RoundedNumber(1e9, 10) + RoundedNumber(-2.0 / 3e9, 4), "1000000000-6.667e-10");
  EXPECT_EQ(RightAscensionText(1e300) + RightAscensionText(-15.0), "00:00:00.0000023:00:00.00000");
}

TEST(Text, NumbersAreReadAsFortranAndCWriteThem) {
  EXPECT_EQ(ParseNumber(" +1.5E3 m"), 1500);
  EXPECT_EQ(ParseNumber("0.25D+02"), 25);
  EXPECT_EQ(ParseNumber("-1.d-1"), -0.1);
  EXPECT_EQ(ParseNumber("7D"), 7);
  EXPECT_EQ(ParseNumber("NAME"), 0);
  EXPECT_EQ(ParseNumber(""), 0);
}

TEST(Text, FieldsEndAtTheFirstZeroByteAndAreCut) {
  char field[6];
  SetFieldText(field, 6, "abcdefgh");
  EXPECT_STREQ(field, "abcde");
  EXPECT_EQ(FieldText(" ab\0c ", 6), "ab");
  EXPECT_EQ(FieldText("abcdef", 6), "abcdef");
  SetFieldText(field, 6, std::string_view("a\0b", 3));
  EXPECT_EQ(std::string(field, 6), std::string("a\0\0\0\0\0", 6));
}

}  // namespace
}  // namespace zeltra::test
