// SPDX-License-Identifier: MIT
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>
#include <vector>

#include "apps/zeltra/Gunzip.h"
#include "zeltra/platform/ProgressCtrl.h"
#include "zeltra/platform/System.h"

namespace zeltra::app {
namespace {

constexpr int kBlock = 1 << 18;
// Space left free for others in the folder of temporary files: this much, or a twentieth of what is free if that is
// more.
constexpr int64 kMargin = 64 << 20;
constexpr int kWindowOfGzip = 15 + 16;

// Names are UTF-8 on every system.
std::filesystem::path PathOf(const std::string& name) {
  return std::u8string(name.begin(), name.end());
}

// A file that is removed with the object or, on systems that can remove open files, as soon as it is open.
class TemporaryFile : public AInputFile {
 public:
  ~TemporaryFile() override {
    Close();
    if (!temporary_.empty()) RemoveFile(temporary_);
  }

  AResult Create(AFile& file) {
    temporary_ = TemporaryNameFor(TemporaryFolder() + "/zeltra.uvfits");
    const std::string name = temporary_;
    if (!file.Open(name.c_str(), AFile::Create | AFile::ReadWrite | AFile::Binary)) {
      const std::string reason = ReasonOf(errno);
      temporary_.clear();
      return AResult::Fail(name + ": cannot be created: " + reason);
    }
    if (RemoveFile(temporary_)) temporary_.clear();
    return AResult::Ok();
  }

 private:
  std::string temporary_;
};

class Inflater {
 public:
  Inflater(AInputFile& from, AFile& to, const JobOptions& options) : from_(from), to_(to), options_(options) {}
  Inflater(const Inflater&) = delete;
  Inflater& operator=(const Inflater&) = delete;
  ~Inflater() { inflateEnd(&stream_); }

  AResult Run();

 private:
  AResult TakeBlock();
  AResult Write(int64 bytes);
  AResult Refuse(const std::string& sentence) const { return AResult::Fail(from_.name() + ": " + sentence); }

  AInputFile& from_;
  AFile& to_;
  const JobOptions& options_;
  z_stream stream_ = {};
  std::vector<unsigned char> in_ = std::vector<unsigned char>(kBlock), out_ = std::vector<unsigned char>(kBlock);
  bool isBetween_ = false;  // after the end of one archive, where another may follow
  int64 written_ = 0;
  int64 room_ = 0;
};

AResult Inflater::Run() {
  std::error_code error;
  const std::filesystem::space_info space = std::filesystem::space(PathOf(TemporaryFolder()), error);
  const int64 free = error ? INT64_MAX : static_cast<int64>(std::min<std::uintmax_t>(space.available, INT64_MAX));
  room_ = std::max<int64>(free - std::max(kMargin, free / 20), 0);
  if (inflateInit2(&stream_, kWindowOfGzip) != Z_OK) return Refuse("there is not enough memory to decompress it");
  SendProgressRange(options_.progress);
  SendProgressText(options_.progress, "Decompressing...");
  const int64 size = from_.GetFileSize();
  int lastPercent = -1;
  while (from_.Tell() < size) {
    if (IsCancelled(options_)) return AResult::Cancel(from_.name() + ": was not decompressed to its end");
    const int count = static_cast<int>(std::min<int64>(size - from_.Tell(), kBlock));
    if (!from_.Read(in_.data(), count)) return from_.Check();
    stream_.next_in = in_.data();
    stream_.avail_in = static_cast<unsigned>(count);
    if (AResult result = TakeBlock(); !result) return result;
    SendProgress(options_.progress, from_.Tell(), size, lastPercent);
  }
  return isBetween_
             ? from_.Check()
             : Refuse("cut short: the file ends at byte " + std::to_string(size) + ", within its compressed data");
}

AResult Inflater::TakeBlock() {
  bool isFull = false;  // more output may come without further input
  while (stream_.avail_in > 0 || isFull) {
    if (isBetween_) {
      // Tapes are padded with zeros.
      while (stream_.avail_in > 0 && *stream_.next_in == 0) ++stream_.next_in, --stream_.avail_in;
      if (stream_.avail_in == 0) break;
      inflateReset(&stream_);
      isBetween_ = false;
    }
    if (IsCancelled(options_)) return AResult::Cancel(from_.name() + ": was not decompressed to its end");
    stream_.next_out = out_.data();
    stream_.avail_out = kBlock;
    const int status = inflate(&stream_, Z_NO_FLUSH);
    if (status != Z_OK && status != Z_STREAM_END && status != Z_BUF_ERROR) {
      return Refuse("damaged: the data before byte " + std::to_string(from_.Tell() - stream_.avail_in) +
                    " cannot be decompressed" + (stream_.msg ? std::string(": ") + stream_.msg : ""));
    }
    if (AResult result = Write(kBlock - static_cast<int64>(stream_.avail_out)); !result) return result;
    isFull = stream_.avail_out == 0 && status == Z_OK;
    isBetween_ = status == Z_STREAM_END;
  }
  return AResult::Ok();
}

AResult Inflater::Write(int64 bytes) {
  written_ += bytes;
  if (written_ > room_) {
    return Refuse("is too large to be decompressed: " + TemporaryFolder() + " has room for " + std::to_string(room_) +
                  " bytes; a folder with more can be named in TMPDIR");
  }
  errno = 0;
  if (WriteWhole(to_, out_.data(), bytes)) return AResult::Ok();
  return Refuse("cannot be decompressed: a file in " + TemporaryFolder() +
                " cannot be written: " + ReasonOf(errno != 0 ? errno : ENOSPC));
}

}  // namespace

AResult Gunzip(const std::string& path, const JobOptions& options, std::unique_ptr<AInputFile>& plain) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(PathOf(path), error)) return AResult::Ok();
  AInputFile compressed;
  unsigned char start[2] = {};
  if (AResult result = compressed.Open(path); !result) return result;
  if (compressed.ReadAt(0, start, sizeof start) != 2 || start[0] != 0x1F || start[1] != 0x8B) return compressed.Check();
  AFile out;
  auto file = std::make_unique<TemporaryFile>();
  if (AResult result = file->Create(out); !result) return result;
  if (AResult result = Inflater(compressed, out, options).Run(); !result) return result;
  AResult result = file->Adopt(out, path);
  if (result) plain = std::move(file);
  return result;
}

}  // namespace zeltra::app
