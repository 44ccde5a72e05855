// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include "zeltra/platform/System.h"
#include "zeltra/platform/SystemInternal.h"

namespace zeltra {
namespace platform {
namespace {

constexpr int kPermissions = 0777;
// More links than this are taken for a loop, as the system does.
constexpr int kMostLinks = 40;

// What Linux moves in one call at most.
constexpr int64 kLargestTransfer = 0x7ffff000;

std::atomic<int>* caught = nullptr;

extern "C" void CatchSignal(int signal) {
  caught->store(signal, std::memory_order_relaxed);
  // SIGPIPE comes again with every write, so it is still caught.
  if (signal != SIGPIPE) std::signal(signal, SIG_DFL);
}

int SystemFlags(int mode) {
  int flags = O_CLOEXEC;
  flags |= mode & kReadWrite ? O_RDWR : mode & kWriteOnly ? O_WRONLY : O_RDONLY;
  if (mode & kCreate) flags |= O_CREAT;
  if (mode & kTruncate) flags |= O_TRUNC;
  return flags;
}

bool IsFolder(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
}

enum class ShortStep { Ends, GoesOn };

template <typename Call>
int64 Move(int64 count, ShortStep shortStep, Call call) {
  int64 moved = 0;
  while (moved < count) {
    const int64 wanted = std::min(count - moved, kLargestTransfer);
    const ssize_t step = call(moved, static_cast<size_t>(wanted));
    if (step < 0 && errno == EINTR) continue;
    if (step == 0) errno = 0;
    if (step <= 0) return moved > 0 || step == 0 ? moved : -1;
    moved += step;
    if (step < wanted && shortStep == ShortStep::Ends) break;
  }
  return moved;
}

}  // namespace

int OpenDescriptor(const char* path, int mode, int permissions) {
  int descriptor = -1;
  do {
    descriptor = ::open(path, SystemFlags(mode), static_cast<mode_t>(permissions));
  } while (descriptor < 0 && errno == EINTR);
  // A folder opens for reading and has a size, but no bytes. Refuse it as a file, on every system.
  if (descriptor >= 0 && IsFolder(descriptor)) {
    ::close(descriptor);
    errno = EISDIR;
    return -1;
  }
  return descriptor;
}

bool CloseDescriptor(int descriptor) {
  return ::close(descriptor) == 0;
}

int64 ReadDescriptor(int descriptor, void* buffer, int64 count) {
  return Move(count, ShortStep::Ends,
              [=](int64 done, size_t n) { return ::read(descriptor, static_cast<char*>(buffer) + done, n); });
}

int64 ReadDescriptorAt(int descriptor, int64 position, void* buffer, int64 count) {
  return Move(count, ShortStep::GoesOn, [=](int64 done, size_t n) {
    return ::pread(descriptor, static_cast<char*>(buffer) + done, n, position + done);
  });
}

int64 WriteDescriptor(int descriptor, const void* buffer, int64 count) {
  return Move(count, ShortStep::GoesOn,
              [=](int64 done, size_t n) { return ::write(descriptor, static_cast<const char*>(buffer) + done, n); });
}

int64 SeekDescriptor(int descriptor, int64 position) {
  return ::lseek(descriptor, position, SEEK_SET);
}
int64 TellDescriptor(int descriptor) {
  return ::lseek(descriptor, 0, SEEK_CUR);
}

int64 DescriptorSize(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 ? int64{status.st_size} : -1;
}

bool StampOf(int descriptor, FileStamp& stamp) {
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) return false;
#ifdef __APPLE__
  const timespec& modified = status.st_mtimespec;
#else
  const timespec& modified = status.st_mtim;
#endif
  stamp = {status.st_size, int64{modified.tv_sec} * 1000000000 + modified.tv_nsec};
  return true;
}

int TruncateDescriptor(int descriptor, int64 size) {
  return ::ftruncate(descriptor, size) == 0 ? 0 : errno;
}

bool SyncDescriptor(int descriptor) {
  int result = 0;
  do {
    result = ::fsync(descriptor);
  } while (result != 0 && errno == EINTR);
  // A file system without a disk may not support the call.
  return result == 0 || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP;
}

namespace {

// What the thread that waits for the disk reports.
struct DiskWait {
  std::mutex mutex;
  std::condition_variable ended;
  bool isEnded = false;
  int error = 0;
};

// Owns the descriptor, and completes the wait even if nobody is interested any more.
void WaitForDisk(const std::shared_ptr<DiskWait>& wait, int descriptor) {
  const int error = SyncDescriptor(descriptor) ? 0 : errno;
  ::close(descriptor);
  const std::lock_guard lock(wait->mutex);
  wait->error = error;
  wait->isEnded = true;
  wait->ended.notify_one();
}

}  // namespace

bool SyncDescriptorUnless(int descriptor, const std::function<bool()>& stop) {
  constexpr auto kPatience = std::chrono::milliseconds(20);
  const int own = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
  if (own < 0) return SyncDescriptor(descriptor);
  const auto wait = std::make_shared<DiskWait>();
  try {
    std::thread(WaitForDisk, wait, own).detach();
  } catch (const std::system_error&) {
    ::close(own);
    return SyncDescriptor(descriptor);
  }
  std::unique_lock lock(wait->mutex);
  while (!wait->ended.wait_for(lock, kPatience, [&] { return wait->isEnded; })) {
    if (!stop()) continue;
    errno = ECANCELED;
    return false;
  }
  errno = wait->error;
  return wait->error == 0;
}

bool SyncFolderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  const std::string folder = slash == path.npos ? "." : path.substr(0, slash + 1);
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return true;
  const bool isDone = SyncDescriptor(descriptor);
  const int error = errno;
  ::close(descriptor);
  errno = error;
  return isDone;
}

