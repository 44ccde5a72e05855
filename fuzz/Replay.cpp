// Replays files, and all files of folders, through a fuzz target that is built without an engine.
// SPDX-License-Identifier: MIT
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv) {
  int count = 0;
  const auto replay = [&count](const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    std::printf("%s\n", path.filename().string().c_str());
    std::fflush(stdout);  // the last name is that of the file at fault
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    ++count;
  };
  for (int i = 1; i < argc; ++i) {
    if (!std::filesystem::is_directory(argv[i]))
      replay(argv[i]);
    else
      for (const auto& entry : std::filesystem::directory_iterator(argv[i])) replay(entry.path());
  }
  return count > 0 ? 0 : 1;
}
