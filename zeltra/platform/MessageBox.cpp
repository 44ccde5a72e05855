// SPDX-License-Identifier: MIT
#include "zeltra/platform/MessageBox.h"

#include <atomic>

#include "zeltra/platform/SystemInternal.h"

namespace zeltra {
namespace {
std::atomic<AMessageSink> installedSink{nullptr};
}  // namespace

AMessageSink SetMessageSink(AMessageSink sink) {
  return installedSink.exchange(sink);
}

void AfxMessageBox(const char* text) {
  if (const AMessageSink sink = installedSink.load()) {
    sink(text);
  } else {
    platform::ShowMessage(text);
  }
}

}  // namespace zeltra
