// A progress bar on the terminal.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_TERMINALPROGRESS_H_
#define ZELTRA_APPS_TERMINALPROGRESS_H_

#include <string>

#include "zeltra/platform/ProgressCtrl.h"

namespace zeltra::app {

/// Redraws the current step and a bar in one line of standard error.
class TerminalProgress : public CProgressCtrl {
 public:
  std::intptr_t SendMessage(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) override;

  /// Remove the bar, so that other text begins on an empty line.
  void Clear();

 private:
  void Draw();

  std::string step_;
  int percent_ = 0;
  bool visible_ = false;
};

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_TERMINALPROGRESS_H_
