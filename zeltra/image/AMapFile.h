// Map files: one image, real or complex, after a fixed prologue.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGE_AMAPFILE_H_
#define ZELTRA_IMAGE_AMAPFILE_H_

#include <complex>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "zeltra/core/AArray.h"
#include "zeltra/core/AFile.h"
#include "zeltra/core/AMatrix.h"
#include "zeltra/image/BeamShape.h"
#include "zeltra/uvx/AStokesMix.h"

namespace zeltra {

class AMapFile;

/// Beam of a map: 32 bytes whose meaning is up to the programs that write and read them. The maps written by this
/// library's own jobs hold four doubles: the widths of an ABeamShape in radians, its angle, and 0.
struct ZELTRA_API ABeamPar {
  char data[32];

  /// All bytes zero.
  ABeamPar() { Init(); }
  void Init();
  /// The bytes as this library's own jobs write them; all zero if the map has no beam.
  ABeamShape Shape() const;
  void SetShape(const ABeamShape& shape);
};

/// What a map shows: the first 112 bytes of a map file, stored as they are in memory.
struct ZELTRA_API AMapHeader {
  char source[40];    ///< name of the source, zero-terminated; SetFieldText sets it
  char unit[16];      ///< unit of the pixels, zero-terminated
  AStokesMix stokes;  ///< polarisation of the image
  char reserved1[10];
  ABeamPar beam;
  char reserved2[8];

  /// No texts, no polarisation, all other bytes zero.
  AMapHeader();

  std::string Source() const;
  std::string Unit() const;

  /// Read from the start of `file`. @return 0 if the file is shorter than a header, which is then left unchanged
  int Load(AMapFile& file);
  /// Write to the start of `file`. @return non-zero once all is written
  int Store(AMapFile& file) const;
};
static_assert(sizeof(AMapHeader) == 112 && std::is_trivially_copyable_v<AMapHeader>);
static_assert(offsetof(AMapHeader, unit) == 40 && offsetof(AMapHeader, stokes) == 56 &&
              offsetof(AMapHeader, reserved1) == 62 && offsetof(AMapHeader, beam) == 72 &&
              offsetof(AMapHeader, reserved2) == 104);

/// The three ranges of a map. The programs that write a map define the first two; the third is that of the pixels.
struct ZELTRA_API TMinMax {
  TMnMx range[3];

  /// Empty ranges, 1e38 to -1e38.
  TMinMax();
};
static_assert(sizeof(TMinMax) == 48);

/// A rectangle of pixels, including both corners.
struct AMatrixRect {
  int32_t i1;  ///< first line
  int32_t j1;  ///< first element of a line
  int32_t i2;  ///< last line
  int32_t j2;  ///< last element of a line

  AMatrixRect(int firstLine, int firstElement, int lastLine, int lastElement)
      : i1(firstLine), j1(firstElement), i2(lastLine), j2(lastElement) {}

  /// Number of lines.
  int isize() const { return static_cast<int>(int64{i2} - i1 + 1); }
  /// Elements of a line.
  int jsize() const { return static_cast<int>(int64{j2} - j1 + 1); }
};
static_assert(sizeof(AMatrixRect) == 16);

/// A map of 32-bit floats. All numbers are little-endian:
///
///       0  112  AMapHeader
///     112   48  TMinMax
///     160    4  int32 number of lines
///     164    4  int32 line length in elements
///     168       pixels, line after line
///
/// Every operation seeks to its own position in the file. Results are non-zero for success, or new objects that the
/// caller owns, null for failure. Sizes that the file claims are checked against its length before memory is allocated.
class ZELTRA_API AMapFile : public AFile {
 public:
  /// Open a map to read and write it. @param create  non-zero creates an empty file, or empties an existing one
  int Open(const char* path, int create);

  /// The ranges; empty ones if the file is too short to hold them.
  TMinMax GetMinMax();
  int PutMinMax(const TMinMax& ranges);

  /// Line length (cx) and number of lines (cy) as stored, both 0 if the file is too short to hold them.
  CSize GetMatrixSize();

  using AFile::GetLine;
  /// Read line `i`, as many floats as the line length, into `buf`. @return 0 if the file does not hold all of it
  int GetLine(int i, float* buf);
  /// A new array of line `i`.
  AArray<float>* GetLine(int i);
  /// Write line `i`, as many floats as the line length. `i` may lie beyond the number of lines, so that a map can be
  /// built line by line once its sizes are stored.
  int PutLine(int i, const float* buf);
  /// The same from an array, which must hold at least one line.
  int PutLine(int i, const AArray<float>& line);

  /// The whole image.
  AMatrix<float>* GetMatrix();
  /// The part `r` of the image, which must lie inside it.
  AMatrix<float>* GetMatrix(const AMatrixRect& r);

  /// Make `m` the image and store the range of its finite pixels, leaving the other two ranges unchanged. If writing
  /// the pixels fails, all ranges stay unchanged.
  int PutMatrix(const AMatrix<float>& m);
  /// Make the part `r` of `m` the whole image, whereas GetMatrix(r) reads a part of a larger image.
  /// @return 0, with nothing written, if `r` does not lie inside the matrix
  int PutMatrix(const AMatrix<float>& m, const AMatrixRect& r);
};

/// A map of complex numbers, each two 32-bit floats, real part first; otherwise as AMapFile. The range of the pixels is
/// that of their real parts alone, which programs rely on.
class ZELTRA_API ACMapFile : public AMapFile {
 public:
  using AFile::GetLine;
  int GetLine(int i, std::complex<float>* buf);
  AArray<std::complex<float>>* GetLine(int i);
  int PutLine(int i, const std::complex<float>* buf);
  int PutLine(int i, const AArray<std::complex<float>>& line);

  AMatrix<std::complex<float>>* GetMatrix();
  AMatrix<std::complex<float>>* GetMatrix(const AMatrixRect& r);
  int PutMatrix(const AMatrix<std::complex<float>>& m);
  int PutMatrix(const AMatrix<std::complex<float>>& m, const AMatrixRect& r);
};

}  // namespace zeltra

#endif  // ZELTRA_IMAGE_AMAPFILE_H_
