// A UVX file that a command reads.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_UVXINPUT_H_
#define ZELTRA_APPS_UVXINPUT_H_

#include <memory>
#include <string>

#include "zeltra/core/AFile.h"
#include "zeltra/ops/AResult.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra::app {

/// A UVX file opened for reading only, so that a write-protected one serves as well.
class UVXInput {
 public:
  /// @return a failure that tells what is wrong with the file: it must be a UVX file and hold every record it promises
  AResult Open(const std::string& path);

  const std::string& path() const { return path_; }
  AUVXFile& uvx() { return uvx_; }

  /// Read a table by its entry in the directory.
  /// @return null if the image is damaged
  std::unique_ptr<AUVXTable> Table(const AUVXTableItem& item);

 private:
  std::string path_;
  AFile file_;
  AUVXFile uvx_;
};

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_UVXINPUT_H_
