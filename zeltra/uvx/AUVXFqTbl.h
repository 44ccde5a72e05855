// The frequencies of every setup and IF of a file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXFQTBL_H_
#define ZELTRA_UVX_AUVXFQTBL_H_

#include "zeltra/core/AArray.h"
#include "zeltra/core/AMatrix.h"

namespace zeltra {

class AUVXFile;

/// Frequencies of one IF in one setup, Hz. A negative delta describes a lower sideband.
struct AUVXFqTblItem {
  double start = 0;  ///< frequency of channel 0
  double delta = 0;  ///< from one channel to the next
};
static_assert(sizeof(AUVXFqTblItem) == 16);

/// The "FQ" table of a file: one row per frequency setup, one column per IF. A file without the table has no setups.
///
/// Frequencies are 0 for a row or IF that does not exist.
class ZELTRA_API AUVXFqTbl {
 public:
  AUVXFqTbl() = default;
  explicit AUVXFqTbl(AUVXFile& file) { Init(file); }
  AUVXFqTbl(AUVXFile& file, int source) { Init(file, source); }
  AUVXFqTbl(const AUVXFqTbl&) = default;
  AUVXFqTbl& operator=(const AUVXFqTbl&) = default;
  virtual ~AUVXFqTbl();

  /// Read the table of `file`. Columns are recognised by name, with formats D, E and J. A column of another format
  /// takes no bytes of a row and repeats the value read before it; programs rely on this.
  void Init(AUVXFile& file);
  /// The same, keeping only the setups in which the index of the file has scans of `source`, in their old order; of any
  /// source if it is negative. If the file has no index, all setups are kept.
  void Init(AUVXFile& file, int source);

  /// Number of IFs in the header: 0 if the data have no IF axis.
  int GetRealIFs() const { return realIFs_; }
  /// Number of IFs, at least 1 once a file has been read.
  int GetIFs() const { return IFs_; }
  /// Channels per IF.
  int GetChannels() const { return channels_; }
  /// Number of setups.
  int GetFreqSels() const { return ids_.count(); }
  /// Identifier of a setup, the FRQSEL of its row; 0 if there is no such row.
  int GetFreqSelID(int row) const { return row >= 0 && row < ids_.count() ? ids_(row) : 0; }
  /// Row of the setup with this identifier, or -1.
  int GetFreqSelNum(int id) const;

  /// Frequency of channel 0 of an IF, Hz.
  double GetStartIFFq(int IF, int row) const { return Item(IF, row).start; }
  /// Channel increment of an IF, Hz.
  double GetDeltaIFFq(int IF, int row) const { return Item(IF, row).delta; }
  /// Frequency of a channel, Hz.
  double GetFreq(int channel, int IF, int row) const;
  /// Frequency of frequency point f = IF x channels + channel, Hz; 0 for data without channels.
  double GetFreq(int f, int row) const { return channels_ > 0 ? GetFreq(f % channels_, f / channels_, row) : 0.0; }
  /// Middle of an IF, Hz: halfway between its first and its last channel.
  double GetCenterIF(int IF, int row) const;

  /// Write the frequencies, an AMatrix image; the identifiers, an AArray image; and as int32 the IFs of the header, the
  /// IFs and the channels.
  /// @return 0 as soon as a write fails
  int Store(AFile& f) const;
  /// Read what Store wrote. @return 0 at the first failure: the table is then empty
  int Load(AFile& f);

 private:
  struct Column;

  AUVXFqTblItem Item(int IF, int row) const;
  void Create(AUVXFile& file);
  void SetElement(const Column& column, int element, int row, double value, double reference);
  void SqForSource(AUVXFile& file, int source);
  void KeepRows(const AArray<int>& rows);

  AMatrix<AUVXFqTblItem> items_;
  AArray<int> ids_;
  int32_t realIFs_ = 0;
  int32_t IFs_ = 0;
  int32_t channels_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXFQTBL_H_
