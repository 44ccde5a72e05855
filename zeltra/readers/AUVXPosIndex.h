// The indices of the records that the selecting readers would read.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_READERS_AUVXPOSINDEX_H_
#define ZELTRA_READERS_AUVXPOSINDEX_H_

#include "zeltra/platform/ProgressCtrl.h"
#include "zeltra/readers/AScanCursor.h"

namespace zeltra {

class AUVXFreqs;

/// Lists the records of one source without reading them; the counterpart of AUVXRead. Copies are not meant to be used
/// side by side.
///
/// A class that overrides IsDropPosItem goes to the first of its own scans, and counts its own records, in its own
/// constructor, as for AUVXRead:
///
///     const auto drop = [this](AUVXPositionItem& scan) { return MyIndex::IsDropPosItem(scan) != 0; };
///     freqSel_ = ...;                         // the setup whose frequencies GetFreqs() returns
///     cursor_.First(drop);
///     total_ = cursor_.CountRecords(drop);    // for progress; the list ends after total_ + 1 records
class ZELTRA_API AUVXPosIndex {
 public:
  /// Neither `file`, which must outlive the object, nor `progress`, which may be null, is owned.
  AUVXPosIndex(AUVXFile* file, int source, CProgressCtrl* progress);
  AUVXPosIndex(const AUVXPosIndex&) = default;
  AUVXPosIndex& operator=(const AUVXPosIndex&) = default;
  virtual ~AUVXPosIndex();

  /// Whether a scan is left out: here, if it is of another source.
  virtual int IsDropPosItem(AUVXPositionItem& scan);

  /// Give the index, from 0, of the next selected record. @return 0 at the end
  int GetIndex(int& recordIndex);

  /// The frequencies of the setup: that of the source's first scan, or the selected one. The position of the file
  /// changes.
  /// @return a new array, owned by the caller
  AUVXFreqs* GetFreqs();

 protected:
  int returned_ = 0;
  int lastPercent_ = -1;  ///< progress last sent
  int total_ = 0;
  int source_;
  int freqSel_ = 1;
  AScanCursor cursor_;
  AUVXFile* file_;
  CProgressCtrl* progress_;
};

/// Lists the records of one source in one frequency setup; the counterpart of AUVXRead_FqS.
class ZELTRA_API AUVXPosIndex_FqS : public AUVXPosIndex {
 public:
  AUVXPosIndex_FqS(AUVXFile* file, int source, int freqSel, CProgressCtrl* progress);

  /// Here, if it is of another source or setup.
  int IsDropPosItem(AUVXPositionItem& scan) override;
};

}  // namespace zeltra

#endif  // ZELTRA_READERS_AUVXPOSINDEX_H_
