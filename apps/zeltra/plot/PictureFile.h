// Drawings as the files that people name.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_PICTUREFILE_H_
#define ZELTRA_APPS_PLOT_PICTUREFILE_H_

#include <string>
#include <vector>

#include "zeltra/core/AResult.h"

namespace zeltra::app {

/// The endings of files that drawings are kept in.
inline const std::vector<std::string> kPictureEndings = {".svg", ".png"};

/// @return a failure where the program cannot make a file of that name
AResult CheckPicture(const std::string& path);

/// Turn an SVG file into the bytes of the file of that name, which has one of the endings.
AResult FinishPicture(const std::string& path, std::string& picture);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_PICTUREFILE_H_
