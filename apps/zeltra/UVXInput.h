// The file of visibilities that a command reads.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_UVXINPUT_H_
#define ZELTRA_APPS_UVXINPUT_H_

#include <string>

#include "zeltra/ops/AUVXInput.h"

namespace zeltra::app {

class Session;

/// UVX, or UV FITS that is imported first.
class UVXInput : public AUVXInput {
 public:
  /// Open the file, with the progress of the session and a note of each thing that the import remarks.
  AResult Open(const std::string& path, Session& session);
};

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_UVXINPUT_H_
