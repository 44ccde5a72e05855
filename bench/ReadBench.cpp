// Reading every record of a UVX file beside `cat` of it: read_bench [FOLDER]
// SPDX-License-Identifier: MIT
#include <filesystem>

#include "bench/BenchSupport.h"
#include "zeltra/readers/AUVXFastRead.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace {

using namespace zeltra;

void Create(const std::string& path, int channels) {
  AUVXFile uvx;
  AUVXHeader header;
  header.IFs = 1;
  header.channels = channels;
  header.stokes.SetCount(4);
  if (!uvx.OpenBuff(path.c_str(), 1, 1 << 20) || !uvx.Write(header)) std::exit(1);
  const int records = 1'000'000'000 / uvx.recSize();
  AUVXVisibility vis(uvx);
  vis.ZeroInit();
  AUVXGroup group;
  uvx.SeekUVGroup(0);
  for (int i = 0; i < records; ++i) {
    if (!group.store(uvx) || !vis.store(uvx)) std::exit(1);
  }
  header.info.count = records;
  uvx.Write(header);
}

void ReadAll(const std::string& path) {
  AUVXFile uvx;
  if (!uvx.Open(path.c_str(), 0)) std::exit(1);
  AUVXFastRead reader(&uvx, nullptr);
  AUVXGroup group;
  AUVXVisibility vis(uvx);
  int index = 0;
  while (reader.GetUVGVis(group, vis, index)) {
  }
  if (index + 1 != uvx.count()) std::exit(1);
}

void Measure(const std::string& folder, const std::string& title, int channels) {
  const std::string path = folder + "/bench.uvx";
  Create(path, channels);
  bench::Compare(
      title, static_cast<double>(std::filesystem::file_size(path)), 7,
      {{"cat", [&] { bench::Shell("cat '" + path + "' > /dev/null"); }}, {"AUVXFastRead", [&] { ReadAll(path); }}});
  std::filesystem::remove(path);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string folder = argc > 1 ? argv[1] : ".";
  Measure(folder, "large records: 63 channels x 4 polarisations, 3050 bytes", 63);
  Measure(folder, "small records: 1 channel x 4 polarisations, 74 bytes", 1);
  return 0;
}
