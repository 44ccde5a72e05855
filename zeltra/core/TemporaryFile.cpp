// SPDX-License-Identifier: MIT
#include <cerrno>

#include "zeltra/core/TemporaryFileInternal.h"
#include "zeltra/platform/System.h"
#include "zeltra/platform/SystemInternal.h"

namespace zeltra {
namespace {

std::string Reason(int error) {
  return error != 0 ? ": " + ReasonOf(error) : std::string();
}

}  // namespace

TemporaryFile::~TemporaryFile() {
  file_.Close();
  if (!name_.empty()) RemoveFile(name_);
}

AResult TemporaryFile::Create(const std::string& path) {
  path_ = path;
  name_ = TemporaryNameFor(platform::LinkTarget(path));
  if (!file_.Open(name_.c_str(), AFile::Create | AFile::ReadWrite | AFile::Binary)) {
    name_.clear();
    return AResult::Fail(path_ + ": a temporary file beside it cannot be created" + Reason(errno));
  }
  if (RemoveFile(name_)) name_.clear();
  return AResult::Ok();
}

AResult TemporaryFile::ReadAt(int64 position, void* bytes, int64 n) const {
  errno = 0;
  if (file_.ReadAt(position, bytes, n) == n) return AResult::Ok();
  return AResult::Fail(path_ + ": the temporary file beside it cannot be read" + Reason(errno));
}

AResult TemporaryFile::WriteError() const {
  return AResult::Fail(path_ + ": the temporary file beside it cannot be written" + Reason(file_.error()));
}

}  // namespace zeltra
