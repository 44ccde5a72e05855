// SPDX-License-Identifier: MIT
#include "apps/zeltra/StandardOutput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "zeltra/platform/System.h"

namespace zeltra::app {

void StandardOutput::Append(std::string_view text) {
  if (text.empty()) return;
  char* to = Room(text.size());
  std::memcpy(to, text.data(), text.size());
  Used(to + text.size());
}

AResult StandardOutput::Flush() {
  Write();
  if (good_) return AResult::Ok();
  return AResult::Fail("standard output cannot be written: " + ReasonOf(error_));
}

void StandardOutput::Write() {
  if (good_ && (std::fwrite(buffer_.data(), 1, used_, stdout) != used_ || std::fflush(stdout) != 0)) {
    good_ = false;
    error_ = errno;
  }
  used_ = 0;
}

void StandardOutput::MakeRoom(size_t n) {
  Write();
  if (buffer_.size() < n) buffer_.resize(n);
}

}  // namespace zeltra::app
