// The flag by which a running job is asked to stop.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_CANCELFLAG_H_
#define ZELTRA_CORE_CANCELFLAG_H_

#include <atomic>

namespace zeltra {

/// A value other than 0 asks a job to stop. Other threads and signal handlers may set it.
using ACancelFlag = std::atomic<int>;
static_assert(ACancelFlag::is_always_lock_free, "a signal handler must be able to set the flag");

/// Whether a flag is set; a job without a flag runs to its end.
inline bool IsSet(const ACancelFlag* flag) {
  return flag && flag->load(std::memory_order_relaxed) != 0;
}

/// The value of a plain variable that a host gave as a flag, and that another thread may be setting; 0 without one.
template <typename T>
T CancelFlag(T* flag) {
  return flag ? std::atomic_ref<T>(*flag).load(std::memory_order_relaxed) : T();
}

}  // namespace zeltra

#endif  // ZELTRA_CORE_CANCELFLAG_H_
