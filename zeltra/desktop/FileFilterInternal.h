// The kinds of files that a file dialog offers.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_DESKTOP_FILEFILTERINTERNAL_H_
#define ZELTRA_DESKTOP_FILEFILTERINTERNAL_H_

#include <string>
#include <vector>

namespace zeltra::desktop {

struct FileKind {
  std::string name;      ///< as in `UVX files (*.uvx)`
  std::string patterns;  ///< as in `*.uvx;*.uv`
};

/// The kinds in a filter such as `UVX files|*.uvx|Maps|*.map;*.cmap`, followed by the one for all files.
std::vector<FileKind> FileKinds(const std::string& filter);

}  // namespace zeltra::desktop

#endif  // ZELTRA_DESKTOP_FILEFILTERINTERNAL_H_
