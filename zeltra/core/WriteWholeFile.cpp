// SPDX-License-Identifier: MIT
#include "zeltra/core/WriteWholeFile.h"

#include <climits>

#include "zeltra/core/OutputFileInternal.h"

namespace zeltra {

AResult WriteWholeFile(const std::string& path, const std::string& bytes, bool overwrite) {
  if (bytes.size() > INT_MAX) return AResult::Fail(path + ": would be 2 GiB or larger");
  OutputFile output;
  if (AResult result = output.Create(path, overwrite); !result) return result;
  if (!bytes.empty()) output.file().Write(const_cast<char*>(bytes.data()), static_cast<int>(bytes.size()));
  return output.Commit();
}

}  // namespace zeltra
