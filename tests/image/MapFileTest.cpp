// SPDX-License-Identifier: MIT
#include "zeltra/image/AMapFile.h"

#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/core/Text.h"

namespace zeltra::test {
namespace {

using Complex = std::complex<float>;

template <typename T>
std::string Image(const std::vector<T>& values) {
  return std::string(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T));
}

// 168 bytes before the pixels; the first two ranges are 1..2 and 3..4, the third is -5..5.
std::string Prologue(int32_t lines, int32_t lineLength) {
  return std::string(112, 'h') + Image<double>({1, 2, 3, 4, -5, 5}) + Image<int32_t>({lines, lineLength});
}

// Lines of `lineLength` elements; element (i, j) is 10 i + j.
std::vector<float> Ramp(int lines, int lineLength) {
  std::vector<float> values;
  for (int i = 0; i < lines; ++i) {
    for (int j = 0; j < lineLength; ++j) values.push_back(static_cast<float>(10 * i + j));
  }
  return values;
}

template <typename T>
AMatrix<T> Matrix(int lines, int lineLength, const std::vector<T>& values) {
  AMatrix<T> m(lines, lineLength);
  std::copy(values.begin(), values.end(), m.lpArray());
  return m;
}

template <typename T>
std::vector<T> Values(const AMatrix<T>* matrix) {
  const std::unique_ptr<const AMatrix<T>> owned(matrix);
  if (!matrix) return {};
  return std::vector<T>(matrix->lpArray(), matrix->lpArray() + matrix->Lines() * matrix->LineLength());
}

class MapFile : public ::testing::Test {
 protected:
  void Open(const std::string& bytes) {
    temp.Put(bytes);
    ASSERT_TRUE(map.Open(temp.c_str(), 0) && complexMap.Open(temp.c_str(), 0));
  }
  // What the file holds from `offset` on.
  std::string From(size_t offset) const { return temp.Bytes().substr(offset); }

  TempFile temp{"map"};
  AMapFile map;
  ACMapFile complexMap;
};

TEST_F(MapFile, KeepsRealPixelsBehindThePrologue) {
  ASSERT_TRUE(map.Open(temp.c_str(), 1));
  EXPECT_TRUE(map.PutMatrix(Matrix(3, 4, Ramp(3, 4))));
  const std::string bytes = temp.Bytes();
  ASSERT_EQ(bytes.size(), 168u + 48);
  EXPECT_EQ(bytes.substr(112, 48), Image<double>({1e38, -1e38, 1e38, -1e38, 0, 23})) << "no ranges were there before";
  EXPECT_EQ(bytes.substr(160), Image<int32_t>({3, 4}) + Image(Ramp(3, 4)));
  EXPECT_EQ(map.GetMatrixSize().cx, 4);
  EXPECT_EQ(Values(map.GetMatrix()), Ramp(3, 4));
  EXPECT_EQ(Values(map.GetMatrix(AMatrixRect(1, 1, 2, 2))), (std::vector<float>{11, 12, 21, 22}));
}

TEST_F(MapFile, KeepsComplexPixelsAndRangesTheirRealParts) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  Open(Prologue(1, 1) + std::string(80, 'x'));
  const std::vector<Complex> pixels = {{0, 7}, {0, -7}, {0, kInfinity}, {0, 1}, {0, 0}, {0, 2}};
  EXPECT_TRUE(complexMap.PutMatrix(Matrix(3, 2, pixels)));
  EXPECT_EQ(From(112).substr(0, 48 + 8), Image<double>({1, 2, 3, 4, 0, 0}) + Image<int32_t>({3, 2}));
  EXPECT_EQ(From(168).substr(0, 16), Image<float>({0, 7, 0, -7}));
  EXPECT_EQ(Values(complexMap.GetMatrix()), pixels);
  EXPECT_EQ(Values(complexMap.GetMatrix(AMatrixRect(1, 1, 2, 1))), (std::vector<Complex>{{0, 1}, {0, 2}}));
  Complex line[2];
  EXPECT_TRUE(complexMap.GetLine(0, line));
  EXPECT_EQ(line[1], Complex(0, -7));
  line[0] = Complex(8, 9);
  EXPECT_TRUE(complexMap.PutLine(2, line));
  const std::unique_ptr<AArray<Complex>> last(complexMap.GetLine(2));
  ASSERT_TRUE(last);
  EXPECT_EQ((*last)(0), Complex(8, 9));
  EXPECT_TRUE(complexMap.PutLine(1, *last));
  EXPECT_EQ(From(168 + 16).substr(0, 4), Image<float>({8}));
}

