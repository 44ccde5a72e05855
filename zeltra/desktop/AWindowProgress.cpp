// SPDX-License-Identifier: MIT
#include "zeltra/desktop/AWindowProgress.h"

#include <windows.h>

#include "zeltra/platform/WindowsTextInternal.h"

#undef SendMessage

namespace zeltra {

std::intptr_t AWindowProgress::SendMessage(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) {
  const auto window = static_cast<HWND>(window_.handle);
  if (!window) return 0;
  if (message != kProgressText) return SendMessageW(window, message, wParam, lParam);
  const std::wstring text = platform::Wide(reinterpret_cast<const char*>(lParam));
  return SendMessageW(window, message, wParam, reinterpret_cast<LPARAM>(text.c_str()));
}

}  // namespace zeltra
