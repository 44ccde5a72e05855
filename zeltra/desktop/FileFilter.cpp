// SPDX-License-Identifier: MIT
#include "zeltra/desktop/FileFilterInternal.h"

namespace zeltra::desktop {

std::vector<FileKind> FileKinds(const std::string& filter) {
  std::vector<FileKind> kinds;
  const std::string all = (filter.empty() ? "" : filter + "|") + "All files (*.*)|*.*|";
  size_t position = 0;
  const auto takePiece = [&] {
    const size_t start = position;
    position = all.find('|', start) + 1;
    return all.substr(start, position - 1 - start);
  };
  while (position < all.size()) {
    std::string name = takePiece();
    // An empty name ends the list, as `||` does.
    if (name.empty() || position >= all.size()) break;
    std::string patterns = takePiece();
    kinds.push_back({std::move(name), std::move(patterns)});
  }
  return kinds;
}

}  // namespace zeltra::desktop