int PermissionsOf(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & kPermissions) : -1;
}

bool SetPermissions(int descriptor, int permissions) {
  struct stat status {};
  // File systems with one set of permissions for all files refuse every change.
  const bool hasThem =
      ::fstat(descriptor, &status) == 0 && static_cast<int>(status.st_mode & kPermissions) == permissions;
  return hasThem || ::fchmod(descriptor, static_cast<mode_t>(permissions)) == 0;
}

FileKind KindOf(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) {
    return errno == ENOENT || errno == ENOTDIR ? FileKind::Missing : FileKind::Unknown;
  }
  return S_ISREG(status.st_mode) ? FileKind::Regular : FileKind::Other;
}

std::string LinkTarget(const std::string& path) {
  std::filesystem::path target = path;
  std::error_code error;
  for (int links = 0; links < kMostLinks; ++links) {
    const std::filesystem::path next = std::filesystem::read_symlink(target, error);
    if (error) break;
    target = target.parent_path() / next;
  }
  return target.string();
}

bool IsSameName(const std::string& a, const std::string& b) {
  return a == b;
}

std::FILE* OpenStream(const char* path, const char* mode) {
  return std::fopen(path, mode);
}
bool SeekStream(std::FILE* stream, int64 position) {
  return ::fseeko(stream, position, SEEK_SET) == 0;
}
int64 TellStream(std::FILE* stream) {
  return ::ftello(stream);
}
int DescriptorOf(std::FILE* stream) {
  return ::fileno(stream);
}

void ShowMessage(const char* text) {
  std::fprintf(stderr, "%s\n", text);
}

}  // namespace platform

std::vector<std::string> CommandLineArguments(int argc, char** argv) {
  return std::vector<std::string>(argv + std::min(argc, 1), argv + argc);
}

static_assert(kPipeSignal == SIGPIPE);

void CatchSignals(std::atomic<int>& number) {
  platform::caught = &number;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    if (std::signal(signal, platform::CatchSignal) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
  std::signal(SIGXFSZ, SIG_IGN);
}

void UseBinaryStandardOutput() {}
bool IsErrorTerminal() {
  return ::isatty(STDERR_FILENO) == 1;
}
int ProcessorCount() {
  return std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
}

int64 FreeMemory() {
  // Only MemAvailable, in kB, counts the file cache, which Linux gives up on demand.
  if (std::FILE* file = std::fopen("/proc/meminfo", "re")) {
    char line[128];
    long long available = 0;
    while (available == 0 && std::fgets(line, sizeof line, file)) std::sscanf(line, "MemAvailable: %lld", &available);
    std::fclose(file);
    if (available > 0) return int64{available} * 1024;
  }
#ifdef _SC_AVPHYS_PAGES
  return std::max<int64>(::sysconf(_SC_AVPHYS_PAGES), 0) * ::sysconf(_SC_PAGESIZE);
#else
  return 0;
#endif
}

int RemoveFile(const std::string& path) {
  return ::unlink(path.c_str()) == 0;
}
int MakeFolder(const std::string& path) {
  struct stat found {};
  if (::mkdir(path.c_str(), 0777) == 0) return 1;
  const int error = errno;
  if (error == EEXIST && ::stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode)) return 1;
  errno = error;
  return 0;
}

int RemoveFolder(const std::string& path) {
  return ::rmdir(path.c_str()) == 0;
}

bool PathExists(const std::string& path) {
  return ::access(path.c_str(), F_OK) == 0;
}

bool IsSameFile(const std::string& a, const std::string& b) {
  struct stat first {
  }, second{};
  return ::stat(a.c_str(), &first) == 0 && ::stat(b.c_str(), &second) == 0 && first.st_dev == second.st_dev &&
         first.st_ino == second.st_ino;
}

int MoveIntoPlace(const std::string& from, const std::string& to, bool replace) {
  if (replace) return ::rename(from.c_str(), to.c_str()) == 0;
#ifdef RENAME_NOREPLACE
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 1;
  // Not every file system supports the call.
  if (errno != EINVAL && errno != ENOSYS && errno != EOPNOTSUPP && errno != EPERM) return 0;
#endif
  // link() also refuses, in one step, if the name exists.
  if (::link(from.c_str(), to.c_str()) == 0) {
    ::unlink(from.c_str());
    return 1;
  }
  if (errno == EEXIST) return 0;
  // Where hard links are not supported either, an empty file reserves the name.
  const int holder = ::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, platform::kEverybody);
  if (holder < 0) return 0;
  ::close(holder);
  if (::rename(from.c_str(), to.c_str()) == 0) return 1;
  const int error = errno;
  ::unlink(to.c_str());
  errno = error;
  return 0;
}

std::string TemporaryFolder() {
  const char* folder = std::getenv("TMPDIR");
  return folder && *folder ? folder : "/tmp";
}

}  // namespace zeltra
