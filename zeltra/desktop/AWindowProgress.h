// Progress shown by a Windows control.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_DESKTOP_AWINDOWPROGRESS_H_
#define ZELTRA_DESKTOP_AWINDOWPROGRESS_H_

#include "zeltra/platform/ProgressCtrl.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

/// Passes progress on to a progress control of the system. Part of the library only on Windows.
///
/// Messages are sent, not posted: each waits until the thread that owns the window has handled it, so that thread must
/// be the one that runs the operation or one that dispatches messages.
class ZELTRA_API AWindowProgress : public CProgressCtrl {
 public:
  /// @param window  the control; not owned. With a null handle nothing is sent
  explicit AWindowProgress(const CWnd& window) : window_(window) {}

 private:
  // Called only as a CProgressCtrl: if windows.h is included first, it gives the function another name.
  std::intptr_t SendMessage(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) override;

  CWnd window_;
};

}  // namespace zeltra

#endif  // ZELTRA_DESKTOP_AWINDOWPROGRESS_H_
