// Times reading every record of a UVX file against `cat` of it, and averages and closure phases against a numpy program
// that forms them: read_bench [FOLDER]
// SPDX-License-Identifier: MIT
#include <filesystem>

#include "bench/BenchSupport.h"
#include "zeltra/ops/AverageUVX.h"
#include "zeltra/ops/ClosurePhases.h"
#include "zeltra/ops/SimulateUVX.h"
#include "zeltra/readers/AUVXFastRead.h"
#include "zeltra/readers/AUVXRead.h"

namespace {

using namespace zeltra;

constexpr double kFileBytes = 1e9;

void Check(const AResult& result) {
  if (result) return;
  std::fprintf(stderr, "%s\n", result.message().c_str());
  std::exit(1);
}

double Simulate(const std::string& path, int ifs, int channels) {
  SimulateOptions options;
  options.overwrite = true;
  options.sync = false;
  options.ifs = ifs;
  options.channels = channels;
  options.integration = 1;
  const double recordBytes = AUVXGroup::kBytes + 12.0 * 4 * ifs * channels;
  // A tenth of the time is spent slewing between the sources.
  options.minutes = kFileBytes / recordBytes / 45 / 60 / 0.9;
  Check(SimulateUVX(path, options));
  return static_cast<double>(std::filesystem::file_size(path));
}

template <typename Reader>
int CountRecords(Reader& reader, AUVXFile& uvx) {
  AUVXGroup group;
  AUVXVisibility vis(uvx);
  int index = 0, count = 0;
  while (reader.GetUVGVis(group, vis, index)) ++count;
  return count;
}

void ReadAll(const std::string& path) {
  AUVXFile uvx;
  if (!uvx.Open(path.c_str(), 0)) std::exit(1);
  AUVXFastRead reader(&uvx, nullptr);
  if (CountRecords(reader, uvx) != uvx.count()) std::exit(1);
}

// Both sources, one after the other, through a buffer.
void ReadSources(const std::string& path) {
  AUVXFile uvx;
  if (!uvx.OpenBuff(path.c_str(), 0, 1 << 18)) std::exit(1);
  int count = 0;
  for (const int source : {1, 2}) {
    AUVXRead reader(&uvx, source, nullptr);
    count += CountRecords(reader, uvx);
  }
  if (count != uvx.count()) std::exit(1);
}

void AverageAll(const std::string& path, bool complexMean, int threads) {
  AUVXInput input;
  Check(input.Open(path));
  AverageOptions options;
  options.interval = 60;
  options.complexMean = complexMean;
  options.threads = threads;
  Check(Average(input, options, [](AUVXGroup&, AUVXVisibility&) { return AResult::Ok(); }));
}

void CloseAll(const std::string& path, int threads) {
  AUVXInput input;
  Check(input.Open(path));
  ClosureOptions options;
  options.interval = 60;
  options.threads = threads;
  Check(FormClosures(input, options, [](const AClosure&) { return AResult::Ok(); }));
}

void Measure(const std::string& folder, const std::string& title, int ifs, int channels) {
  const std::string path = folder + "/bench.uvx";
  const double bytes = Simulate(path, ifs, channels);
  const std::string python = "/usr/bin/python3 " ZELTRA_BENCH_FOLDER "/numpy_averages.py ";
  bench::Compare(title, bytes, 5,
                 {{"cat", [&] { bench::Shell("cat '" + path + "' > /dev/null"); }},
                  {"AUVXFastRead", [&] { ReadAll(path); }},
                  {"AUVXRead", [&] { ReadSources(path); }},
                  {"averages, 2 threads", [&] { AverageAll(path, true, 2); }},
                  {"averages, 1 thread", [&] { AverageAll(path, true, 1); }},
                  {"amphase, 2 threads", [&] { AverageAll(path, false, 2); }},
                  {"amphase, 1 thread", [&] { AverageAll(path, false, 1); }},
                  {"closures, 2 threads", [&] { CloseAll(path, 2); }},
                  {"closures, 1 thread", [&] { CloseAll(path, 1); }}});
  bench::Compare("  beside numpy, averages and closure phases", bytes, 3,
                 {{"numpy averages", [&] { bench::Shell(python + "average '" + path + "' 60 > /dev/null"); }},
                  {"averages", [&] { AverageAll(path, true, 0); }},
                  {"numpy closures", [&] { bench::Shell(python + "closure '" + path + "' 60 > /dev/null"); }},
                  {"closures", [&] { CloseAll(path, 0); }}});
  std::filesystem::remove(path);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string folder = argc > 1 ? argv[1] : ".";
  bench::TouchMemory(6);
  Measure(folder, "large records: 4 IFs x 16 channels x 4 polarisations, 3098 bytes", 4, 16);
  Measure(folder, "small records: 1 channel x 4 polarisations, 74 bytes", 1, 1);
  return 0;
}
