// Visibilities on a regular grid, and the dirty image that is their transform.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGE_UVGRIDINTERNAL_H_
#define ZELTRA_IMAGE_UVGRIDINTERNAL_H_

#include <complex>
#include <vector>

#include "zeltra/core/AFile.h"
#include "zeltra/core/AMatrix.h"
#include "zeltra/core/CancelFlag.h"

namespace zeltra {

/// Kaiser-Bessel convolution function of six cells,
///
///     C(d) = I0(beta sqrt(1 - (d / 3)^2)) / I0(beta),  |d| < 3 cells
///
/// (J. I. Jackson, C. H. Meyer, D. G. Nishimura, A. Macovski: Selection of a convolution function for Fourier inversion
/// using gridding, IEEE Trans. Medical Imaging 10, 473, 1991), with the beta of P. J. Beatty, D. G. Nishimura, J. M.
/// Pauly: Rapid gridding reconstruction with a minimal oversampling ratio, IEEE Trans. Medical Imaging 24, 799, 2005,
/// eq. 5, for a grid of cells half as wide as the image asks for.
class GriddingKernel {
 public:
  static constexpr int kWidth = 6;  ///< cells

  GriddingKernel();

  /// The function at the kWidth cells around a place, interpolated with an error below 1e-5. The cells are one cell
  /// apart, so one row of the table serves all.
  /// @param weights  receives kWidth numbers
  /// @return the number of the first of the cells
  int Weigh(double place, double* weights) const;

  /// Its Fourier transform, by which the image is divided, at `frequency` cycles per cell.
  static double Transform(double frequency);

 private:
  static constexpr int kSteps = 1024;  // per cell
  std::vector<double> table_;          // [step from the first cell to the place][cell]
};

/// A grid over the u, v plane for an image of `size` times `size` pixels, `cell` radians apart: element j of a line of
/// the image points east by (size / 2 - j) cells, line i north by (i - size / 2) cells.
///
/// The grid has 2 n x 2 n cells, 1 / (2 n cell) wavelengths apart, with n the smallest power of two not below `size`,
/// so that the image is the inner quarter of its transform, which aliasing hardly reaches. Even and odd lines and
/// columns are held in four grids of n x n, whose transforms add up to that quarter as in the first step of a fast
/// Fourier transform.
///
/// Every visibility is gridded twice, at u, v and as its conjugate at -u, -v, since the sky is real. The beam, which is
/// the image of visibilities that are all 1, is real too and is carried as the imaginary part: one transform gives
/// both.
class UVGrid {
 public:
  /// Bytes of memory that a grid takes.
  static int64 Bytes(int size);
  /// @return 0 if there is no memory for the grid
  int Create(int size, double cell);
  /// Remove all visibilities.
  void Clear();
  /// Copy another grid. @return 0 if there is no memory
  int Create(const UVGrid& other);

  /// The largest |u| and |v|, wavelengths, at which a visibility and all the cells that it affects are on the grid.
  static double Extent(int size, double cell);
  /// The largest image cell, radians, for which a grid reaches this far.
  static double LargestCell(int size, double wavelengths) { return Extent(size, 1) / wavelengths; }
  /// Add a visibility, which must lie on the grid.
  void Add(double u, double v, std::complex<double> value, double weight);
  /// Add a visibility to the sky alone, not to the beam or the sum of weights.
  void AddToSky(double u, double v, std::complex<double> value, double weight);
  /// Add all visibilities of a grid of the same shape.
  void Add(const UVGrid& other);

  /// Write the grid. @return non-zero once all is written
  int Store(AFile& f) const;
  /// Read a grid of the same shape as this one. @return 0 if there is none
  int Load(AFile& f);

  /// Transform the grid, whose contents are lost, into the image of the sky and that of a point source of 1 Jy at the
  /// centre, both divided by the sum of weights, which must not be 0.
  /// @param threads  to work with; 0: one for each processor
  /// @param cancel   a flag that ends the work early; the images are then undefined
  /// @return 0 if there is no memory
  int Transform(AMatrix<float>& map, AMatrix<float>& beam, int threads = 0, const ACancelFlag* cancel = nullptr);

  /// Sum of the weights added, each visibility once.
  double sumOfWeights() const { return sumOfWeights_; }

 private:
  static const GriddingKernel& Kernel();
  static int HalfLength(int size);
  void Put(double u, double v, std::complex<double> value, std::complex<double> beam, double weight);
  void Spread(double column, double line, double real, double imaginary);

  const GriddingKernel* kernel_ = &Kernel();
  AMatrix<std::complex<double>> parts_[2][2];  // [line odd][column odd]
  int size_ = 0;                               // of the image
  int half_ = 0;                               // the n above
  double cellsPerWavelength_ = 0;
  double sumOfWeights_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_IMAGE_UVGRIDINTERNAL_H_
