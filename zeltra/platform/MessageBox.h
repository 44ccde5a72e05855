// The few messages that the library shows to the user.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_PLATFORM_MESSAGEBOX_H_
#define ZELTRA_PLATFORM_MESSAGEBOX_H_

#include "zeltra/platform/Export.h"

namespace zeltra {

/// Shows one message; called on the thread that runs the operation.
using AMessageSink = void (*)(const char* text);

/// Install the function that shows messages. The default shows a message box in a Windows GUI process and writes a line
/// to standard error elsewhere.
/// @param sink  null restores the default
/// @return the sink that was installed before, null for the default
ZELTRA_API AMessageSink SetMessageSink(AMessageSink sink);

/// Show `text` through the installed sink.
ZELTRA_API void AfxMessageBox(const char* text);

}  // namespace zeltra

#endif  // ZELTRA_PLATFORM_MESSAGEBOX_H_
