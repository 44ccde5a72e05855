// Buffered standard output.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_STANDARDOUTPUT_H_
#define ZELTRA_APPS_STANDARDOUTPUT_H_

#include <string_view>
#include <vector>

#include "zeltra/core/AResult.h"

namespace zeltra::app {

/// Collects text and writes it in large pieces, byte for byte. Text not yet written is lost with the object: a command
/// that succeeds calls Flush.
class StandardOutput {
 public:
  void Append(std::string_view text);

  /// Room for `n` characters at the end of the text; Used() says how far it has been filled.
  char* Room(size_t n) {
    if (buffer_.size() - used_ < n) MakeRoom(n);
    return buffer_.data() + used_;
  }
  void Used(const char* end) { used_ = static_cast<size_t>(end - buffer_.data()); }

  /// Whether every byte written so far was accepted: a long table stops early if its reader is gone.
  bool good() const { return good_; }
  /// Write the collected text. @return a failure if any byte was not accepted
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
