// The place of a reader in the index of its file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_READERS_ASCANCURSOR_H_
#define ZELTRA_READERS_ASCANCURSOR_H_

#include <functional>
#include <memory>

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

class AUVXFile;
class AUVXPosition;
struct AUVXPositionItem;

/// Walks the records of the scans that a reader selects.
///
/// The index is what the file claims: a scan that ends before it starts holds no record, and a record that the file
/// does not hold ends the walk.
class ZELTRA_API AScanCursor {
 public:
  /// Tells whether a scan is left out.
  using Drop = std::function<bool(AUVXPositionItem&)>;

  /// Load the index ("NX") of `file`. A file without one shows the message "AUVXREAD NX=NULL" and has no scans.
  explicit AScanCursor(AUVXFile& file);
  /// Take `scans` for the index.
  AScanCursor(AUVXFile& file, std::shared_ptr<AUVXPosition> scans);

  AUVXPosition& positions() const { return *positions_; }

  /// Number of records in the selected scans, as the index has it.
  int CountRecords(const Drop& drop) const;

  /// Go to the first record of the first selected scan.
  void First(const Drop& drop);

  /// Make sure of a current record: behind the end of a scan go to the next selected one.
  /// @param jumped  whether the record does not follow the last one
  /// @return false at the end
  bool Settle(const Drop& drop, bool& jumped);

  /// Whether the current record is in the file.
  bool IsHeld() const { return scan_ >= 0 && next_ >= 1 && next_ <= held_; }
  /// Index of the current record, from 0.
  int Record() const { return static_cast<int>(next_ - 1); }
  void Step() { ++next_; }

 private:
  void GoToScanFrom(int scan, const Drop& drop);

  std::shared_ptr<AUVXPosition> positions_;  // copies of a reader share the list
  int held_ = 0;                             // records in the file
  int scan_ = -1;                            // current scan, -1 for none
  int64 next_ = 0;                           // current record, from 1 as the index counts
};

}  // namespace zeltra

#endif  // ZELTRA_READERS_ASCANCURSOR_H_
