// Times whole-file jobs and a yardstick alternately in one run.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_BENCH_BENCHSUPPORT_H_
#define ZELTRA_BENCH_BENCHSUPPORT_H_

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace zeltra::bench {

/// First access to memory is expensive on virtual machines: make the system hand out some GB before anything is timed.
inline void TouchMemory(size_t gigabytes) {
  const size_t size = gigabytes << 30;
  std::unique_ptr<char[]> memory(new char[size]);
  for (size_t i = 0; i < size; i += 4096) memory[i] = 1;
  // Read back so that the compiler keeps the loop.
  if (memory[size / 2] > 1) std::abort();
}

inline double Seconds(const std::function<void()>& job) {
  const auto start = std::chrono::steady_clock::now();
  job();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

inline double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

struct Contestant {
  std::string name;
  std::function<void()> job;
  std::vector<double> seconds = {};
};

/// Run the contestants in turn, `rounds` times after one round for warming up, and print the median of each with its
/// ratio to the first.
inline void Compare(const std::string& title, double bytes, int rounds, std::vector<Contestant> contestants) {
  for (int round = -1; round < rounds; ++round) {
    for (Contestant& c : contestants) {
      const double seconds = Seconds(c.job);
      if (round >= 0) c.seconds.push_back(seconds);
    }
  }
  std::printf("%s (%.0f MB)\n", title.c_str(), bytes / 1e6);
  const double yardstick = Median(contestants[0].seconds);
  for (const Contestant& c : contestants) {
    const double median = Median(c.seconds);
    std::printf("  %-24s %8.3f s %8.0f MB/s   %.2f x\n", c.name.c_str(), median, bytes / median / 1e6,
                median / yardstick);
  }
  std::fflush(stdout);
}

inline void Shell(const std::string& command) {
  if (std::system(command.c_str()) != 0) {
    std::fprintf(stderr, "failed: %s\n", command.c_str());
    std::exit(1);
  }
}

}  // namespace zeltra::bench

#endif  // ZELTRA_BENCH_BENCHSUPPORT_H_
