// Delivers the groups of a UV FITS file as records.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_AFITSREAD_H_
#define ZELTRA_FITS_AFITSREAD_H_

#include <vector>

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

class AFITS;
class AUVXVisibility;
class CProgressCtrl;
struct AUVXGroup;

/// A source of records; this one has none to give.
class ZELTRA_API ABaseFITSRead {
 public:
  /// @param fits, progress  the caller's; they outlive the reader. `progress` may be null.
  explicit ABaseFITSRead(AFITS* fits = nullptr, CProgressCtrl* progress = nullptr) : fits_(fits), progress_(progress) {}
  ABaseFITSRead(const ABaseFITSRead&) = delete;
  ABaseFITSRead& operator=(const ABaseFITSRead&) = delete;
  virtual ~ABaseFITSRead();

  /// Fetch the next record. @return 1, here without doing anything
  virtual int GetUVGVis(AUVXGroup& group, AUVXVisibility& vis, int& index);

 protected:
  AFITS* fits_;
  CProgressCtrl* progress_;
};

/// Reads the groups of a UV FITS file in their order, about 8 KiB at a time, and sends the share delivered to the
/// progress control. Nobody else may move the file between calls.
class ZELTRA_API AFITSRead : public ABaseFITSRead {
 public:
  /// @param fits  its headers have been read
  AFITSRead(AFITS* fits, CProgressCtrl* progress);

  /// Fetch the next group.
  /// @param vis    has been sized for the file, as AUVXVisibility(AFITS&) does
  /// @param index  number of the group, from 0
  /// @return 0, with nothing changed, after the last group that is whole in the file. A damaged file may hold fewer
  ///         than GCOUNT says, which looks the same: Complete() tells.
  int GetUVGVis(AUVXGroup& group, AUVXVisibility& vis, int& index) override;

  /// Whether as many groups were delivered as GCOUNT says. Asked after GetUVGVis has returned 0: false for a file that
  /// is cut short, whose groups cannot be read, or whose primary header was refused.
  bool Complete() const;

 private:
  int Refill();

  int remaining_ = 0;
  int readCount_ = 0;
  int delivered_ = 0;
  int lastPercent_ = 0;
  int batch_ = 0;
  std::vector<char> buffer_;
  char* cursor_ = nullptr;
};

}  // namespace zeltra

#endif  // ZELTRA_FITS_AFITSREAD_H_
