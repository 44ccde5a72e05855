// Converts drawings to the kind of file that the user names.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_PICTUREFILE_H_
#define ZELTRA_APPS_PLOT_PICTUREFILE_H_

#include <string>
#include <vector>

#include "zeltra/core/AResult.h"

namespace zeltra::app {

/// The endings of picture files.
inline const std::vector<std::string> kPictureEndings = {".svg", ".png"};

/// @return a failure if the program cannot make a file with that name
AResult CheckPicture(const std::string& path);

/// Convert an SVG file to the contents of the file of that name, which must have one of the endings.
AResult FinishPicture(const std::string& path, std::string& picture);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_PICTUREFILE_H_
