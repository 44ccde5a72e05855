// SPDX-License-Identifier: MIT
#include "zeltra/image/AMapFile.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace zeltra {
namespace {

constexpr int64 kRangesOffset = 112;
constexpr int64 kSizesOffset = 160;
constexpr int64 kPixelsOffset = 168;
constexpr double kFarAway = 1e38;

template <size_t Width>
std::string TextOf(const char (&field)[Width]) {
  return std::string(field, std::find(field, field + Width, '\0'));
}

// Where pixel (i, j) of a map with lines of `lineLength` lies; -1, which no Seek takes, beyond the largest file.
template <typename T>
int64 PixelOffset(int lineLength, int i, int64 j) {
  constexpr int64 kWidth = sizeof(T);
  const int64 pixels = int64{i} * lineLength + j;
  return pixels <= (INT64_MAX - kPixelsOffset) / kWidth ? kPixelsOffset + pixels * kWidth : -1;
}

// Whether the map holds all pixels before (i, j).
template <typename T>
bool HoldsPixelsBefore(AMapFile& file, int lineLength, int i, int64 j) {
  const int64 end = PixelOffset<T>(lineLength, i, j);
  return end >= 0 && end <= file.GetFileSize();
}

bool IsInside(const AMatrixRect& r, int lines, int lineLength) {
  return r.i1 >= 0 && r.i1 <= r.i2 && r.i2 < lines && r.j1 >= 0 && r.j1 <= r.j2 && r.j2 < lineLength;
}

template <typename T>
int64 BytesOf(int64 elements) {
  return elements * static_cast<int64>(sizeof(T));
}

// Move to the start of line i. @return its length in elements, 0 if there is no such line
template <typename T>
int SeekLine(AMapFile& file, int i) {
  const int length = file.GetMatrixSize().cx;
  // Line -1 would be the prologue.
  return i >= 0 && length > 0 && file.Seek(PixelOffset<T>(length, i, 0)) ? length : 0;
}

template <typename T>
int ReadLine(AMapFile& file, int i, T* buf) {
  const int length = SeekLine<T>(file, i);
  return length > 0 && ReadWhole(file, buf, BytesOf<T>(length));
}

template <typename T>
AArray<T>* NewLine(AMapFile& file, int i) {
  const int length = SeekLine<T>(file, i);
  if (length == 0 || !HasBytes(file, BytesOf<T>(length))) return nullptr;
  auto line = std::make_unique<AArray<T>>(length, length, 256);
  return line->lpArray() && ReadWhole(file, line->lpArray(), BytesOf<T>(length)) ? line.release() : nullptr;
}

template <typename T>
int WriteLine(AMapFile& file, int i, const T* buf) {
  const int length = SeekLine<T>(file, i);
  return length > 0 && WriteWhole(file, buf, BytesOf<T>(length));
}

template <typename T>
int WriteLine(AMapFile& file, int i, const AArray<T>& line) {
  return line.count() >= file.GetMatrixSize().cx && WriteLine(file, i, line.lpArray());
}

template <typename T>
AMatrix<T>* NewMatrix(AMapFile& file) {
  const CSize size = file.GetMatrixSize();
  if (size.cx < 0 || size.cy < 0 || !HoldsPixelsBefore<T>(file, size.cx, size.cy, 0)) return nullptr;
  auto matrix = std::make_unique<AMatrix<T>>(size.cy, size.cx);
  const int64 pixels = int64{size.cx} * size.cy;
  if (pixels > 0 && !matrix->lpArray()) return nullptr;
  const bool read = file.Seek(kPixelsOffset) && ReadWhole(file, matrix->lpArray(), BytesOf<T>(pixels));
  return read ? matrix.release() : nullptr;
}

template <typename T>
AMatrix<T>* NewMatrix(AMapFile& file, const AMatrixRect& r) {
  const CSize size = file.GetMatrixSize();
  if (!IsInside(r, size.cy, size.cx) || !HoldsPixelsBefore<T>(file, size.cx, r.i2, int64{r.j2} + 1)) return nullptr;
  auto matrix = std::make_unique<AMatrix<T>>(r.isize(), r.jsize());
  if (!matrix->lpArray()) return nullptr;
  for (int line = 0; line < r.isize(); ++line) {
    const int64 offset = PixelOffset<T>(size.cx, r.i1 + line, r.j1);
    if (!file.Seek(offset) || !ReadWhole(file, matrix->Line(line), BytesOf<T>(r.jsize()))) return nullptr;
  }
  return matrix.release();
}

double ValueOf(float pixel) {
  return pixel;
}
double ValueOf(std::complex<float> pixel) {
  return pixel.real();
}

template <typename T>
TMnMx RangeOf(const AMatrix<T>& m, const AMatrixRect& r) {
  TMnMx range{kFarAway, -kFarAway};
  for (int i = r.i1; i <= r.i2; ++i) {
    const T* line = m.Line(i);
    for (int j = r.j1; j <= r.j2; ++j) {
      const double value = ValueOf(line[j]);
      if (std::isfinite(value)) range.check(value);
    }
  }
  return range;
}

template <typename T>
int WritePixels(AMapFile& file, const AMatrix<T>& m, const AMatrixRect& r) {
  if (r.jsize() == m.LineLength()) {  // whole lines lie together
    return WriteWhole(file, m.Line(r.i1), BytesOf<T>(int64{r.isize()} * r.jsize()));
  }
  for (int i = r.i1; i <= r.i2; ++i) {
    if (!WriteWhole(file, m.Line(i) + r.j1, BytesOf<T>(r.jsize()))) return 0;
  }
  return 1;
}

// The ranges of a map; empty ones if the file is too short for them. @return 0 if they cannot be read
int LoadRanges(AMapFile& file, TMinMax& ranges) {
  const int64 size = file.GetFileSize();
  if (size >= 0 && size < kRangesOffset + int64{sizeof ranges}) return 1;
  return file.Seek(kRangesOffset) && ReadWhole(file, &ranges, sizeof ranges);
}

template <typename T>
int WriteImage(AMapFile& file, const AMatrix<T>& m, const AMatrixRect& r) {
  TMinMax ranges;
  if (!LoadRanges(file, ranges)) return 0;
  const int32_t sizes[2] = {r.isize(), r.jsize()};
  if (!file.Seek(kSizesOffset) || !WriteWhole(file, sizes, sizeof sizes) || !WritePixels(file, m, r)) return 0;
  ranges.range[2] = RangeOf(m, r);
  return file.PutMinMax(ranges);
}

template <typename T>
int WriteMatrix(AMapFile& file, const AMatrix<T>& m) {
  return WriteImage(file, m, AMatrixRect(0, 0, m.Lines() - 1, m.LineLength() - 1));
}

template <typename T>
int WriteMatrix(AMapFile& file, const AMatrix<T>& m, const AMatrixRect& r) {
  return IsInside(r, m.Lines(), m.LineLength()) && WriteImage(file, m, r);
}

}  // namespace

