// Size of the pieces in which files are moved.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_BLOCKBYTESINTERNAL_H_
#define ZELTRA_CORE_BLOCKBYTESINTERNAL_H_

namespace zeltra {

/// Bytes moved at a time by the whole-file jobs: large enough to make the cost of system calls negligible, small enough
/// to stay in the processor's outer cache while they are read, converted and written.
inline constexpr int kBlockBytes = 1 << 20;

}  // namespace zeltra

#endif  // ZELTRA_CORE_BLOCKBYTESINTERNAL_H_
