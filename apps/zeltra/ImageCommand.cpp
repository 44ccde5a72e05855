// zeltra image: the dirty image of a source.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "apps/zeltra/plot/ImagePicture.h"
#include "zeltra/core/Units.h"
#include "zeltra/imaging/ImageFiles.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  ImageNames names;
  ImageOptions options;
};

std::string Summary(const DirtyImage& image) {
  const ImagePeak peak = FindPeak(image);
  const std::string unit = image.unit.empty() ? "" : " " + image.unit;
  char text[400];
  int used = std::snprintf(
      text, sizeof text, "%lld visibilities of %s, cells of %.4g mas, peak %.4g%s at %.4g mas east, %.4g mas north",
      static_cast<long long>(image.visibilities), image.polarisation.c_str(), image.cell / kRadiansPerMas,
      static_cast<double>(peak.value), unit.c_str(), peak.east / kRadiansPerMas, peak.north / kRadiansPerMas);
  if (image.shape.major > 0) {
    std::snprintf(text + used, sizeof text - static_cast<size_t>(used), ", beam %.4g x %.4g mas at %.1f degrees",
                  image.shape.major / kRadiansPerMas, image.shape.minor / kRadiansPerMas, image.shape.angle);
  }
  return text;
}

AResult MakeImage(Arguments& arguments, Session& session) {
  ImageFiles files;
  if (AResult result = files.Create(arguments.names, arguments.from, arguments.options); !result) return result;
  UVXInput input;
  if (AResult result = input.Open(arguments.from, arguments.options.selection, session); !result) return result;
  DirtyImage image;
  if (AResult result = ImageUVX(input, arguments.options, image); !result) return result;
  const std::string& png = arguments.names.picture;
  const std::string picture = png.empty() ? "" : ImagePicture(image);
  if (!png.empty() && picture.empty()) return AResult::Fail(png + ": there is no memory for the picture");
  if (AResult result = files.Store(image, picture); !result) return result;
  if (image.beyond > 0) {
    session.Note(std::to_string(image.beyond) + " visibilities of baselines too long for the cell are left out");
  }
  session.Report(arguments.names.map + ": " + Summary(image));
  return AResult::Ok();
}

}  // namespace

void AddImageCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  ImageNames& names = arguments->names;
  AddCommand(app, session, ImageDescription(),
             {arguments->options, {&arguments->from, &names.map, &names.fits, &names.picture, &names.beam}},
             [arguments, &session] { return MakeImage(*arguments, session); });
}

}  // namespace zeltra::app
