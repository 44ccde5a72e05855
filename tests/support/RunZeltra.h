// Runs the zeltra command as a person would.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_TESTS_SUPPORT_RUNZELTRA_H_
#define ZELTRA_TESTS_SUPPORT_RUNZELTRA_H_

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/TempFile.h"

#ifndef _WIN32
#include <sys/wait.h>
#endif

namespace zeltra::test {

struct Finished {
  int code;
  std::string out;
  std::string err;  ///< under Wine also what Wine itself prints
};

/// Run the command to its end, with its output caught. Arguments contain no quotes.
inline Finished RunZeltra(const std::vector<std::string>& arguments) {
  const TempFile out("out"), err("err");
  std::string line = "\"" ZELTRA_COMMAND "\"";
  for (const std::string& argument : arguments) line += " \"" + argument + "\"";
  line += " > \"" + out.path() + "\" 2> \"" + err.path() + "\"";
#ifdef _WIN32
  // The command processor removes the outermost quotes. Names are UTF-8 here, but the C library would take narrow text
  // for the system's code page.
  const std::string quoted = "\"" + line + "\"";
  int code = _wsystem(std::filesystem::path(std::u8string(quoted.begin(), quoted.end())).wstring().c_str());
#else
  int code = std::system(line.c_str());
  code = WIFEXITED(code) ? WEXITSTATUS(code) : -1;
#endif
  return {code, out.Bytes(), err.Bytes()};
}

}  // namespace zeltra::test

#endif  // ZELTRA_TESTS_SUPPORT_RUNZELTRA_H_
