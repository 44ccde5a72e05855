// SPDX-License-Identifier: MIT
#include "zeltra/ops/OutputFileInternal.h"
#include "zeltra/platform/System.h"

namespace zeltra {

OutputFile::~OutputFile() {
  file_.Close();
  if (!temporary_.empty()) RemoveFile(temporary_);
}

AResult OutputFile::Create(const std::string& path, bool overwrite) {
  path_ = path;
  overwrite_ = overwrite;
  if (!overwrite && PathExists(path)) return AResult::Fail(path + ": exists already and is not replaced unasked");
  const std::string temporary = TemporaryNameFor(path);
  if (!file_.Open(temporary.c_str(), AFile::Create | AFile::ReadWrite | AFile::Binary)) {
    return AResult::Fail(path + ": cannot be created");
  }
  temporary_ = temporary;
  return AResult::Ok();
}

AResult OutputFile::Commit() {
  if (!file_.Close()) return WriteError();
  if (!MoveIntoPlace(temporary_, path_, overwrite_)) {
    return AResult::Fail(path_ +
                         (PathExists(path_) ? ": exists already and cannot be replaced" : ": cannot be created"));
  }
  temporary_.clear();
  return AResult::Ok();
}

AResult OutputFile::WriteError() const {
  return AResult::Fail(path_ + ": cannot be written, the disk may be full");
}

bool BlockWriter::Flush() {
  // A write that moved only a part counts as success, so the position tells.
  const int64 end = file_.Tell() + used_;
  if (used_ > 0) good_ = good_ && file_.Write(block_.get(), used_) && file_.Tell() == end;
  used_ = 0;
  return good_;
}

void BlockReader::Seek(int64 position) {
  if (position >= start_ && position <= start_ + filled_) {
    used_ = static_cast<int>(position - start_);
  } else {
    start_ = position;
    filled_ = used_ = 0;
  }
}

bool BlockReader::Fill(int n) {
  // What is left moves to the front, so that a run of bytes never straddles two blocks.
  std::memmove(block_.get(), block_.get() + used_, static_cast<size_t>(filled_ - used_));
  start_ += used_;
  filled_ -= used_;
  used_ = 0;
  const int64 position = start_ + filled_;
  const int room = kBlockBytes - filled_;
  if (!file_.Seek(position) || !file_.Read(block_.get() + filled_, room)) return false;
  filled_ += static_cast<int>(file_.Tell() - position);
  return filled_ >= n;
}

}  // namespace zeltra