void ABeamPar::Init() {
  std::memset(data, 0, sizeof data);
}

ABeamShape ABeamPar::Shape() const {
  double numbers[4];
  static_assert(sizeof numbers == sizeof data);
  std::memcpy(numbers, data, sizeof numbers);
  return {numbers[0], numbers[1], numbers[2]};
}

void ABeamPar::SetShape(const ABeamShape& shape) {
  const double numbers[4] = {shape.major, shape.minor, shape.angle, 0};
  std::memcpy(data, numbers, sizeof numbers);
}

AMapHeader::AMapHeader() : source{}, unit{}, reserved1{}, reserved2{} {}

std::string AMapHeader::Source() const {
  return TextOf(source);
}

std::string AMapHeader::Unit() const {
  return TextOf(unit);
}

int AMapHeader::Load(AMapFile& file) {
  AMapHeader stored;
  if (!file.Seek(0) || !ReadWhole(file, &stored, sizeof stored)) return 0;
  *this = stored;
  return 1;
}

int AMapHeader::Store(AMapFile& file) const {
  return file.Seek(0) && WriteWhole(file, this, sizeof *this);
}

TMinMax::TMinMax() {
  std::fill(std::begin(range), std::end(range), TMnMx{kFarAway, -kFarAway});
}

int AMapFile::Open(const char* path, int create) {
  return AFile::Open(path, WriteOnly | Binary | (create ? Create : 0));
}

TMinMax AMapFile::GetMinMax() {
  TMinMax stored;
  return Seek(kRangesOffset) && ReadWhole(*this, &stored, sizeof stored) ? stored : TMinMax();
}

int AMapFile::PutMinMax(const TMinMax& ranges) {
  return Seek(kRangesOffset) && WriteWhole(*this, &ranges, sizeof ranges);
}

CSize AMapFile::GetMatrixSize() {
  int32_t sizes[2];
  if (!Seek(kSizesOffset) || !ReadWhole(*this, sizes, sizeof sizes)) return CSize();
  return CSize{sizes[1], sizes[0]};
}

int AMapFile::GetLine(int i, float* buf) {
  return ReadLine(*this, i, buf);
}

AArray<float>* AMapFile::GetLine(int i) {
  return NewLine<float>(*this, i);
}

int AMapFile::PutLine(int i, const float* buf) {
  return WriteLine(*this, i, buf);
}

int AMapFile::PutLine(int i, const AArray<float>& line) {
  return WriteLine(*this, i, line);
}

AMatrix<float>* AMapFile::GetMatrix() {
  return NewMatrix<float>(*this);
}

AMatrix<float>* AMapFile::GetMatrix(const AMatrixRect& r) {
  return NewMatrix<float>(*this, r);
}

int AMapFile::PutMatrix(const AMatrix<float>& m) {
  return WriteMatrix(*this, m);
}

int AMapFile::PutMatrix(const AMatrix<float>& m, const AMatrixRect& r) {
  return WriteMatrix(*this, m, r);
}

int ACMapFile::GetLine(int i, std::complex<float>* buf) {
  return ReadLine(*this, i, buf);
}

AArray<std::complex<float>>* ACMapFile::GetLine(int i) {
  return NewLine<std::complex<float>>(*this, i);
}

int ACMapFile::PutLine(int i, const std::complex<float>* buf) {
  return WriteLine(*this, i, buf);
}

int ACMapFile::PutLine(int i, const AArray<std::complex<float>>& line) {
  return WriteLine(*this, i, line);
}

AMatrix<std::complex<float>>* ACMapFile::GetMatrix() {
  return NewMatrix<std::complex<float>>(*this);
}

AMatrix<std::complex<float>>* ACMapFile::GetMatrix(const AMatrixRect& r) {
  return NewMatrix<std::complex<float>>(*this, r);
}

int ACMapFile::PutMatrix(const AMatrix<std::complex<float>>& m) {
  return WriteMatrix(*this, m);
}

int ACMapFile::PutMatrix(const AMatrix<std::complex<float>>& m, const AMatrixRect& r) {
  return WriteMatrix(*this, m, r);
}

}  // namespace zeltra
