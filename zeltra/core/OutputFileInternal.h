// Output that appears under its name only when it is complete.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_OUTPUTFILEINTERNAL_H_
#define ZELTRA_CORE_OUTPUTFILEINTERNAL_H_

#include <cstring>
#include <memory>
#include <string>

#include "zeltra/core/AFile.h"
#include "zeltra/core/AResult.h"

namespace zeltra {

/// Bytes moved at a time by the whole-file jobs. Large enough that system calls do not count, small enough to stay in
/// the processor's outer cache between being read, converted and written.
inline constexpr int kBlockBytes = 1 << 20;

/// A file that remembers whether any byte written to it did not arrive: a write that moved only a part counts as
/// success, and the classes that write headers and tables do not tell.
class CheckedFile : public AFile {
 public:
  int Write(void* buf, int n) override;
  int Close() override;
  bool good() const { return good_; }

 private:
  bool good_ = true;
};

/// A file written under a temporary name beside its final one. Unless it is committed it is removed again, and a
/// process that is killed leaves the temporary name only.
class OutputFile {
 public:
  OutputFile() = default;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  /// Create the temporary file.
  /// @param input  what the job reads, which it does not replace
  /// @return a failure if `path` exists and may not be replaced, or cannot be written
  AResult Create(const std::string& path, bool overwrite, const std::string& input = {});
  CheckedFile& file() { return file_; }
  /// The name that the file has until it is committed, for a class that opens its files itself.
  const std::string& temporary() const { return temporary_; }
  /// Close the file and give it its name.
  AResult Commit();
  /// Close the file and remove it.
  void Discard();
  /// The failure of a write: the disk is full or broken.
  AResult WriteError() const;

 private:
  CheckedFile file_;
  std::string path_;
  std::string temporary_;
  bool overwrite_ = false;
};

/// Collects output in a block and writes it in large pieces, noticing every byte that does not arrive.
class BlockWriter {
 public:
  explicit BlockWriter(CheckedFile& file) : file_(file), block_(new char[kBlockBytes]) {}

  /// Room for `n` bytes, at most kBlockBytes, that count as written; null once a write has failed.
  char* Reserve(int n) {
    if (kBlockBytes - used_ < n && !Flush()) return nullptr;
    char* p = block_.get() + used_;
    used_ += n;
    return p;
  }
  /// Write what the block holds. @return false once any byte has not arrived
  bool Flush();

 private:
  CheckedFile& file_;
  std::unique_ptr<char[]> block_;
  int used_ = 0;
};

/// Reads a file in large pieces and hands out runs of bytes.
class BlockReader {
 public:
  explicit BlockReader(AFile& file) : file_(file), block_(new char[kBlockBytes]) {}

  /// Go to a position; what the block already holds is not read again.
  void Seek(int64 position) {
    if (position >= start_ && position <= start_ + filled_) {
      used_ = static_cast<int>(position - start_);
    } else {
      start_ = position;
      filled_ = used_ = 0;
      ahead_ = kFirstRead;
    }
  }
  /// The next `n` bytes, at most kBlockBytes, valid until the next call; null when the file does not hold them.
  char* Take(int n) {
    if (filled_ - used_ < n && !Fill(n)) return nullptr;
    char* p = block_.get() + used_;
    used_ += n;
    return p;
  }

 private:
  // After a jump little is read, since another jump may follow, and twice as much each time while none does.
  static constexpr int kFirstRead = 4096;

  bool Fill(int n);

  AFile& file_;
  std::unique_ptr<char[]> block_;
  int64 start_ = 0;  // position in the file of the block's first byte
  int filled_ = 0;
  int used_ = 0;
  int ahead_ = kFirstRead;
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_OUTPUTFILEINTERNAL_H_
