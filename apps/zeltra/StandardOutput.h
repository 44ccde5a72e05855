// Standard output behind a buffer.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_STANDARDOUTPUT_H_
#define ZELTRA_APPS_STANDARDOUTPUT_H_

#include <string_view>
#include <vector>

#include "zeltra/core/AResult.h"

namespace zeltra::app {

/// Collects text and writes it in large pieces, byte for byte. What is still collected when the object goes is lost: a
/// command that ends well calls Flush.
class StandardOutput {
 public:
  void Append(std::string_view text);

  /// Room for `n` characters at the end of the text, of which Used() takes the first ones.
  char* Room(size_t n) {
    if (buffer_.size() - used_ < n) MakeRoom(n);
    return buffer_.data() + used_;
  }
  void Used(const char* end) { used_ = static_cast<size_t>(end - buffer_.data()); }

  /// Whether every byte written so far has been taken: a long table ends early when its reader has gone.
  bool good() const { return good_; }
  /// Write what is collected. @return a failure once any byte has not been taken
  AResult Flush();

 private:
  void Write();
  void MakeRoom(size_t n);

  std::vector<char> buffer_ = std::vector<char>(1 << 18);
  size_t used_ = 0;
  bool good_ = true;
  int error_ = 0;  // why not, as in errno
};

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_STANDARDOUTPUT_H_
