// SPDX-License-Identifier: MIT
#include <fcntl.h>
#include <io.h>
#include <share.h>
#include <sys/stat.h>
#include <windows.h>
// windows.h comes first: shellapi.h needs its types.
#include <shellapi.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <iterator>
#include <system_error>

#include "zeltra/platform/System.h"
#include "zeltra/platform/SystemInternal.h"
#include "zeltra/platform/WindowsTextInternal.h"

namespace zeltra {
namespace platform {
namespace {

// The runtime counts a transfer in 32-bit signed integers.
constexpr int64 kLargestTransfer = 0x7ffff000;

std::atomic<int>* caught = nullptr;

// The runtime has restored the default by now, so a second signal ends the process.
extern "C" void CatchSignal(int signal) {
  caught->store(signal, std::memory_order_relaxed);
}

// Turn the error of a system function into the errno that the runtime would set.
bool Told(bool isDone) {
  if (!isDone) {
    const std::error_code error(static_cast<int>(GetLastError()), std::system_category());
    const std::error_condition condition = error.default_error_condition();
    errno = condition.category() == std::generic_category() ? condition.value() : EIO;
  }
  return isDone;
}

int SystemFlags(int mode) {
  int flags = mode & kReadWrite ? _O_RDWR : mode & kWriteOnly ? _O_WRONLY : _O_RDONLY;
  if (mode & kCreate) flags |= _O_CREAT;
  if (mode & kTruncate) flags |= _O_TRUNC;
  if (mode & kBinary) flags |= _O_BINARY;
  return flags | _O_NOINHERIT;
}

enum class ShortStep { Ends, GoesOn };

template <typename Call>
int64 Move(int64 count, ShortStep shortStep, Call call) {
  int64 moved = 0;
  while (moved < count) {
    const int64 wanted = std::min(count - moved, kLargestTransfer);
    const int step = call(moved, static_cast<unsigned>(wanted));
    if (step == 0) errno = 0;
    if (step <= 0) return moved > 0 || step == 0 ? moved : -1;
    moved += step;
    if (step < wanted && shortStep == ShortStep::Ends) break;
  }
  return moved;
}

// Whether the program was linked as a windowed one, which has no visible standard error.
bool IsWindowedProcess() {
  const auto* base = reinterpret_cast<const char*>(GetModuleHandleW(nullptr));
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  return headers->OptionalHeader.Subsystem == IMAGE_SUBSYSTEM_WINDOWS_GUI;
}

}  // namespace

namespace {

// A file or folder opened only to query it. No access is requested, so files that others hold open can be queried too.
class Opened {
 public:
  // @param flags  FILE_FLAG_OPEN_REPARSE_POINT for a link itself instead of its target
  explicit Opened(const std::string& path, DWORD flags = 0)
      : handle_(CreateFileW(Wide(path).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                            OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr)) {}
  Opened(const Opened&) = delete;
  Opened& operator=(const Opened&) = delete;
  ~Opened() {
    if (handle_ != INVALID_HANDLE_VALUE) CloseHandle(handle_);
  }
  HANDLE handle() const { return handle_; }

