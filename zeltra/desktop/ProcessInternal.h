// What the desktop helpers ask about the running process. One source per system implements it.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_DESKTOP_PROCESSINTERNAL_H_
#define ZELTRA_DESKTOP_PROCESSINTERNAL_H_

#include <cstdint>
#include <ctime>

namespace zeltra::desktop {

std::tm LocalTime();

/// Number of the thread that runs `main`: of the thread that loaded the library, where the system does not tell.
std::uint32_t MainThread();

/// Milliseconds since the system started, modulo 2^32.
std::uint32_t Ticks();

}  // namespace zeltra::desktop

#endif  // ZELTRA_DESKTOP_PROCESSINTERNAL_H_
