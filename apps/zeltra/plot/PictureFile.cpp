// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/PictureFile.h"

#include "apps/zeltra/plot/SVGToPNG.h"

namespace zeltra::app {
namespace {

bool IsPNG(const std::string& path) {
  return path.size() > 4 && path.compare(path.size() - 4, 4, ".png") == 0;
}

}  // namespace

AResult CheckPicture(const std::string& path) {
  const std::string obstacle = IsPNG(path) ? ObstacleToPNG() : "";
  if (obstacle.empty()) return AResult::Ok();
  return AResult::Fail(path + ": " + obstacle + ", which draws pictures as PNG; name it .svg");
}

AResult FinishPicture(const std::string& path, std::string& picture) {
  if (IsPNG(path)) picture = SVGToPNG(picture);
  return picture.empty() ? AResult::Fail(path + ": the picture cannot be turned into pixels; name it .svg")
                         : AResult::Ok();
}

}  // namespace zeltra::app
