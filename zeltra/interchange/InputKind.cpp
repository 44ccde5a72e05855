// SPDX-License-Identifier: MIT
#include <filesystem>
#include <system_error>

#include "zeltra/interchange/InputKindInternal.h"
#include "zeltra/platform/System.h"

namespace zeltra {
std::string WhyNoInput(const std::string& path) {
  // Names are UTF-8 on every system.
  std::error_code error;
  const std::filesystem::path name(std::u8string(path.begin(), path.end()));
  switch (std::filesystem::status(name, error).type()) {
    case std::filesystem::file_type::regular:
      return {};
    case std::filesystem::file_type::directory:
      return PathExists(path + "/table.dat")
                 ? "a Measurement Set (a folder that holds table.dat); convert it to UV FITS first, with the task "
                   "exportuvfits of CASA"
                 : "a folder, not a file";
    case std::filesystem::file_type::fifo:
    case std::filesystem::file_type::socket:
      return "a pipe, which cannot be read twice; write what comes out of it to a file first";
    case std::filesystem::file_type::block:
    case std::filesystem::file_type::character:
      return "a device, not a file";
    default:
      return {};
  }
}

std::string WhyNoInput(const AInputFile& file) {
  unsigned char start[2] = {};
  const bool isCompressed = file.ReadAt(0, start, sizeof start) == 2 && start[0] == 0x1F && start[1] == 0x8B;
  return isCompressed ? "compressed with gzip; decompress it first, with gunzip" : "";
}

}  // namespace zeltra
