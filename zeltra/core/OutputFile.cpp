// SPDX-License-Identifier: MIT
#include "zeltra/core/OutputFileInternal.h"

#include <cerrno>

#include "zeltra/platform/System.h"
#include "zeltra/platform/SystemInternal.h"

namespace zeltra {

// Only the first failure counts, since others may follow from it.
void CheckedFile::Note(bool isDone) {
  if (!good_ || isDone) return;
  good_ = false;
  error_ = errno;
}

int CheckedFile::Create(const char* path) {
  return OpenWith(path, AFile::Create | AFile::ReadWrite | AFile::Binary, platform::kEverybody);
}

int CheckedFile::Seek(const int64& pos) {
  const int result = AFile::Seek(pos);
  Note(result || descriptor() < 0);
  return result;
}

int64 CheckedFile::Tell() {
  const int64 position = AFile::Tell();
  Note(position >= 0 || descriptor() < 0);
  return position;
}

int CheckedFile::Read(void* buf, int n) {
  errno = 0;
  const int result = AFile::Read(buf, n);
  Note(result || errno == 0);
  return result;
}

int CheckedFile::Write(void* buf, int n) {
  const int64 end = Tell() + n;
  errno = 0;
  const int result = AFile::Write(buf, n);
  Note(n < 1 || (result && Tell() == end));
  return result;
}

int64 CheckedFile::GetFileSize() {
  const int64 size = AFile::GetFileSize();
  Note(size >= 0 || descriptor() < 0);
  return size;
}

int CheckedFile::Trunc() {
  const int result = AFile::Trunc();
  Note(result);
  return result;
}

int CheckedFile::Close() {
  // The file is already closed, which is not a failure.
  if (descriptor() < 0) return 0;
  Note(permissions_ < 0 || platform::SetPermissions(descriptor(), permissions_));
  const bool isSettled = Sync();
  const int result = AFile::Close();
  Note(result);
  return result && isSettled;
}

bool CheckedFile::Sync() {
  if (good_ && sync_ && cancel_) {
    Note(platform::SyncDescriptorUnless(descriptor(), [this] { return IsSet(cancel_); }));
  } else if (good_ && sync_) {
    Note(platform::SyncDescriptor(descriptor()));
  }
  return good_;
}

void CheckedFile::AtClose(int permissions, bool sync, const ACancelFlag* cancel) {
  permissions_ = permissions;
  sync_ = sync;
  cancel_ = cancel;
  // Until then only the owner may read it, since its final permissions may exclude others.
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
  cancel_ = options.cancel;
  const platform::FileKind kind = platform::KindOf(target_);
  if (kind == platform::FileKind::Unknown) return WriteError(errno);
  if (kind == platform::FileKind::Other) return AResult::Fail(path + ": is not a regular file and is not replaced");
  const bool isThere = kind == platform::FileKind::Regular;
  if (!overwrite_ && isThere) return AResult::Fail(path + ": exists already and is not replaced unasked");
  if (!input.empty() && IsSameFile(path, input)) return AResult::Fail(path + ": is the file that is read");
  const std::string temporary = TemporaryNameFor(target_);
  if (!file_.Create(temporary.c_str())) {
    return AResult::Fail(path + ": cannot be created: " + ReasonOf(errno));
  }
  temporary_ = temporary;
  file_.AtClose(isThere ? platform::PermissionsOf(target_) : -1, sync_, cancel_);
  return AResult::Ok();
}

AResult OutputFile::Sync() {
  const bool isSettled = file_.Sync();
  if (IsSet(cancel_)) return Cancelled();
  return isSettled ? AResult::Ok() : WriteError();
}

AResult OutputFile::Commit() {
  AResult result = Complete();
  return result ? Publish() : result;
}

AResult OutputFile::Complete() {
  file_.Close();
  if (IsSet(cancel_)) return Cancelled();
  return file_.good() ? AResult::Ok() : WriteError();
}

AResult OutputFile::Publish() {
  if (!MoveIntoPlace(temporary_, target_, overwrite_)) {
    const int error = errno;
    if (error == EEXIST) return AResult::Fail(path_ + ": exists already and is not replaced unasked");
    return AResult::Fail(path_ + ": cannot be created: " + ReasonOf(error));
  }
  temporary_.clear();
  if (!sync_ || platform::SyncFolderOf(target_)) return AResult::Ok();
  return AResult::Fail(path_ + ": is complete, but its name cannot be written into its folder: " + ReasonOf(errno));
}

AResult OutputFile::Cancelled() const {
  return AResult::Cancel(path_ + ": cancelled before it was complete");
}

AResult OutputFile::WriteError() const {
  return WriteError(file_.error());
}

AResult OutputFile::WriteError(int error) const {
  return AResult::Fail(path_ + ": cannot be written" +
                       (error != 0 ? ": " + ReasonOf(error) : ", the disk may be full"));
}

}  // namespace zeltra
