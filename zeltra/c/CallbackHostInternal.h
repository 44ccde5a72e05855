// A job on a thread of its own, and its host on another.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_C_CALLBACKHOSTINTERNAL_H_
#define ZELTRA_C_CALLBACKHOSTINTERNAL_H_

#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "zeltra/c/BlockTableInternal.h"
#include "zeltra/c/zeltra_c.h"
#include "zeltra/core/CancelFlag.h"
#include "zeltra/imaging/ImageWorkers.h"
#include "zeltra/jobs/JobHost.h"
#include "zeltra/platform/ProgressCtrl.h"

namespace zeltra {

/// Passes on what a job says to the callbacks of a host.
///
/// The job runs on a thread of its own, so that the host's thread, on which all callbacks are called, can ask the host
/// every 50 ms whether to go on, even while the job sorts or waits for the disk. Whatever is delivered is handed over:
/// the job waits until the callback has returned.
class CallbackHost : public AJobHost, private AImageWorkers, private CProgressCtrl {
 public:
  /// @param callbacks  must outlive the object
  explicit CallbackHost(const zeltra_callbacks& callbacks)
      : callbacks_(callbacks), folder_(callbacks.folder ? callbacks.folder : "") {}

  /// Run a job to its end, with the progress and the cancel flag of this host; throws what the job throws.
  AResult Run(JobOptions& options, const std::function<AResult()>& job);

  void Note(const std::string& sentence) override;
  void Report(const std::string& sentence) override;
  ATableSink& BeginTable(std::vector<AJobColumn> columns) override;
  AResult Text(std::string_view text) override;
  AImageWorkers* workers() override { return callbacks_.parts && !folder_.empty() ? this : nullptr; }

 private:
  const std::string& folder() const override { return folder_; }
  AResult Run(const std::string& task, int parts) override;
  std::intptr_t SendMessage(unsigned message, std::uintptr_t wParam, std::intptr_t lParam) override;
  bool HandOver(const std::function<bool()>& call);
  void Serve();
  void ServeCall(std::unique_lock<std::mutex>& lock);
  void TellProgress(std::unique_lock<std::mutex>& lock);

  const zeltra_callbacks& callbacks_;
  const std::string folder_;
  ACancelFlag cancel_ = 0;
  std::optional<BlockTable> table_;

  std::mutex mutex_;  // guards all below
  std::condition_variable hasNews_, isServed_;
  const std::function<bool()>* call_ = nullptr;  // what the job waits for
  bool answer_ = true;
  bool isEnded_ = false;
  bool hasMoved_ = false;
  std::string step_;
  int percent_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_C_CALLBACKHOSTINTERNAL_H_
