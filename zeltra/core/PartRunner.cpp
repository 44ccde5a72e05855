// SPDX-License-Identifier: MIT
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <exception>
#include <mutex>
#include <new>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "zeltra/core/PartRunnerInternal.h"
#include "zeltra/platform/System.h"

namespace zeltra {
namespace {

constexpr size_t kMostWaiting = 32 << 20;  // bytes
// How soon a cancel flag is noticed while no part delivers anything.
constexpr auto kPatience = std::chrono::milliseconds(50);

AResult Cancelled(const PartJob& job) {
  return AResult::Cancel(job.name + ": cancelled before its end");
}

AResult NoMemory(const PartJob& job) {
  return AResult::Fail(job.name + ": there is not enough memory for this job");
}

// @param worker  created when it runs its first part
AResult RunPart(std::unique_ptr<PartWorker>& worker, const PartJob& job, int part, PartOutput& output) {
  try {
    if (!worker) worker = job.worker();
    return worker->Run(part, output);
  } catch (const std::bad_alloc&) {
    return NoMemory(job);
  } catch (const std::exception& e) {
    return AResult::Fail(job.name + ": " + e.what());
  } catch (...) {
    return AResult::Fail(job.name + ": failed for an unknown reason");
  }
}

// Runs all parts on the caller's thread.
class Alone : public PartOutput {
 public:
  Alone(const PartJob& job, const JobOptions& options) : job_(job), options_(options) {}

  bool Put(std::vector<char> bytes) override {
    return CallHost([&] { taken_ = job_.take(bytes); });
  }
  bool Count(int64 n) override {
    return CallHost([&] { SendProgress(options_.progress, done_ += n, job_.work, lastPercent_); });
  }

  AResult Run() {
    std::unique_ptr<PartWorker> worker;
    for (int part = 0; part < job_.parts; ++part) {
      if (IsCancelled(options_)) return Cancelled(job_);
      AResult result = RunPart(worker, job_, part, *this);
      if (thrown_) std::rethrow_exception(thrown_);
      if (!taken_) return taken_;
      if (IsCancelled(options_)) return Cancelled(job_);
      if (!result) return result;
    }
    return AResult::Ok();
  }

 private:
  const PartJob& job_;
  const JobOptions& options_;
  // Exceptions of the host are rethrown, unlike those of a part. @return false if the job has ended
  template <typename Call>
  bool CallHost(const Call& call) {
    if (thrown_ || !taken_) return false;
    try {
      call();
    } catch (...) {
      thrown_ = std::current_exception();
    }
    return !thrown_ && taken_ && !IsCancelled(options_);
  }

  AResult taken_ = AResult::Ok();
  std::exception_ptr thrown_;
  int64 done_ = 0;
  int lastPercent_ = -1;
};

// Runs parts on threads. Each waits until there is room for what it delivers; the part whose turn it is may always have
// one piece waiting, so that the others cannot hold it up.
class Together {
 public:
  Together(const PartJob& job, const JobOptions& options)
      : job_(job), options_(options), parts_(static_cast<size_t>(job.parts)) {}
  // Ends the threads even if DeliverAll throws, as the host's progress control may make it do.
  ~Together();

  // @return false if the system can start no thread
  bool Start(int threads);
  AResult DeliverAll();

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
  AResult DeliverPart(Part& part);

  const PartJob& job_;
  const JobOptions& options_;
  std::mutex mutex_;  // guards parts_ to next_
  std::condition_variable changed_;
  std::vector<Part> parts_;
  size_t waitingBytes_ = 0;
  int turn_ = 0;  // the part being delivered
  int next_ = 0;  // the part that the next free thread starts
  std::atomic<bool> stopped_ = false;
  std::atomic<int64> done_ = 0;
  int lastPercent_ = -1;
  std::vector<std::thread> workers_;
};

Together::~Together() {
  {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
  }
  changed_.notify_all();
  for (std::thread& worker : workers_) worker.join();
}

bool Together::Start(int threads) {
  workers_.reserve(static_cast<size_t>(threads));
  try {
    for (int i = 0; i < threads; ++i) workers_.emplace_back([this] { Work(); });
  } catch (const std::system_error&) {
    // The threads that did start run all parts.
  }
  return !workers_.empty();
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
    Output output(*this, part);
    AResult result = RunPart(worker, job_, part, output);
    {
      const std::lock_guard lock(mutex_);
      parts_[static_cast<size_t>(part)].result = std::move(result);
    }
    changed_.notify_all();
  }
}

bool Together::Put(int part, std::vector<char> bytes) {
  std::deque<std::vector<char>>& waiting = parts_[static_cast<size_t>(part)].waiting;
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return stopped_ || waitingBytes_ < kMostWaiting || (part == turn_ && waiting.empty()); });
  if (stopped_) return false;
  const size_t size = bytes.size();
  waiting.push_back(std::move(bytes));
  waitingBytes_ += size;
  lock.unlock();
  changed_.notify_all();
  return true;
}

AResult Together::DeliverAll() {
  for (int part = 0; part < job_.parts; ++part) {
    {
      const std::lock_guard lock(mutex_);
      turn_ = part;
    }
    changed_.notify_all();
    if (AResult result = DeliverPart(parts_[static_cast<size_t>(part)]); !result) return result;
  }
  return AResult::Ok();
}

AResult Together::DeliverPart(Part& part) {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait_for(lock, kPatience, [&] { return !part.waiting.empty() || part.result; });
    lock.unlock();
    if (IsCancelled(options_)) return Cancelled(job_);
    SendProgress(options_.progress, done_, job_.work, lastPercent_);
    lock.lock();
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
  try {
    if (threads > 1) {
      Together together(job, options);
      if (together.Start(threads)) return together.DeliverAll();
    }
    return Alone(job, options).Run();
  } catch (const std::bad_alloc&) {
    return NoMemory(job);
  }
}

}  // namespace zeltra