 private:
  HANDLE handle_;
};

// Other reparse points, such as those of cloud storage, are ordinary files.
bool IsLink(const std::string& path) {
  const Opened link(path, FILE_FLAG_OPEN_REPARSE_POINT);
  FILE_ATTRIBUTE_TAG_INFO info = {};
  return GetFileInformationByHandleEx(link.handle(), FileAttributeTagInfo, &info, sizeof info) &&
         (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) && info.ReparseTag == IO_REPARSE_TAG_SYMLINK;
}

}  // namespace

std::wstring Wide(const std::string& text) {
  for (const UINT codePage : {UINT{CP_UTF8}, UINT{CP_ACP}}) {
    const DWORD strict = codePage == CP_UTF8 ? MB_ERR_INVALID_CHARS : 0;
    const int size = static_cast<int>(text.size());
    const int length = MultiByteToWideChar(codePage, strict, text.data(), size, nullptr, 0);
    if (length <= 0) continue;
    std::wstring wide(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(codePage, strict, text.data(), size, wide.data(), length);
    return wide;
  }
  return {};
}

std::string Narrow(const wchar_t* wide) {
  const int length = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
  if (length <= 1) return {};
  std::string text(static_cast<size_t>(length - 1), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), length, nullptr, nullptr);
  return text;
}

// The only one of the POSIX permissions that the system has is read-only, which a new file never gets.
int OpenDescriptor(const char* path, int mode, int) {
  int descriptor = -1;
  const int error = _wsopen_s(&descriptor, Wide(path).c_str(), SystemFlags(mode), _SH_DENYNO, _S_IREAD | _S_IWRITE);
  if (error == 0) return descriptor;
  errno = error;
  return -1;
}

bool CloseDescriptor(int descriptor) {
  return _close(descriptor) == 0;
}

int64 ReadDescriptor(int descriptor, void* buffer, int64 count) {
  return Move(count, ShortStep::Ends,
              [=](int64 done, unsigned n) { return _read(descriptor, static_cast<char*>(buffer) + done, n); });
}

int64 ReadDescriptorAt(int descriptor, int64 position, void* buffer, int64 count) {
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  return Move(count, ShortStep::GoesOn, [=](int64 done, unsigned n) {
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(position + done);
    place.OffsetHigh = static_cast<DWORD>((position + done) >> 32);
    DWORD moved = 0;
    if (ReadFile(handle, static_cast<char*>(buffer) + done, n, &moved, &place)) return static_cast<int>(moved);
    return GetLastError() == ERROR_HANDLE_EOF || Told(false) ? 0 : -1;
  });
}

int64 WriteDescriptor(int descriptor, const void* buffer, int64 count) {
  return Move(count, ShortStep::GoesOn,
              [=](int64 done, unsigned n) { return _write(descriptor, static_cast<const char*>(buffer) + done, n); });
}

int64 SeekDescriptor(int descriptor, int64 position) {
  return _lseeki64(descriptor, position, SEEK_SET);
}
int64 TellDescriptor(int descriptor) {
  return _telli64(descriptor);
}
int64 DescriptorSize(int descriptor) {
  return _filelengthi64(descriptor);
}
bool StampOf(int descriptor, FileStamp& stamp) {
  const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
  BY_HANDLE_FILE_INFORMATION info = {};
  if (!Told(GetFileInformationByHandle(handle, &info) != 0)) return false;
  const auto joined = [](DWORD high, DWORD low) { return static_cast<int64>(uint64_t{high} << 32 | low); };
  stamp = {joined(info.nFileSizeHigh, info.nFileSizeLow),
           joined(info.ftLastWriteTime.dwHighDateTime, info.ftLastWriteTime.dwLowDateTime)};
  return true;
}
int TruncateDescriptor(int descriptor, int64 size) {
  return _chsize_s(descriptor, size);
}

bool SyncDescriptor(int descriptor) {
  return Told(FlushFileBuffers(reinterpret_cast<HANDLE>(_get_osfhandle(descriptor))) != 0);
}
// The wait is never cut short, since a file that is still being written to the disk could not be removed.
bool SyncDescriptorUnless(int descriptor, const std::function<bool()>&) {
  return SyncDescriptor(descriptor);
}

// MoveIntoPlace writes the folder's entry to the disk.
bool SyncFolderOf(const std::string&) {
  return true;
}

// The only permission here, read-only, is handled by MoveIntoPlace: a file that was given it any earlier could not be
// removed.
int PermissionsOf(const std::string&) {
  return -1;
}
bool SetPermissions(int, int) {
  return true;
}

FileKind KindOf(const std::string& path) {
  const DWORD attributes = GetFileAttributesW(Wide(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    Told(false);
    return errno == ENOENT || errno == ENOTDIR ? FileKind::Missing : FileKind::Unknown;
  }
  const bool isOther = (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE)) || IsLink(path);
  return isOther ? FileKind::Other : FileKind::Regular;
}

// A link to a missing file is returned as it is, and not replaced.
std::string LinkTarget(const std::string& path) {
  if (!IsLink(path)) return path;
  const Opened target(path);
  wchar_t name[32768] = {};
  const DWORD length = GetFinalPathNameByHandleW(target.handle(), name, std::size(name), FILE_NAME_NORMALIZED);
  return length > 0 && length < std::size(name) ? Narrow(name) : path;
}

bool IsSameName(const std::string& a, const std::string& b) {
  return CompareStringOrdinal(Wide(a).c_str(), -1, Wide(b).c_str(), -1, TRUE) == CSTR_EQUAL;
}

std::FILE* OpenStream(const char* path, const char* mode) {
  return _wfsopen(Wide(path).c_str(), Wide(mode).c_str(), _SH_DENYNO);
}

bool SeekStream(std::FILE* stream, int64 position) {
  return _fseeki64(stream, position, SEEK_SET) == 0;
}
int64 TellStream(std::FILE* stream) {
  return _ftelli64(stream);
}
int DescriptorOf(std::FILE* stream) {
  return _fileno(stream);
}

void ShowMessage(const char* text) {
  if (IsWindowedProcess()) {
    MessageBoxW(nullptr, Wide(text).c_str(), L"ZELTRA", MB_OK | MB_ICONEXCLAMATION | MB_TASKMODAL);
  } else {
    std::fprintf(stderr, "%s\n", text);
  }
}

}  // namespace platform

namespace {

// How the file system identifies the file that a name leads to.
struct FileIdentity {
  explicit FileIdentity(const std::string& path)
      : known(GetFileInformationByHandle(platform::Opened(path).handle(), &info) != 0) {}
  BY_HANDLE_FILE_INFORMATION info{};
  bool known;
};

}  // namespace

std::vector<std::string> CommandLineArguments(int, char**) {
  int count = 0;
  std::vector<std::string> arguments;
  wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
  for (int i = 1; wide && i < count; ++i) arguments.push_back(platform::Narrow(wide[i]));
  LocalFree(wide);
  return arguments;
}

void CatchSignals(std::atomic<int>& number) {
  platform::caught = &number;
  std::signal(SIGINT, platform::CatchSignal);
}

void UseBinaryStandardOutput() {
  _setmode(_fileno(stdout), _O_BINARY);
}
bool IsErrorTerminal() {
  return _isatty(_fileno(stderr)) != 0;
}

int ProcessorCount() {
  SYSTEM_INFO info{};
  GetSystemInfo(&info);
  return std::max(1, static_cast<int>(info.dwNumberOfProcessors));
}

int64 FreeMemory() {
  MEMORYSTATUSEX status = {};
  status.dwLength = sizeof status;
  return GlobalMemoryStatusEx(&status) ? static_cast<int64>(status.ullAvailPhys) : 0;
}

int RemoveFile(const std::string& path) {
  return DeleteFileW(platform::Wide(path).c_str()) != 0;
}

int MakeFolder(const std::string& path) {
  const std::wstring name = platform::Wide(path);
  if (platform::Told(CreateDirectoryW(name.c_str(), nullptr) != 0)) return 1;
  const DWORD attributes = GetFileAttributesW(name.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

int RemoveFolder(const std::string& path) {
  return platform::Told(RemoveDirectoryW(platform::Wide(path).c_str()) != 0);
}

bool PathExists(const std::string& path) {
  return GetFileAttributesW(platform::Wide(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool IsSameFile(const std::string& a, const std::string& b) {
  const FileIdentity first(a), second(b);
  return first.known && second.known && first.info.dwVolumeSerialNumber == second.info.dwVolumeSerialNumber &&
         first.info.nFileIndexHigh == second.info.nFileIndexHigh &&
         first.info.nFileIndexLow == second.info.nFileIndexLow;
}

int MoveIntoPlace(const std::string& from, const std::string& to, bool replace) {
  const std::wstring name = platform::Wide(to);
  const DWORD attributes = GetFileAttributesW(name.c_str());
  const bool isReadOnly =
      replace && attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
  if (isReadOnly) SetFileAttributesW(name.c_str(), attributes & ~DWORD{FILE_ATTRIBUTE_READONLY});
  const DWORD flags = MOVEFILE_WRITE_THROUGH | (replace ? MOVEFILE_REPLACE_EXISTING : 0);
  const bool isMoved = platform::Told(MoveFileExW(platform::Wide(from).c_str(), name.c_str(), flags) != 0);
  const int error = errno;
  // Applies to whichever file has the name now.
  if (isReadOnly) SetFileAttributesW(name.c_str(), attributes);
  errno = error;
  return isMoved;
}

std::string TemporaryFolder() {
  wchar_t folder[MAX_PATH + 1] = {};
  GetTempPathW(MAX_PATH, folder);
  std::string path = platform::Narrow(folder);
  while (path.size() > 1 && path.back() == '\\') path.pop_back();
  return path.empty() ? "." : path;
}

}  // namespace zeltra
