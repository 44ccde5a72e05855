// A library for LD_PRELOAD that makes the n-th system call of a kind, on the files of one folder, fail.
//   FAULT_FOLDER  what the names of the files begin with
//   FAULT_CALL    one of kKinds
//   FAULT_NUMBER  which of these calls fails, counted from 1
//   FAULT_ERROR   the error number; 0 for a transfer of no bytes, -1 for one of half of them
//   FAULT_COUNTS  the file to which a line for each kind of call is written when the process ends: the kind and how
//                 many calls there were
// SPDX-License-Identifier: MIT
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

namespace {

constexpr const char* kKinds[] = {"open",   "read",   "seek",  "stat",     "write", "sync",
                                  "folder", "rename", "close", "truncate", "chmod"};
constexpr int kMostDescriptors = 1024;
std::atomic<bool> watched[kMostDescriptors];
std::atomic<int> calls[std::size(kKinds)];

const char* Setting(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

template <typename Function>
Function* Real(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool IsWatched(const char* path) {
  const char* folder = Setting("FAULT_FOLDER");
  return path && *folder && std::strncmp(path, folder, std::strlen(folder)) == 0;
}

bool IsWatched(int descriptor) {
  return descriptor >= 0 && descriptor < kMostDescriptors && watched[descriptor];
}

std::atomic<int>* CallsOf(const char* call) {
  size_t kind = 0;
  while (std::strcmp(kKinds[kind], call) != 0) ++kind;
  return &calls[kind];
}

// Whether this call is the one that fails; if so, errno is set.
bool Fails(const char* call, bool isWatched) {
  if (!isWatched) return false;
  const int number = ++*CallsOf(call);
  if (std::strcmp(Setting("FAULT_CALL"), call) != 0 || number != std::atoi(Setting("FAULT_NUMBER"))) return false;
  errno = std::atoi(Setting("FAULT_ERROR"));
  return true;
}

struct AtEnd {
  ~AtEnd() {
    std::FILE* file = std::fopen(Setting("FAULT_COUNTS"), "w");
    for (const char* kind : kKinds) {
      if (file) std::fprintf(file, "%s %d\n", kind, CallsOf(kind)->load());
    }
    if (file) std::fclose(file);
  }
} atEnd;

int Opened(int descriptor, const char* path) {
  if (descriptor >= 0 && descriptor < kMostDescriptors) watched[descriptor] = IsWatched(path);
  return descriptor;
}

// A transfer, which may fail or fall short. @param move  makes the real transfer of a number of bytes
template <typename Move>
ssize_t Transferred(const char* call, int descriptor, size_t count, Move move) {
  if (!Fails(call, IsWatched(descriptor))) return move(count);
  const int error = std::atoi(Setting("FAULT_ERROR"));
  if (error > 0) return -1;
  // Once half has been transferred, the next call finds the end.
  static std::atomic<bool> isOver = false;
  if (error == 0 || isOver.exchange(true)) return 0;
  --*CallsOf(call);
  return move(count / 2);
}

template <typename Call>
int Done(const char* call, bool isWatched, Call real) {
  return Fails(call, isWatched) ? -1 : real();
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
  va_list list;
  va_start(list, flags);
  const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(list, mode_t) : 0;
  va_end(list);
  if (Fails("open", IsWatched(path))) return -1;
  return Opened(Real<int(const char*, int, ...)>("open")(path, flags, mode), path);
}

int close(int descriptor) {
  const bool fails = Fails("close", IsWatched(descriptor));
  const int error = errno;
  if (descriptor >= 0 && descriptor < kMostDescriptors) watched[descriptor] = false;
  const int result = Real<int(int)>("close")(descriptor);
  if (fails) errno = error;
  return fails ? -1 : result;
}

int fcntl(int descriptor, int command, ...) {
  va_list list;
  va_start(list, command);
  const long argument = va_arg(list, long);
  va_end(list);
  const int result = Real<int(int, int, ...)>("fcntl")(descriptor, command, argument);
  // The library waits for the disk through another descriptor of the same file.
  if (command == F_DUPFD_CLOEXEC && result >= 0 && result < kMostDescriptors) watched[result] = IsWatched(descriptor);
  return result;
}

ssize_t read(int descriptor, void* to, size_t count) {
  return Transferred("read", descriptor, count,
                     [&](size_t n) { return Real<ssize_t(int, void*, size_t)>("read")(descriptor, to, n); });
}

ssize_t pread(int descriptor, void* to, size_t count, off_t place) {
  return Transferred("read", descriptor, count, [&](size_t n) {
    return Real<ssize_t(int, void*, size_t, off_t)>("pread")(descriptor, to, n, place);
  });
}

ssize_t write(int descriptor, const void* from, size_t count) {
  return Transferred("write", descriptor, count,
                     [&](size_t n) { return Real<ssize_t(int, const void*, size_t)>("write")(descriptor, from, n); });
}

off_t lseek(int descriptor, off_t place, int from) {
  if (Fails("seek", IsWatched(descriptor))) return -1;
  return Real<off_t(int, off_t, int)>("lseek")(descriptor, place, from);
}

int fstat(int descriptor, struct stat* status) {
  return Done("stat", IsWatched(descriptor), [&] { return Real<int(int, struct stat*)>("fstat")(descriptor, status); });
}

int stat(const char* path, struct stat* status) {
  return Done("stat", IsWatched(path), [&] { return Real<int(const char*, struct stat*)>("stat")(path, status); });
}

int lstat(const char* path, struct stat* status) {
  return Done("stat", IsWatched(path), [&] { return Real<int(const char*, struct stat*)>("lstat")(path, status); });
}

int access(const char* path, int mode) {
  return Done("stat", IsWatched(path), [&] { return Real<int(const char*, int)>("access")(path, mode); });
}

int fsync(int descriptor) {
  struct stat status {};
  const bool isFolder = Real<int(int, struct stat*)>("fstat")(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
  return Done(isFolder ? "folder" : "sync", IsWatched(descriptor), [] { return 0; });  // without waiting for the disk
}

int ftruncate(int descriptor, off_t size) {
  return Done("truncate", IsWatched(descriptor), [&] { return Real<int(int, off_t)>("ftruncate")(descriptor, size); });
}

int fchmod(int descriptor, mode_t mode) {
  return Done("chmod", IsWatched(descriptor), [&] { return Real<int(int, mode_t)>("fchmod")(descriptor, mode); });
}

int rename(const char* from, const char* to) {
  return Done("rename", IsWatched(to), [&] { return Real<int(const char*, const char*)>("rename")(from, to); });
}

int renameat2(int fromFolder, const char* from, int toFolder, const char* to, unsigned flags) {
  return Done("rename", IsWatched(to), [&] {
    return Real<int(int, const char*, int, const char*, unsigned)>("renameat2")(fromFolder, from, toFolder, to, flags);
  });
}

int link(const char* from, const char* to) {
  return Done("rename", IsWatched(to), [&] { return Real<int(const char*, const char*)>("link")(from, to); });
}

}  // extern "C"
