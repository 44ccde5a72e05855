// The parts of a text between its commas.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_SPLITATCOMMASINTERNAL_H_
#define ZELTRA_CORE_SPLITATCOMMASINTERNAL_H_

#include <algorithm>
#include <string>
#include <vector>

namespace zeltra {

/// One more part than there are commas; a part may be empty.
inline std::vector<std::string> SplitAtCommas(const std::string& text) {
  std::vector<std::string> parts;
  for (size_t begin = 0; begin <= text.size();) {
    const size_t end = std::min(text.find(',', begin), text.size());
    parts.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return parts;
}

}  // namespace zeltra

#endif  // ZELTRA_CORE_SPLITATCOMMASINTERNAL_H_
