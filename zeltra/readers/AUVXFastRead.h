// The reader for all records of a file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_READERS_AUVXFASTREAD_H_
#define ZELTRA_READERS_AUVXFASTREAD_H_

#include "zeltra/readers/AUVXBaseRead.h"

namespace zeltra {

/// Reads every record of a file in order, in blocks of at most 4 MiB (or one record, if that is larger).
class ZELTRA_API AUVXFastRead : public AUVXBaseRead {
 public:
  AUVXFastRead(AUVXFile* file, CProgressCtrl* progress);

  /// Read the next record.
  /// @param vis          sized for the file
  /// @param recordIndex  index of the record in the file, from 0
  /// @return 0 after the last record that the file holds; the outputs then keep their values
  int GetUVGVis(AUVXGroup& group, AUVXVisibility& vis, int& recordIndex) {
    if (recordsRead_ >= recordsLoaded_ && !LoadBlock()) return 0;
    Take(next_, recordBytes_, group, vis);
    next_ += recordBytes_;
    recordIndex = recordsRead_++;
    TellProgress(fileRecords_);
    return 1;
  }

 private:
  static constexpr int kBlockBytes = 0x400000;

  bool LoadBlock();

  int recordsLeft_ = 0;
  int recordsLoaded_ = 0;
  int blockRecords_ = 0;
  std::shared_ptr<char[]> buffer_;
  char* next_ = nullptr;
  int recordBytes_;
  int fileRecords_;
};

}  // namespace zeltra

#endif  // ZELTRA_READERS_AUVXFASTREAD_H_
