// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "zeltra/desktop/ProgramInternal.h"

extern char** environ;

namespace zeltra::desktop {
namespace {

constexpr size_t kLargestOutput = 0x10000;

// Start the program with its standard output connected to the descriptor `output`.
bool Start(const std::vector<std::string>& command, int output, pid_t& process) {
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  const int error = ::posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  return error == 0;
}

// Read `input` to its end and keep the beginning.
std::string ReadAll(int input) {
  std::string text;
  char buffer[4096];
  for (;;) {
    const ssize_t count = ::read(input, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return text;
    text.append(buffer, static_cast<size_t>(count));
    if (text.size() > kLargestOutput) text.resize(kLargestOutput);
  }
}

// A process that ignores SIGCHLD never learns how its children ended; success is then assumed, and the caller goes by
// the output.
bool Succeeded(pid_t process) {
  int status = 0;
  pid_t ended;
  do {
    ended = ::waitpid(process, &status, 0);
  } while (ended < 0 && errno == EINTR);
  return ended == process ? WIFEXITED(status) && WEXITSTATUS(status) == 0 : errno == ECHILD;
}

}  // namespace

ProgramResult RunProgram(const std::vector<std::string>& command) {
  ProgramResult result;
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC) != 0) return result;
  pid_t process = 0;
  result.started = Start(command, ends[1], process);
  ::close(ends[1]);
  if (result.started) {
    result.output = ReadAll(ends[0]);
    result.success = Succeeded(process);
  }
  ::close(ends[0]);
  return result;
}

}  // namespace zeltra::desktop
