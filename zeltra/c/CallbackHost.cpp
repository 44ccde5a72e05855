// SPDX-License-Identifier: MIT
#include "zeltra/c/CallbackHostInternal.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <thread>

namespace zeltra {
namespace {

using Clock = std::chrono::steady_clock;

// Somewhat less than the 50 ms that are promised.
constexpr auto kPatience = std::chrono::milliseconds(30);

}  // namespace

AResult CallbackHost::Run(JobOptions& options, const std::function<AResult()>& job) {
  options.progress = this;
  options.cancel = &cancel_;
  AResult result = AResult::Ok();
  std::exception_ptr failure;
  std::thread worker([&] {
    try {
      result = job();
    } catch (...) {
      failure = std::current_exception();
    }
    const std::lock_guard lock(mutex_);
    isEnded_ = true;
    hasNews_.notify_one();
  });
  Serve();
  worker.join();
  if (failure) std::rethrow_exception(failure);
  return result;
}

void CallbackHost::Note(const std::string& sentence) {
  if (!callbacks_.note) return;
  const std::string clean = CleanText(sentence);
  HandOver([&] { return callbacks_.note(callbacks_.user, clean.c_str()), true; });
}

void CallbackHost::Report(const std::string& sentence) {
  if (!callbacks_.report) return;
  const std::string clean = CleanText(sentence);
  HandOver([&] { return callbacks_.report(callbacks_.user, clean.c_str()), true; });
}

ATableSink& CallbackHost::BeginTable(std::vector<AJobColumn> columns) {
  return table_.emplace(std::move(columns), [this](const zeltra_column* const* views, size_t count, size_t rows) {
    if (!callbacks_.block) return !IsSet(&cancel_);
    return HandOver([&] { return callbacks_.block(callbacks_.user, views, count, rows) == 0; });
  });
}

AResult CallbackHost::Text(std::string_view text) {
  if (!callbacks_.text) return AResult::Ok();
  const std::string whole(text);
  const bool goesOn = HandOver([&] { return callbacks_.text(callbacks_.user, whole.c_str(), whole.size()) == 0; });
  return goesOn ? AResult::Ok() : AResult::Cancel("cancelled by the program that runs the job");
}

AResult CallbackHost::Run(const std::string& task, int parts) {
  const bool isDone = HandOver([&] { return callbacks_.parts(callbacks_.user, task.c_str(), parts) == 0; });
  return isDone ? AResult::Ok() : AResult::Cancel("cancelled by the program that runs its parts");
}

std::intptr_t CallbackHost::SendMessage(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) {
  const std::lock_guard lock(mutex_);
  if (message == kProgressText) {
    step_ = CleanText(reinterpret_cast<const char*>(lParam));
    percent_ = 0;
  } else if (message == kProgressPosition) {
    percent_ = static_cast<int>(std::min<std::uintptr_t>(wParam, 100));
  } else {
    return 0;
  }
  hasMoved_ = true;
  hasNews_.notify_one();
  return 0;
}

// Have the host's thread make a call, and wait for it. @return false if the job is to end
bool CallbackHost::HandOver(const std::function<bool()>& call) {
  std::unique_lock lock(mutex_);
  call_ = &call;
  hasNews_.notify_one();
  isServed_.wait(lock, [this] { return !call_; });
  return answer_ && !IsSet(&cancel_);
}

// On the host's thread: make the calls that the job asks for, and report its progress, until it ends.
void CallbackHost::Serve() {
  std::unique_lock lock(mutex_);
  TellProgress(lock);  // once at least, however short the job is
  Clock::time_point next = Clock::now() + kPatience;
  while (!isEnded_) {
    hasNews_.wait_until(lock, next, [this] { return call_ || hasMoved_ || isEnded_; });
    if (call_) ServeCall(lock);
    if (isEnded_ || (!hasMoved_ && Clock::now() < next)) continue;
    hasMoved_ = false;
    TellProgress(lock);
    next = Clock::now() + kPatience;
  }
}

void CallbackHost::ServeCall(std::unique_lock<std::mutex>& lock) {
  lock.unlock();
  bool goesOn = false;
  try {
    goesOn = (*call_)();
  } catch (...) {
    // An exception thrown by a host in C++ must not pass through here while the job runs; it ends the job instead.
  }
  lock.lock();
  answer_ = goesOn;
  if (!goesOn) cancel_ = 1;
  call_ = nullptr;
  isServed_.notify_one();
}

void CallbackHost::TellProgress(std::unique_lock<std::mutex>& lock) {
  if (!callbacks_.progress) return;
  bool goesOn = false;
  try {
    const std::string step = step_;
    const int percent = percent_;
    lock.unlock();
    goesOn = callbacks_.progress(callbacks_.user, step.c_str(), percent) == 0;
  } catch (...) {
    // As above; or there is no memory for the step.
  }
  if (!lock.owns_lock()) lock.lock();
  if (!goesOn) cancel_ = 1;
}

}  // namespace zeltra
