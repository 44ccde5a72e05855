// SPDX-License-Identifier: MIT
#include "zeltra/core/WriteWholeFile.h"

#include "zeltra/core/OutputFileInternal.h"

namespace zeltra {

AResult WriteWholeFile(const std::string& path, const std::string& bytes, bool overwrite, bool sync) {
  JobOptions options;
  options.overwrite = overwrite;
  options.sync = sync;
  OutputFile output;
  if (AResult result = output.Create(path, options); !result) return result;
  WriteWhole(output.file(), bytes.data(), static_cast<int64>(bytes.size()));
  return output.Commit();
}

}  // namespace zeltra
