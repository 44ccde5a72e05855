// Plain types in place of the desktop's own, which some signatures name.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_PLATFORM_TYPES_H_
#define ZELTRA_PLATFORM_TYPES_H_

#include <cstdint>

namespace zeltra {

/// 64-bit signed integer: every file position and file size, in bytes.
using int64 = std::int64_t;

/// Width and height of a rectangle of pixels.
struct CSize {
  int cx = 0;  ///< width: elements per line
  int cy = 0;  ///< height: number of lines
};

/// Position of a pixel.
struct CPoint {
  int x = 0;
  int y = 0;
};

/// Native window of a host: an HWND on Windows, not used elsewhere.
struct CWnd {
  void* handle = nullptr;
};

}  // namespace zeltra

#endif  // ZELTRA_PLATFORM_TYPES_H_
