// SPDX-License-Identifier: MIT
#include <algorithm>
#include <utility>

#include "zeltra/core/OutputFilesInternal.h"
#include "zeltra/platform/System.h"
#include "zeltra/platform/SystemInternal.h"

namespace zeltra {

bool IsOneName(const std::string& a, const std::string& b) {
  const auto split = [](const std::string& name) {
    const size_t end = name.find_last_of("/\\") + 1;
    return std::pair(end > 0 ? name.substr(0, end) : std::string("."), name.substr(end));
  };
  const auto [folderA, fileA] = split(a);
  const auto [folderB, fileB] = split(b);
  return IsSameFile(a, b) ||
         (platform::IsSameName(fileA, fileB) && (folderA == folderB || IsSameFile(folderA, folderB)));
}

bool OutputFiles::IsTaken(const std::string& target) const {
  const auto isSame = [&target](const std::string& name) { return IsOneName(name, target); };
  return std::any_of(names_.begin(), names_.end(), isSame);
}

AResult OutputFiles::Create(const std::string& path, OutputFile*& output) {
  const std::string target = platform::LinkTarget(path);
  if (IsTaken(target)) return AResult::Fail(path + ": named twice");
  auto file = std::make_unique<OutputFile>();
  if (AResult result = file->Create(path, options_); !result) return result;
  output = file.get();
  names_.push_back(target);
  files_.push_back(std::move(file));
  return AResult::Ok();
}

AResult OutputFiles::Add(std::unique_ptr<OutputFile>& file) {
  if (IsTaken(file->target())) return AResult::Fail(file->path() + ": named twice");
  names_.push_back(file->target());
  files_.push_back(std::move(file));
  return AResult::Ok();
}

AResult OutputFiles::Complete() {
  AResult result = AResult::Ok();
  for (; result && complete_ < files_.size(); ++complete_) result = files_[complete_]->Complete();
  return result;
}

AResult OutputFiles::Commit() {
  AResult result = Complete();
  for (const auto& file : files_) {
    if (result) result = file->Publish();
  }
  return result;
}

}  // namespace zeltra
