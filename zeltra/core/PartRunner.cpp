// SPDX-License-Identifier: MIT
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <new>
#include <optional>
#include <thread>
#include <utility>

#include "zeltra/core/PartRunnerInternal.h"
#include "zeltra/platform/System.h"

namespace zeltra {
namespace {

constexpr size_t kMostWaiting = 32 << 20;  // bytes
// How soon a cancel flag is seen while the parts hand nothing on.
constexpr auto kPatience = std::chrono::milliseconds(50);

AResult Cancelled(const PartJob& job) {
  return AResult::Cancel(job.name + ": cancelled before its end");
}

AResult RunPart(PartWorker& worker, const PartJob& job, int part, PartOutput& output) {
  try {
    return worker.Run(part, output);
  } catch (const std::bad_alloc&) {
    return AResult::Fail(job.name + ": there is not enough memory for this job");
  }
}

// All parts on the caller's thread.
class Alone : public PartOutput {
 public:
  Alone(const PartJob& job, const JobOptions& options) : job_(job), options_(options) {}

  bool Put(std::vector<char> bytes) override {
    if (taken_) taken_ = job_.take(bytes);
    return taken_ && !IsCancelled(options_);
  }
  bool Count(int64 n) override {
    SendProgress(options_.progress, done_ += n, job_.work, lastPercent_);
    return taken_ && !IsCancelled(options_);
  }

  AResult Run() {
    const std::unique_ptr<PartWorker> worker = job_.worker();
    for (int part = 0; part < job_.parts; ++part) {
      if (IsCancelled(options_)) return Cancelled(job_);
      AResult result = RunPart(*worker, job_, part, *this);
      if (!taken_) return taken_;
      if (IsCancelled(options_)) return Cancelled(job_);
      if (!result) return result;
    }
    return AResult::Ok();
  }

 private:
  const PartJob& job_;
  const JobOptions& options_;
  AResult taken_ = AResult::Ok();
  int64 done_ = 0;
  int lastPercent_ = -1;
};

// Parts on threads. Each waits to hand on until there is room, but the part whose turn it is never waits.
class Together {
 public:
  Together(const PartJob& job, const JobOptions& options)
      : job_(job), options_(options), parts_(static_cast<size_t>(job.parts)) {}

  AResult Run(int threads);

 private:
  struct Part {
    std::deque<std::vector<char>> waiting;
    std::optional<AResult> result;  // once the part has ended
  };

  class Output : public PartOutput {
   public:
    Output(Together& all, int part) : all_(all), part_(part) {}
    bool Put(std::vector<char> bytes) override { return all_.Put(part_, std::move(bytes)); }
    bool Count(int64 n) override {
      all_.done_ += n;
      return !all_.stopped_ && !IsCancelled(all_.options_);
    }

   private:
    Together& all_;
    const int part_;
  };

  void Work();
  bool Put(int part, std::vector<char> bytes);
  AResult TakeAll();
  AResult TakePart(Part& part);

  const PartJob& job_;
  const JobOptions& options_;
  std::mutex mutex_;  // guards the four that follow
  std::condition_variable changed_;
  std::vector<Part> parts_;
  size_t waitingBytes_ = 0;
  int turn_ = 0;  // the part that is being taken
  int next_ = 0;  // the part that the next free thread begins
  std::atomic<bool> stopped_ = false;
  std::atomic<int64> done_ = 0;
  int lastPercent_ = -1;
};

AResult Together::Run(int threads) {
  std::vector<std::thread> workers;
  for (int i = 0; i < threads; ++i) workers.emplace_back([this] { Work(); });
  AResult result = TakeAll();
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
  }
  changed_.notify_all();
  for (std::thread& worker : workers) worker.join();
  return result;
}

void Together::Work() {
  std::unique_ptr<PartWorker> worker;
  for (;;) {
    int part = 0;
    {
      const std::lock_guard lock(mutex_);
      if (stopped_ || next_ == job_.parts) return;
      part = next_++;
    }
    if (!worker) worker = job_.worker();
    Output output(*this, part);
    AResult result = RunPart(*worker, job_, part, output);
    {
      const std::lock_guard lock(mutex_);
      parts_[static_cast<size_t>(part)].result = std::move(result);
    }
    changed_.notify_all();
  }
}

bool Together::Put(int part, std::vector<char> bytes) {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return stopped_ || part == turn_ || waitingBytes_ < kMostWaiting; });
  if (stopped_) return false;
  waitingBytes_ += bytes.size();
  parts_[static_cast<size_t>(part)].waiting.push_back(std::move(bytes));
  lock.unlock();
  changed_.notify_all();
  return true;
}

AResult Together::TakeAll() {
  for (int part = 0; part < job_.parts; ++part) {
    {
      const std::lock_guard lock(mutex_);
      turn_ = part;
    }
    changed_.notify_all();
    if (AResult result = TakePart(parts_[static_cast<size_t>(part)]); !result) return result;
  }
  return AResult::Ok();
}

AResult Together::TakePart(Part& part) {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait_for(lock, kPatience, [&] { return !part.waiting.empty() || part.result; });
    if (IsCancelled(options_)) return Cancelled(job_);
    SendProgress(options_.progress, done_, job_.work, lastPercent_);
    if (!part.waiting.empty()) {
      const std::vector<char> bytes = std::move(part.waiting.front());
      part.waiting.pop_front();
      waitingBytes_ -= bytes.size();
      lock.unlock();
      changed_.notify_all();
      if (AResult result = job_.take(bytes); !result) return result;
      lock.lock();
    } else if (part.result) {
      return *part.result;
    }
  }
}

}  // namespace

int ThreadsFor(int parts, const JobOptions& options) {
  return std::clamp(options.threads > 0 ? options.threads : ProcessorCount(), 1, std::max(parts, 1));
}

AResult RunParts(const PartJob& job, const JobOptions& options) {
  const int threads = ThreadsFor(job.parts, options);
  SendProgressRange(options.progress);
  return threads == 1 ? Alone(job, options).Run() : Together(job, options).Run(threads);
}

}  // namespace zeltra
