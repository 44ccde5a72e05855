// Conversion of text to and from the form that Windows uses.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_PLATFORM_WINDOWSTEXTINTERNAL_H_
#define ZELTRA_PLATFORM_WINDOWSTEXTINTERNAL_H_

#include <string>

namespace zeltra::platform {

/// UTF-16 of 8-bit text: of UTF-8, or of the system's code page where it is not valid UTF-8.
std::wstring Wide(const std::string& text);

/// UTF-8 of NUL-terminated UTF-16.
std::string Narrow(const wchar_t* wide);

}  // namespace zeltra::platform

#endif  // ZELTRA_PLATFORM_WINDOWSTEXTINTERNAL_H_
