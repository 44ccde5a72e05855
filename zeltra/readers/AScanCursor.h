// A reader's position in the index of its file.
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
/// The index is only what the file claims: a scan that ends before it starts holds no record, and a record that the
/// file does not hold ends the walk.
class ZELTRA_API AScanCursor {
 public:
  /// Says whether a scan is left out.
  using Drop = std::function<bool(AUVXPositionItem&)>;

  /// Load the index ("NX") of `file`. A file without one shows the message "AUVXREAD NX=NULL" and has no scans.
  explicit AScanCursor(AUVXFile& file);
  /// Use `scans` as the index.
  AScanCursor(AUVXFile& file, std::shared_ptr<AUVXPosition> scans);

  AUVXPosition& positions() const { return *positions_; }

  /// Number of records in the selected scans, according to the index.
  int CountRecords(const Drop& drop) const;

  /// Go to the first record of the first selected scan.
  void First(const Drop& drop);

  /// Ensure that there is a current record: after the end of a scan go to the next selected one.
  /// @param jumped  whether the record does not directly follow the previous one
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
