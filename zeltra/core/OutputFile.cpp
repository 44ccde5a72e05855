// SPDX-License-Identifier: MIT
#include "zeltra/core/OutputFileInternal.h"

#include "zeltra/platform/System.h"

namespace zeltra {

int CheckedFile::Seek(const int64& pos) {
  const int result = AFile::Seek(pos);
  good_ = good_ && (result || Tell() < 0);
  return result;
}

int CheckedFile::Write(void* buf, int n) {
  const int64 end = Tell() + n;
  const int result = AFile::Write(buf, n);
  good_ = good_ && (n < 1 || (result && Tell() == end));
  return result;
}

int CheckedFile::Close() {
  // A second Close finds nothing to close, which is no loss.
  const bool open = Tell() >= 0;
  const int result = AFile::Close();
  good_ = good_ && (result || !open);
  return result;
}

OutputFile::~OutputFile() {
  Discard();
}

void OutputFile::Discard() {
  file_.Close();
  if (!temporary_.empty()) RemoveFile(temporary_);
  temporary_.clear();
}

AResult OutputFile::Create(const std::string& path, bool overwrite, const std::string& input) {
  path_ = path;
  overwrite_ = overwrite;
  if (!overwrite && PathExists(path)) return AResult::Fail(path + ": exists already and is not replaced unasked");
  if (!input.empty() && IsSameFile(path, input)) return AResult::Fail(path + ": is the file that is read");
  const std::string temporary = TemporaryNameFor(path);
  if (!file_.Open(temporary.c_str(), AFile::Create | AFile::ReadWrite | AFile::Binary)) {
    return AResult::Fail(path + ": cannot be created");
  }
  temporary_ = temporary;
  return AResult::Ok();
}

AResult OutputFile::Commit() {
  AResult result = Complete();
  return result ? TakeName() : result;
}

AResult OutputFile::Complete() {
  file_.Close();
  return file_.good() ? AResult::Ok() : WriteError();
}

AResult OutputFile::TakeName() {
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

}  // namespace zeltra
