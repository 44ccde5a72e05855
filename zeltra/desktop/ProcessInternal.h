// What the desktop helpers need to know about the running process. Each system has its own source.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_DESKTOP_PROCESSINTERNAL_H_
#define ZELTRA_DESKTOP_PROCESSINTERNAL_H_

#include <cstdint>
#include <ctime>

namespace zeltra::desktop {

std::tm LocalTime();

/// Number of the thread that runs `main`, or, if the system does not say, of the thread that loaded the library.
std::uint32_t MainThread();

/// Milliseconds since the system started, modulo 2^32.
std::uint32_t Ticks();

}  // namespace zeltra::desktop

#endif  // ZELTRA_DESKTOP_PROCESSINTERNAL_H_
