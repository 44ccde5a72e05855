// Readers of one source, or of one frequency setup of it, using the index of the file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_READERS_AUVXREAD_H_
#define ZELTRA_READERS_AUVXREAD_H_

#include <memory>
#include <vector>

#include "zeltra/readers/AScanCursor.h"
#include "zeltra/readers/AUVXBaseRead.h"

namespace zeltra {

/// Reads the records of one source, scan by scan in the order of the index. A file without an index shows the message
/// "AUVXREAD NX=NULL" at construction and reads as empty.
///
/// A constructor of this class cannot call an overridden IsDropPosItem. A class that overrides it therefore goes to the
/// first of its own scans, and counts its own records, in its own constructor:
///
///     const auto drop = [this](AUVXPositionItem& scan) { return MyRead::IsDropPosItem(scan) != 0; };
///     freqSel_ = ...;                         // the setup whose frequencies GetFreqs() returns
///     Select(drop);
///     total_ = cursor_.CountRecords(drop);    // for count() and progress; reading ends after total_ + 1 records
///
/// Otherwise the first scan of the source is read even if IsDropPosItem rejects it.
class ZELTRA_API AUVXRead : public AUVXBaseRead {
 public:
  AUVXRead(AUVXFile* file, int source, CProgressCtrl* progress);

  /// Whether a scan is left out: here, if it is of another source.
  virtual int IsDropPosItem(AUVXPositionItem& scan);

  /// Read the next record.
  /// @param vis          sized for the file
  /// @param recordIndex  index of the record in the file, from 0
  /// @return 0 at the end of the selected scans, and at a record that the index promises but the file does not hold;
  ///         the outputs are then meaningless
  int GetUVGVis(AUVXGroup& group, AUVXVisibility& vis, int& recordIndex);

  /// Number of records selected, according to the index.
  int count() const { return total_; }

 protected:
  AUVXRead(AUVXFile* file, int source, CProgressCtrl* progress, AScanCursor cursor);

  /// Go to the first record of the first scan that `drop` keeps.
  void Select(const AScanCursor::Drop& drop);

  int total_ = 0;  ///< records selected, according to the index: count()
  int source_;
  AScanCursor cursor_;

 private:
  bool ReadRecord();

  std::vector<char> record_;  // bytes of the current record
};

/// Reads the records of one source in one frequency setup.
class ZELTRA_API AUVXRead_FqS : public AUVXRead {
 public:
  AUVXRead_FqS(AUVXFile* file, int source, int freqSel, CProgressCtrl* progress);
  /// Use `scans` instead of the index of the file; many readers may share one long list.
  AUVXRead_FqS(AUVXFile* file, int source, int freqSel, std::shared_ptr<AUVXPosition> scans);

  /// Here, if it is of another source or setup.
  int IsDropPosItem(AUVXPositionItem& scan) override;

 private:
  AUVXRead_FqS(AUVXFile* file, int source, int freqSel, CProgressCtrl* progress, AScanCursor cursor);

  int selected_;
};

}  // namespace zeltra

#endif  // ZELTRA_READERS_AUVXREAD_H_
