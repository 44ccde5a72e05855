// Reading the groups of a UV FITS file as records.
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

/// A source of records; this base class provides none.
class ZELTRA_API ABaseFITSRead {
 public:
  /// @param fits, progress  owned by the caller; they must outlive the reader. `progress` may be null.
  explicit ABaseFITSRead(AFITS* fits = nullptr, CProgressCtrl* progress = nullptr) : fits_(fits), progress_(progress) {}
  ABaseFITSRead(const ABaseFITSRead&) = delete;
  ABaseFITSRead& operator=(const ABaseFITSRead&) = delete;
  virtual ~ABaseFITSRead();

  /// Fetch the next record. @return 1; this base class does nothing else
  virtual int GetUVGVis(AUVXGroup& group, AUVXVisibility& vis, int& index);

 protected:
  AFITS* fits_;
  CProgressCtrl* progress_;
};

/// Reads the groups of a UV FITS file in order, about 8 KiB at a time, and reports the share delivered to the progress
/// control. Nothing else may move the file position between calls.
class ZELTRA_API AFITSRead : public ABaseFITSRead {
 public:
  /// @param fits  a file whose headers have been read
  AFITSRead(AFITS* fits, CProgressCtrl* progress);

  /// Fetch the next group.
  /// @param vis    must be sized for the file, as by AUVXVisibility(AFITS&)
  /// @param index  number of the group, from 0
  /// @return 0, with nothing changed, after the last complete group in the file. A damaged file may hold fewer than
  ///         GCOUNT says, which looks the same: ask Complete().
  int GetUVGVis(AUVXGroup& group, AUVXVisibility& vis, int& index) override;

  /// Whether as many groups were delivered as GCOUNT says. Call it after GetUVGVis has returned 0: false for a file
  /// that is cut short, whose groups cannot be read, or whose primary header was refused.
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
