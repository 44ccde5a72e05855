// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/PalettePNG.h"

#include <cstddef>
#include <cstdlib>
#include <memory>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-function"
#define STB_IMAGE_WRITE_IMPLEMENTATION
#define STB_IMAGE_WRITE_STATIC
#define STBI_WRITE_NO_STDIO
#include <stb/stb_image_write.h>
#pragma GCC diagnostic pop

namespace zeltra::app {
namespace {

constexpr int kEffort = 8;  // of the compression; stb accepts 5 and more

void AppendNumber(std::uint32_t number, std::string& bytes) {
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift & 0xFF);
}

// Length, name, contents, and the checksum of name and contents.
void AppendChunk(const std::string& name, const std::string& contents, std::string& png) {
  std::string checked = name + contents;
  AppendNumber(static_cast<std::uint32_t>(contents.size()), png);
  png += checked;
  AppendNumber(stbiw__crc32(reinterpret_cast<unsigned char*>(checked.data()), static_cast<int>(checked.size())), png);
}

// Lines, each preceded by a 0, which means that its pixels are unfiltered.
std::string Compressed(size_t width, const std::vector<std::uint8_t>& pixels) {
  std::string lines;
  for (size_t at = 0; at < pixels.size(); at += width) {
    lines += '\0';
    lines.append(reinterpret_cast<const char*>(&pixels[at]), width);
  }
  int size = 0;
  const std::unique_ptr<unsigned char, void (*)(void*)> bytes(
      stbi_zlib_compress(reinterpret_cast<unsigned char*>(lines.data()), static_cast<int>(lines.size()), &size,
                         kEffort),
      std::free);
  return bytes ? std::string(reinterpret_cast<const char*>(bytes.get()), static_cast<size_t>(size)) : std::string();
}

}  // namespace

std::string PalettePNG(int width, const std::vector<std::uint8_t>& pixels, const Palette& palette) {
  const std::string compressed = Compressed(static_cast<size_t>(width), pixels);
  if (compressed.empty()) return {};
  std::string header, colours, png = "\x89PNG\r\n\x1A\n";
  AppendNumber(static_cast<std::uint32_t>(width), header);
  AppendNumber(static_cast<std::uint32_t>(pixels.size()) / static_cast<std::uint32_t>(width), header);
  header.append({8, 3, 0, 0, 0});  // bits per pixel, palette; compression, filter and interlace methods
  for (const Colour& colour : palette) {
    for (const std::uint8_t part : {colour.red, colour.green, colour.blue}) colours += static_cast<char>(part);
  }
  AppendChunk("IHDR", header, png);
  AppendChunk("PLTE", colours, png);
  AppendChunk("IDAT", compressed, png);
  AppendChunk("IEND", "", png);
  return png;
}

}  // namespace zeltra::app
