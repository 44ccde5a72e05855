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

/// The kinds of a filter such as `UVX files|*.uvx|Maps|*.map;*.cmap`, and at the end that of all files.
std::vector<FileKind> FileKinds(const std::string& filter);

}  // namespace zeltra::desktop

#endif  // ZELTRA_DESKTOP_FILEFILTERINTERNAL_H_