TEST_F(MapFile, TakesAPartOfAMatrixAsItsWholeImage) {
  Open("");
  EXPECT_TRUE(map.PutMatrix(Matrix(3, 4, Ramp(3, 4)), AMatrixRect(1, 1, 2, 2)));
  EXPECT_EQ(From(144), Image<double>({11, 22}) + Image<int32_t>({2, 2}) + Image<float>({11, 12, 21, 22}));
  EXPECT_TRUE(map.PutMatrix(Matrix(3, 4, Ramp(3, 4)), AMatrixRect(1, 0, 2, 3)));
  EXPECT_EQ(From(160), Image<int32_t>({2, 4}) + Image<float>({10, 11, 12, 13, 20, 21, 22, 23}));
  const std::string before = temp.Bytes();
  for (const AMatrixRect& r : {AMatrixRect(-1, 0, 1, 1), AMatrixRect(0, -1, 1, 1), AMatrixRect(0, 0, 3, 1),
                               AMatrixRect(0, 0, 1, 4), AMatrixRect(2, 0, 1, 1), AMatrixRect(INT_MIN, 0, INT_MAX, 0)}) {
    EXPECT_FALSE(map.PutMatrix(Matrix(3, 4, Ramp(3, 4)), r));
  }
  EXPECT_EQ(temp.Bytes(), before) << "a rectangle outside the matrix writes nothing";
}

TEST_F(MapFile, RangesFinitePixelsOnly) {
  Open(Prologue(0, 0));
  constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  EXPECT_TRUE(map.PutMatrix(Matrix<float>(2, 3, {kNaN, -2, kInfinity, 5, -kInfinity, 1})));
  const TMinMax ranges = map.GetMinMax();
  EXPECT_EQ(ranges.range[1].maximum, 4);
  EXPECT_EQ(ranges.range[2].minimum, -2);
  EXPECT_EQ(ranges.range[2].maximum, 5);
  EXPECT_TRUE(std::isnan(Values(map.GetMatrix())[0]));
  EXPECT_TRUE(map.PutMatrix(AMatrix<float>())) << "an empty image";
  EXPECT_EQ(map.GetMinMax().range[2].minimum, 1e38);
  const std::unique_ptr<AMatrix<float>> empty(map.GetMatrix());
  ASSERT_TRUE(empty);
  EXPECT_EQ(empty->Lines(), 0);
}

TEST_F(MapFile, IsBuiltLineByLine) {
  Open(Prologue(2, 3));
  AArray<float> line(3, 3, 1);
  line = 4;
  EXPECT_TRUE(map.PutLine(1, line));
  line(0) = 5;
  EXPECT_TRUE(map.PutLine(0, line.lpArray()));
  EXPECT_EQ(From(168), Image<float>({5, 4, 4, 4, 4, 4}));
  EXPECT_FALSE(map.PutLine(0, AArray<float>(2, 2, 1))) << "an array shorter than a line";
  EXPECT_FALSE(map.PutLine(-1, line)) << "the prologue is no line";
  EXPECT_TRUE(map.GetLine(0, line.lpArray()));
  EXPECT_EQ(line(0), 5);
  for (const int i : {-1, 2, INT_MIN, INT_MAX}) {
    EXPECT_FALSE(map.GetLine(i, line.lpArray())) << i;
    EXPECT_EQ(map.GetLine(i), nullptr) << i;
  }
}

TEST_F(MapFile, RefusesSizesThatItCannotHold) {
  const std::vector<std::pair<int32_t, int32_t>> shapes = {
      {3, 4},       {-1, 4},     {2, -4}, {-2, -4}, {1, INT_MAX}, {INT_MAX, 1}, {INT_MAX, INT_MAX}, {1 << 30, 1 << 30},
      {INT_MIN, 1}, {1, INT_MIN}};
  for (const auto& [lines, length] : shapes) {
    SCOPED_TRACE(std::to_string(lines) + " x " + std::to_string(length));
    Open(Prologue(lines, length) + std::string(47, '\0'));
    EXPECT_EQ(map.GetMatrixSize().cy, lines);
    EXPECT_EQ(map.GetMatrix(), nullptr);
    EXPECT_EQ(complexMap.GetMatrix(), nullptr);
    for (const int line : {47, INT_MAX}) {
      EXPECT_EQ(map.GetLine(line), nullptr);
      EXPECT_EQ(complexMap.GetLine(line), nullptr);
    }
    for (const AMatrixRect& r :
         {AMatrixRect(0, 0, 0, 12), AMatrixRect(13, 0, 13, 0), AMatrixRect(2, 3, 2, 3), AMatrixRect(-1, 0, 1, 0),
          AMatrixRect(0, -1, 0, 0), AMatrixRect(1, 0, 0, 0), AMatrixRect(0, 1, 0, 0),
          AMatrixRect(0, 0, INT_MAX, INT_MAX), AMatrixRect(INT_MIN, INT_MIN, INT_MAX, INT_MAX)}) {
      EXPECT_EQ(map.GetMatrix(r), nullptr);
      EXPECT_EQ(complexMap.GetMatrix(r), nullptr);
    }
  }
}

