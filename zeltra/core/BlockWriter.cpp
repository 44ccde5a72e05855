// SPDX-License-Identifier: MIT
#include "zeltra/core/BlockWriterInternal.h"

namespace zeltra {

bool BlockWriter::Flush() {
  if (used_ > 0) file_.Write(block_.get(), used_);
  used_ = 0;
  return file_.good();
}

}  // namespace zeltra
