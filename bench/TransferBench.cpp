// Times import and export of UV FITS in MB/s against `cp` of the same file, which does not wait for the disk:
//   transfer_bench [FOLDER]
// SPDX-License-Identifier: MIT
#include <filesystem>

#include "bench/BenchSupport.h"
#include "zeltra/interchange/ExportUVFITS.h"
#include "zeltra/interchange/ImportUVFITS.h"
#include "zeltra/ops/SimulateUVX.h"

namespace {

using namespace zeltra;

void Check(const AResult& result) {
  if (result) return;
  std::fprintf(stderr, "%s\n", result.message().c_str());
  std::exit(1);
}

void Measure(const std::string& folder, const std::string& title, double targetBytes, int ifs, int channels) {
  const std::string source = folder + "/bench.uvfits", copy = folder + "/bench.copy";
  const std::string uvx = folder + "/bench.uvx", back = folder + "/bench.back";
  SimulateOptions simulation;
  simulation.overwrite = true;
  simulation.sync = false;
  simulation.ifs = ifs;
  simulation.channels = channels;
  simulation.integration = 1;
  const double recordBytes = 26 + 12.0 * 4 * ifs * channels;
  const double baselines = simulation.antennas * (simulation.antennas - 1) / 2.0;
  simulation.minutes = targetBytes / recordBytes / baselines * simulation.integration / 60;
  Check(SimulateUVX(uvx, simulation));
  JobOptions options;
  options.overwrite = true;
  JobOptions synced = options;
  options.sync = false;
  Check(ExportUVFITS(uvx, source, options));
  const double bytes = static_cast<double>(std::filesystem::file_size(source));
  bench::Compare(title, bytes, 7,
                 {{"cp",
                   [&] {
                     std::filesystem::remove(copy);
                     bench::Shell("cp '" + source + "' '" + copy + "'");
                   }},
                  {"import",
                   [&] {
                     std::filesystem::remove(uvx);
                     Check(ImportUVFITS(source, uvx, options, nullptr));
                   }},
                  {"export", [&] {
                     std::filesystem::remove(back);
                     Check(ExportUVFITS(uvx, back, options));
                   }}});
  // Run separately, since writing to the disk goes on in the background and would slow the others down.
  bench::Compare("  waiting for the disk", bytes, 3,
                 {{"import",
                   [&] {
                     std::filesystem::remove(uvx);
                     Check(ImportUVFITS(source, uvx, options, nullptr));
                   }},
                  {"import, synced", [&] {
                     std::filesystem::remove(uvx);
                     Check(ImportUVFITS(source, uvx, synced, nullptr));
                   }}});
  for (const std::string& path : {source, copy, uvx, back}) std::filesystem::remove(path);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string folder = argc > 1 ? argv[1] : ".";
  bench::TouchMemory(6);
  Measure(folder, "large records: 4 IFs x 16 channels x 4 polarisations", 1e9, 4, 16);
  Measure(folder, "small records: 4 polarisations, 1 channel", 1e9, 1, 1);
  return 0;
}
