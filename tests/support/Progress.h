// A progress control that keeps what it is sent.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_TESTS_SUPPORT_PROGRESS_H_
#define ZELTRA_TESTS_SUPPORT_PROGRESS_H_

#include <string>
#include <vector>

#include "zeltra/platform/ProgressCtrl.h"

namespace zeltra::test {

struct Progress : CProgressCtrl {
  std::intptr_t SendMessage(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) override {
    if (message == kProgressRange) ranges.push_back(static_cast<int>(lParam));
    if (message == kProgressPosition) positions.push_back(static_cast<int>(wParam));
    if (message == kProgressText) texts += reinterpret_cast<const char*>(lParam) + std::string("|");
    cancel = cancel || (message == kProgressPosition && static_cast<int>(wParam) == cancelAt);
    return 0;
  }

  std::vector<int> ranges, positions;
  std::string texts;  ///< each ends in |
  int cancelAt = -1;  ///< the position that sets `cancel`
  bool cancel = false;
};

}  // namespace zeltra::test

#endif  // ZELTRA_TESTS_SUPPORT_PROGRESS_H_
