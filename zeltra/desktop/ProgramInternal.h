// Starts another program and waits for its output.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_DESKTOP_PROGRAMINTERNAL_H_
#define ZELTRA_DESKTOP_PROGRAMINTERNAL_H_

#include <string>
#include <vector>

namespace zeltra::desktop {

struct ProgramResult {
  bool started = false;  ///< false if no such program is installed
  bool success = false;  ///< whether it ended with status 0
  std::string output;    ///< what it printed on standard output, up to 64 KiB
};

/// Run a program from the search path, without a shell. Its standard input is empty and its standard error is
/// discarded.
/// @param command  name of the program and its arguments
ProgramResult RunProgram(const std::vector<std::string>& command);

}  // namespace zeltra::desktop

#endif  // ZELTRA_DESKTOP_PROGRAMINTERNAL_H_
