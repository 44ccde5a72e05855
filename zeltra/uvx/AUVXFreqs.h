// Frequencies of the channels, and the "FQ" table.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXFREQS_H_
#define ZELTRA_UVX_AUVXFREQS_H_

#include "zeltra/core/AArray.h"

namespace zeltra {

class AFITS;
class AUVXFile;
class AUVXTable;

/// Frequency, Hz, of each channel of each IF in one frequency setup, [IF][channel], in the order of the visibilities.
///
/// Channel c of IF i has the frequency f0 + IF FREQ(i) + c x CH WIDTH(i), where f0 is the frequency of channel 0 in the
/// header of the file and the other two come from the row of its "FQ" table whose FRQSEL is the setup, or from the
/// first row if there is no such row; programs rely on that. Only the sign of CH WIDTH determines the sideband. IFs
/// that the row lacks have NaN. Without the table, IF FREQ is 0 and CH WIDTH the increment of the FREQ axis of a FITS
/// file, 0 in a UVX file.
///
/// A file that claims more than 131072 frequencies but is too small for even one such record gives none.
class ZELTRA_API AUVXFreqs : public AArray<double> {
 public:
  /// Values are uninitialised. `IFs` below 1 counts as one. A size that is negative or exceeds an int becomes 0.
  explicit AUVXFreqs(int channels = 1, int IFs = 1);
  /// The setup `freqSel` of `uvx`, whose position moves.
  AUVXFreqs(AUVXFile& uvx, int freqSel);
  /// The setup `freqSel` of `fits`, whose headers have been read.
  AUVXFreqs(AFITS& fits, int freqSel);
  AUVXFreqs(const AUVXFreqs&) = default;
  AUVXFreqs& operator=(const AUVXFreqs&) = default;
  /// Take over the frequencies of `other`, which then has none.
  AUVXFreqs(AUVXFreqs&& other) noexcept;
  AUVXFreqs& operator=(AUVXFreqs&& other) noexcept;

  /// 0 if the data have no IF axis.
  int IFs() const { return IFs_; }
  int channels() const { return channels_; }
  /// Number of elements.
  int freqs() const { return count(); }

  double& operator()(int channel, int IF) { return lpArray()[channels_ * IF + channel]; }
  double operator()(int channel, int IF) const { return lpArray()[channels_ * IF + channel]; }
  double& operator()(int f) { return lpArray()[f]; }
  double operator()(int f) const { return lpArray()[f]; }

  /// Make an "FQ" table of one setup, number 1, as AIPS writes it: offsets from `reference`, Hz, and channel widths of
  /// the IFs, which are evenly spaced in order. The width of single channels is that of the file from which the
  /// frequencies were read, else 0.
  /// @return a new table, owned by the caller
  AUVXTable* ToUVXTable(double reference) const;

 private:
  void Size(int channels, int IFs, int64 fileBytes);
  void Fill(double freq0, double width, const AUVXTable* table, int freqSel);
  double WidthOf(int IF) const;

  int IFs_ = 0;
  int channels_ = 0;
  double width_ = 0;  // channel width, Hz, which cannot be derived from single channels
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXFREQS_H_
