// The flag with which another thread stops a run.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_READERS_CANCELFLAGINTERNAL_H_
#define ZELTRA_READERS_CANCELFLAGINTERNAL_H_

#include <atomic>

namespace zeltra {

/// The value of a flag that another thread may be setting; 0 without a flag.
inline int CancelFlag(int* flag) {
  return flag ? std::atomic_ref<int>(*flag).load(std::memory_order_relaxed) : 0;
}

}  // namespace zeltra

#endif  // ZELTRA_READERS_CANCELFLAGINTERNAL_H_
