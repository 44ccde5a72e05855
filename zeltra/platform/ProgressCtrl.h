// Progress of long operations, reported to a control of the host.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_PLATFORM_PROGRESSCTRL_H_
#define ZELTRA_PLATFORM_PROGRESSCTRL_H_

#include <cstdint>

#include "zeltra/platform/Export.h"

namespace zeltra {

/// Message that names the step about to begin: `lParam` points to NUL-terminated text, valid during the call.
inline constexpr unsigned kProgressText = 12;
/// Message that sets the range: lower end in the low 16 bits of `lParam`, upper end in the next 16.
inline constexpr unsigned kProgressRange = 1025;
/// Message that sets the position, `wParam`.
inline constexpr unsigned kProgressPosition = 1026;

/// Receives progress messages; a host derives from it. Message numbers are those of the Windows progress control and of
/// its window text, so that an adapter may pass them on as they are.
///
/// Long operations send PBM_SETRANGE with 0..100 once and PBM_SETPOS whenever the whole percentage changes, on the
/// thread that runs the operation.
class ZELTRA_API CProgressCtrl {
 public:
  virtual ~CProgressCtrl();
  virtual std::intptr_t SendMessage(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) = 0;
};

/// Set the range of `progress` to 0..100. Nothing happens when it is null.
ZELTRA_API void SendProgressRange(CProgressCtrl* progress);

/// Name the step about to begin. Nothing happens when `progress` is null.
ZELTRA_API void SendProgressText(CProgressCtrl* progress, const char* text);

/// Send `done` as a percentage of `total`, rounded half up, if it differs from the last one sent.
/// @param lastPercent  in and out: the position last sent; -1 before the first
ZELTRA_API void SendProgress(CProgressCtrl* progress, std::int64_t done, std::int64_t total, int& lastPercent);

}  // namespace zeltra

#endif  // ZELTRA_PLATFORM_PROGRESSCTRL_H_