TEST_F(MapFile, ReadsAPartOfATruncatedImage) {
  Open(Prologue(3, 4) + Image(Ramp(2, 4)));
  EXPECT_EQ(map.GetMatrix(), nullptr);
  EXPECT_EQ(Values(map.GetMatrix(AMatrixRect(1, 2, 1, 3))), (std::vector<float>{12, 13}));
}

TEST_F(MapFile, FailsCleanlyWhereItIsShorterThanThePrologue) {
  for (const size_t size : {size_t{0}, size_t{111}, size_t{159}, size_t{167}}) {
    Open(Prologue(1, 1).substr(0, size));
    EXPECT_EQ(map.GetMatrixSize().cx + map.GetMatrixSize().cy, 0);
    EXPECT_EQ(map.GetMatrix(), nullptr);
    float pixel = 0;
    EXPECT_FALSE(map.PutLine(0, &pixel));
    EXPECT_EQ(map.GetMinMax().range[0].minimum, size < 160 ? 1e38 : 1);
    AMapHeader header;
    EXPECT_EQ(header.Load(map), size >= 112);
    EXPECT_EQ(header.Source().size(), size < 112 ? 0u : 40u) << "a field without an end";
  }
  AMapFile closed;
  EXPECT_FALSE(closed.PutMatrix(AMatrix<float>(1, 1)));
  EXPECT_EQ(closed.GetMatrix(), nullptr);
}

TEST_F(MapFile, KeepsItsHeaderInTheFirst112Bytes) {
  Open(Prologue(1, 1) + "tail");
  AMapHeader header;
  EXPECT_TRUE(header.Store(map));
  EXPECT_EQ(temp.Bytes().substr(0, 112),
            std::string(56, '\0') + std::string("\0\0\xff\0\xff\0", 6) + std::string(50, '\0'));
  SetFieldText(header.source, sizeof header.source, "3C 273");
  SetFieldText(header.unit, sizeof header.unit, "JY/BEAM");
  header.stokes = AStokesMix(1, AStokesItem(1, -2), AStokesItem(0, -1));
  header.beam.SetShape({3e-3, 2e-3, -30});
  EXPECT_EQ(header.beam.Shape().minor + header.beam.Shape().angle, 2e-3 - 30);
  header.beam.data[31] = 'b';
  EXPECT_TRUE(header.Store(map));
  EXPECT_EQ(temp.Bytes().substr(0, 7), std::string("3C 273\0", 7));
  EXPECT_EQ(temp.Bytes().substr(56, 6), std::string("\1\0\1\xfe\0\xff", 6));
  EXPECT_EQ(temp.Bytes()[103], 'b');
  EXPECT_EQ(From(112), Prologue(1, 1).substr(112) + "tail");
  AMapHeader loaded;
  EXPECT_TRUE(loaded.Load(map));
  EXPECT_EQ(loaded.Source() + '|' + loaded.Unit() + '|' + loaded.stokes.asString(), "3C 273|JY/BEAM|I (LL, RR)");
  loaded.beam.Init();
  EXPECT_EQ(loaded.beam.data[31], 0);
}

// A disk that is full when the pixels are written, but not for the parts of the header.
class FullDisk : public AMapFile {
 public:
  int Write(void* buf, int n) override { return n == 8 || n == 48 ? AFile::Write(buf, n) : 0; }
};

TEST_F(MapFile, KeepsItsRangesWhenPixelsCannotBeWritten) {
  temp.Put(Prologue(1, 1));
  FullDisk full;
  ASSERT_TRUE(full.Open(temp.c_str(), 0));
  EXPECT_FALSE(full.PutMatrix(Matrix(3, 5, Ramp(3, 5))));
  EXPECT_FALSE(full.PutMatrix(Matrix(3, 5, Ramp(3, 5)), AMatrixRect(0, 0, 1, 2)));
  EXPECT_EQ(full.GetMinMax().range[2].maximum, 5);
}

// Remembers the last position that was sought.
class TracedMap : public ACMapFile {
 public:
  int Seek(const int64& pos) override {
    position = pos;
    return AFile::Seek(pos);
  }
  int64 position = 0;
};

TEST_F(MapFile, PlacesLinesBeyondFourGigabytes) {
  temp.Put(Prologue(60000, 60000));
  TracedMap map64;
  ASSERT_TRUE(map64.Open(temp.c_str(), 0));
  EXPECT_EQ(map64.GetLine(50000), nullptr);
  EXPECT_EQ(map64.position, 24000000168);
}

}  // namespace
}  // namespace zeltra::test
