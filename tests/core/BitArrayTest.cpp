// SPDX-License-Identifier: MIT
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/core/ABitMatrix.h"

namespace zeltra::test {
namespace {

std::string Little(int32_t value) {
  return std::string(reinterpret_cast<const char*>(&value), sizeof value);
}

TEST(BitArray, CountsOnlyItsOwnBits) {
  for (const int n : {1, 8, 10, 64, 65, 200}) {
    ABitArray a(n);
    EXPECT_EQ(a.GetMarks(), 0) << n;
    a = 1;
    EXPECT_EQ(a.GetMarks(), n);
    EXPECT_EQ(a(n - 1, 0), 1);
    EXPECT_EQ(a.GetMarks(), n - 1);
    EXPECT_EQ(a(n - 1), 0);
  }
  ABitArray a(10);
  EXPECT_EQ(a(9, 5), 1);
  EXPECT_EQ(a.lpArray()[1], 2);
  a = 3;
  EXPECT_EQ(a.lpArray()[1], '\xff');
  a = 2;
  EXPECT_EQ(a.GetMarks(), 0) << "bit 0 alone decides";
}

TEST(BitArray, ResizingClearsAndReusesTheSameBytes) {
  ABitArray a(10);
  const char* bytes = a.lpArray();
  a = 1;
  EXPECT_EQ(&a.reSize(12), &a);
  EXPECT_EQ(a.lpArray(), bytes);
  EXPECT_EQ(a.count(), 12);
  EXPECT_EQ(a.GetMarks(), 0);
  a.GrowBy(17);
  a(16, 1);
  const ABitArray copy(a);
  a(16, 0);
  EXPECT_EQ(copy(16), 1);
  a.reSize(-5);
  EXPECT_EQ(a.count(), 0);
  EXPECT_EQ(a.lpArray(), nullptr);
}

TEST(BitArrayImage, IsACountAndTheBytes) {
  OpenTempFile file;
  ABitArray a(10);
  a(0, 1);
  a(9, 1);
  EXPECT_TRUE(a.Store(file));
  EXPECT_TRUE(ABitArray(0).Store(file));
  EXPECT_EQ(file.Bytes(), Little(10) + "\1\2" + Little(0));
  file.Seek(0);
  ABitArray b(file);
  EXPECT_EQ(b.count(), 10);
  EXPECT_EQ(b.GetMarks(), 2);
  EXPECT_EQ(b(9), 1);
  EXPECT_TRUE(b.Load(file)) << "an empty array";
  EXPECT_EQ(b.lpArray(), nullptr);
  EXPECT_FALSE(b.Load(file)) << "the file has ended";
  file.Close();
  EXPECT_FALSE(a.Store(file));
}

TEST(BitArrayImage, RefusesSizesThatTheFileCannotHold) {
  constexpr int32_t kLargest = std::numeric_limits<int32_t>::max();
  for (const int32_t n : {-1, std::numeric_limits<int32_t>::min(), kLargest, 33}) {
    OpenTempFile file(Little(n) + "1234");
    ABitArray a(8);
    EXPECT_FALSE(a.Load(file)) << n;
    EXPECT_EQ(a.count(), 0);
    for (const std::string& shape :
         {Little(n) + Little(9), Little(2) + Little(n), Little(kLargest) + Little(kLargest)}) {
      OpenTempFile matrix(shape + "123");
      ABitMatrix m(1, 1);
      EXPECT_FALSE(m.Load(matrix)) << n;
      EXPECT_EQ(m.Rows() + m.Columns(), 0);
    }
  }
  OpenTempFile cut(std::string(3, '\0'));
  EXPECT_FALSE(ABitArray(1).Load(cut)) << "a count cut short";
}

TEST(BitMatrix, ResizesOnlyWhenBothDimensionsDiffer) {
  ABitMatrix m(3, 5);
  m = 1;
  m.reSize(3, 9);
  EXPECT_EQ(m.Columns(), 5);
  m.GrowBy(4, 5);
  EXPECT_EQ(m.Rows(), 3);
  EXPECT_EQ(m(2, 4), 1);
  m.reSize(4, 9);
  EXPECT_EQ(m.Rows(), 4);
  EXPECT_EQ(m.Columns(), 9);
  for (int r = 0; r < 4; ++r) {
    for (int c = 0; c < 9; ++c) EXPECT_EQ(m(r, c), 0);
  }
}

TEST(BitMatrixImage, StartsEachRowOnAByte) {
  OpenTempFile file;
  ABitMatrix m(2, 9);
  m(0, 8, 1);
  m(1, 0, 1);
  EXPECT_EQ(m(1, 7, -1), 1);
  EXPECT_TRUE(m.Store(file));
  EXPECT_EQ(file.Bytes(), Little(2) + Little(9) + std::string("\0\1\x81\0", 4));
  file.Seek(0);
  ABitMatrix loaded(file), copy(1, 1);
  copy = loaded;
  loaded = 0;
  EXPECT_EQ(copy.Columns(), 9);
  EXPECT_EQ(copy(1, 7) - copy(1, 1), 1);
}

}  // namespace
}  // namespace zeltra::test
