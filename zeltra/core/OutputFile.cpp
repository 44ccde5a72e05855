// SPDX-License-Identifier: MIT
#include "zeltra/core/OutputFileInternal.h"

#include "zeltra/platform/System.h"
#include "zeltra/platform/SystemInternal.h"

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
  if (descriptor() < 0) return 0;
  const bool isSettled = Settle();
  const int result = AFile::Close() && isSettled;
  good_ = good_ && result;
  return result;
}

bool CheckedFile::Settle() {
  if (permissions_ >= 0 && !platform::SetPermissions(descriptor(), permissions_)) return false;
  return !sync_ || platform::SyncDescriptor(descriptor());
}

void CheckedFile::AtClose(int permissions, bool sync) {
  permissions_ = permissions;
  sync_ = sync;
  // Until then nobody sees what only some may see in the end.
  if (permissions >= 0) platform::SetPermissions(descriptor(), platform::kOwnerOnly);
}

OutputFile::~OutputFile() {
  Discard();
}

void OutputFile::Discard() {
  file_.AtClose(-1, false);
  file_.Close();
  if (!temporary_.empty()) RemoveFile(temporary_);
  temporary_.clear();
}

AResult OutputFile::Create(const std::string& path, const JobOptions& options, const std::string& input) {
  path_ = path;
  target_ = platform::LinkTarget(path);
  overwrite_ = options.overwrite;
  sync_ = options.sync;
  const platform::FileKind kind = platform::KindOf(target_);
  if (kind == platform::FileKind::Other) return AResult::Fail(path + ": is not a regular file and is not replaced");
  const bool isThere = kind == platform::FileKind::Regular;
  if (!overwrite_ && isThere) return AResult::Fail(path + ": exists already and is not replaced unasked");
  if (!input.empty() && IsSameFile(path, input)) return AResult::Fail(path + ": is the file that is read");
  const std::string temporary = TemporaryNameFor(target_);
  if (!file_.Open(temporary.c_str(), AFile::Create | AFile::ReadWrite | AFile::Binary)) {
    return AResult::Fail(path + ": cannot be created");
  }
  temporary_ = temporary;
  file_.AtClose(isThere ? platform::PermissionsOf(target_) : -1, sync_);
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
  if (!MoveIntoPlace(temporary_, target_, overwrite_)) {
    return AResult::Fail(path_ +
                         (PathExists(target_) ? ": exists already and cannot be replaced" : ": cannot be created"));
  }
  temporary_.clear();
  if (!sync_ || platform::SyncFolderOf(target_)) return AResult::Ok();
  return AResult::Fail(path_ + ": is complete, but the disk does not take the name into its folder");
}

AResult OutputFile::WriteError() const {
  return AResult::Fail(path_ + ": cannot be written, the disk may be full");
}

}  // namespace zeltra
