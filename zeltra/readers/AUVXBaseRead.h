// The common base of the readers of UVX records.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_READERS_AUVXBASEREAD_H_
#define ZELTRA_READERS_AUVXBASEREAD_H_

#include <algorithm>
#include <memory>

#include "zeltra/platform/ProgressCtrl.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra {

class AUVXFreqs;

/// A reader returns the records of an open file one at a time. It moves the position of the file and expects that
/// nothing else does so between its calls: use one reader per file at a time.
///
/// Copies of a reader share what it owns and are not meant to be used side by side.
class ZELTRA_API AUVXBaseRead {
 public:
  AUVXBaseRead(const AUVXBaseRead&) = default;
  AUVXBaseRead& operator=(const AUVXBaseRead&) = default;
  virtual ~AUVXBaseRead();

  /// The frequencies of the setup of the last record read; the position of the file is preserved. The reader owns the
  /// array, which is valid until the next call after a record of another setup.
  virtual AUVXFreqs* GetFreqs();

  AUVXFile& uvx() const { return *file_; }

 protected:
  /// Neither `file`, which must outlive the reader, nor `progress`, which may be null, is owned.
  AUVXBaseRead(AUVXFile* file, CProgressCtrl* progress);

  /// Copy the record of `bytes` bytes at `p`: as many values as `vis` has, but no more than the record has.
  void Take(const char* p, int bytes, AUVXGroup& group, AUVXVisibility& vis) {
    group.load(const_cast<char*>(p));
    const size_t held = static_cast<size_t>(bytes - AUVXGroup::kBytes);
    const size_t wanted = static_cast<size_t>(vis.count()) * sizeof(AUVXComplex);
    std::copy_n(p + AUVXGroup::kBytes, std::min(wanted, held), reinterpret_cast<char*>(vis.lpArray()));
    freqSel_ = group.freqSel();
  }

  /// Report the progress: `recordsRead_` of `total`.
  void TellProgress(int total) {
    if (progress_) SendProgress(progress_, recordsRead_, total, lastPercent_);
  }

  int freqSel_ = 1;       ///< frequency setup of the last record
  int freqsSetup_ = -1;   ///< setup of `freqs_`
  int lastPercent_ = -1;  ///< progress last sent
  int recordsRead_ = 0;
  AUVXFile* file_;
  CProgressCtrl* progress_;
  std::shared_ptr<AUVXFreqs> freqs_;
};

}  // namespace zeltra

#endif  // ZELTRA_READERS_AUVXBASEREAD_H_
