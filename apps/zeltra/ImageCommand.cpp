// zeltra image: the dirty image of a source.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "apps/zeltra/plot/ImagePicture.h"
#include "zeltra/core/Units.h"
#include "zeltra/core/WriteWholeFile.h"
#include "zeltra/imaging/ImageUVX.h"
#include "zeltra/platform/System.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from, map, fits, png, beam;
  ImageOptions options;
};

// Whether two names are those of one file, which need not be there yet.
bool IsOneName(const std::string& a, const std::string& b) {
  const auto split = [](const std::string& name) {
    const size_t end = name.find_last_of("/\\") + 1;
    return std::pair(end > 0 ? name.substr(0, end) : std::string("."), name.substr(end));
  };
  const auto [folderA, fileA] = split(a);
  const auto [folderB, fileB] = split(b);
  return IsSameFile(a, b) || (fileA == fileB && (folderA == folderB || IsSameFile(folderA, folderB)));
}

AResult CheckOutputs(const Arguments& arguments) {
  std::vector<std::string> names = {arguments.from};
  for (const std::string& name : {arguments.map, arguments.fits, arguments.png, arguments.beam}) {
    if (name.empty()) continue;
    const auto isNamed = [&name](const std::string& other) { return IsOneName(other, name); };
    if (std::any_of(names.begin(), names.end(), isNamed)) return AResult::Fail(name + ": named twice");
    if (!arguments.options.overwrite && PathExists(name)) {
      return AResult::Fail(name + ": exists already and is not replaced unasked");
    }
    names.push_back(name);
  }
  return AResult::Ok();
}

AResult StorePicture(const DirtyImage& image, const std::string& path) {
  const std::string png = ImagePicture(image);
  if (png.empty()) return AResult::Fail(path + ": there is no memory for the picture");
  return WriteWholeFile(path, png, false);
}

// All outputs, or none: each is written beside its place, and put there when all of them are whole.
AResult StoreAll(const Arguments& arguments, const DirtyImage& image) {
  struct Stored {
    std::string name, temporary;
  };
  std::vector<Stored> outputs;
  AResult result = AResult::Ok();
  const auto store = [&](const std::string& name, const auto& write) {
    if (!result || name.empty()) return;
    outputs.push_back({name, TemporaryNameFor(name)});
    const std::string& temporary = outputs.back().temporary;
    result = write(temporary);
    if (!result) result = AResult::Fail(name + result.message().substr(temporary.size()));
  };
  store(arguments.map, [&](const std::string& name) { return StoreMap(image, image.map, name, false); });
  store(arguments.beam, [&](const std::string& name) { return StoreMap(image, image.beam, name, false); });
  store(arguments.fits, [&](const std::string& name) { return StoreFITSImage(image, name, false); });
  store(arguments.png, [&](const std::string& name) { return StorePicture(image, name); });
  for (const Stored& output : outputs) {
    if (result && !MoveIntoPlace(output.temporary, output.name, arguments.options.overwrite)) {
      result = AResult::Fail(output.name + ": cannot be created");
    }
  }
  for (const Stored& output : outputs) RemoveFile(output.temporary);
  return result;
}

std::string Summary(const DirtyImage& image) {
  const int size = image.map.Lines();
  const float* first = image.map.Line(0);
  const float* peak = std::max_element(first, first + static_cast<std::ptrdiff_t>(size) * size);
  const auto place = static_cast<int>(peak - first);
  const double cell = image.cell / kRadiansPerMas;
  char text[400];
  int used = std::snprintf(text, sizeof text,
                           "%lld visibilities of %s, cells of %.4g mas, peak %.4g %s at %.4g mas east, %.4g mas north",
                           static_cast<long long>(image.visibilities), image.stokes.asShortString().c_str(), cell,
                           static_cast<double>(*peak), image.unit.c_str(), (size / 2 - place % size) * cell,
                           (place / size - size / 2) * cell);
  if (image.shape.major > 0) {
    std::snprintf(text + used, sizeof text - static_cast<size_t>(used), ", beam %.4g x %.4g mas at %.1f degrees",
                  image.shape.major / kRadiansPerMas, image.shape.minor / kRadiansPerMas, image.shape.angle);
  }
  return text;
}

AResult MakeImage(Arguments& arguments, Session& session) {
  if (AResult result = CheckOutputs(arguments); !result) return result;
  UVXInput input;
  if (AResult result = input.Open(arguments.from, session); !result) return result;
  DirtyImage image;
  if (AResult result = ImageUVX(input, arguments.options, image); !result) return result;
  if (AResult result = StoreAll(arguments, image); !result) return result;
  if (image.beyond > 0) {
    session.Note(std::to_string(image.beyond) + " visibilities of baselines too long for the cell are left out");
  }
  session.Report(arguments.map + ": " + Summary(image));
  return AResult::Ok();
}

}  // namespace

void AddImageCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(
      app, session, ImageDescription(),
      {arguments->options, {&arguments->from, &arguments->map, &arguments->fits, &arguments->png, &arguments->beam}},
      [arguments, &session] { return MakeImage(*arguments, session); });
}

}  // namespace zeltra::app
