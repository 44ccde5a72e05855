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
  std::string stokes;
  double cell = 0;  // milliarcseconds
  bool force = false;
  ImageOptions options;
};

std::string Summary(const DirtyImage& image) {
  const ImagePeak peak = FindPeak(image);
  char text[400];
  int used = std::snprintf(
      text, sizeof text, "%lld visibilities of %s, cells of %.4g mas, peak %.4g %s at %.4g mas east, %.4g mas north",
      static_cast<long long>(image.visibilities), image.stokes.asShortString().c_str(), image.cell / kRadiansPerMas,
      static_cast<double>(peak.value), image.unit.c_str(), peak.east / kRadiansPerMas, peak.north / kRadiansPerMas);
  if (image.shape.major > 0) {
    std::snprintf(text + used, sizeof text - static_cast<size_t>(used), ", beam %.4g x %.4g mas at %.1f degrees",
                  image.shape.major / kRadiansPerMas, image.shape.minor / kRadiansPerMas, image.shape.angle);
  }
  return text;
}

AResult MakeImage(Arguments& arguments, Session& session) {
  ImageFiles files;
  if (AResult result = files.Create(arguments.names, arguments.from, arguments.force); !result) return result;
  ImageOptions& options = arguments.options;
  static_cast<JobOptions&>(options) = session.Options(arguments.force);
  options.cell = arguments.cell * kRadiansPerMas;
  if (!arguments.stokes.empty()) options.selection.stokes = {arguments.stokes};
  UVXInput input;
  if (AResult result = input.Open(arguments.from, session); !result) return result;
  DirtyImage image;
  if (AResult result = ImageUVX(input, options, image); !result) return result;
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
  ImageOptions& options = arguments->options;
  CLI::App& command = *app.add_subcommand("image", "Make the dirty image of a source, a map file");
  command.add_option("FILE", arguments->from, "UVX, or UV FITS, which is imported first")->required();
  command.add_option("OUT.map", arguments->names.map, "the map file to make")->required();
  command.add_flag("-f,--force", arguments->force, "replace outputs that exist");
  command.add_option("--source", options.selection.source, "number or name of the source, where there are several")
      ->type_name("N|NAME");
  command.add_option("--stokes", arguments->stokes, "polarisation as in I or RR; I unless the file has none");
  command.add_option("--size", options.size, "pixels a line, and lines")->capture_default_str();
  command.add_option("--cell", arguments->cell, "size of a pixel in mas; a fifth of the narrowest fringe if not given")
      ->check(CLI::PositiveNumber);
  command
      .add_option_function<std::string>(
          "--weight",
          [&options](const std::string& name) {
            options.weighting = name == "uniform" ? ImageOptions::Uniform : ImageOptions::Natural;
          },
          "natural: least noise, or uniform: narrowest beam")
      ->check(CLI::IsMember({"natural", "uniform"}))
      ->default_str("natural");
  command.add_option("--fits", arguments->names.fits, "make a FITS image too");
  command.add_option("--png", arguments->names.picture, "make a picture too");
  command.add_option("--beam", arguments->names.beam, "make a map file of the dirty beam too");
  session.OnRun(command, [arguments, &session] { return MakeImage(*arguments, session); });
}

}  // namespace zeltra::app
