// Output that appears under its name only when it is complete.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_OUTPUTFILEINTERNAL_H_
#define ZELTRA_CORE_OUTPUTFILEINTERNAL_H_

#include <string>

#include "zeltra/core/AFile.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra {

/// A file that remembers whether any byte written to it was lost or misplaced: a partial write counts as success
/// elsewhere, and the classes that write headers and tables do not report failures.
class CheckedFile : public AFile {
 public:
  /// Create a file, or empty an existing one, with the permissions that most programs give: kEverybody, less what the
  /// process's mask takes away.
  int Create(const char* path);
  int Seek(const int64& pos) override;
  int64 Tell() override;
  int Read(void* buf, int n) override;
  int Write(void* buf, int n) override;
  using AFile::Write;
  int64 GetFileSize() override;
  int Trunc() override;
  /// Wait until the disk holds what was written, if AtClose asked for that. @return false if it does not
  bool Sync();
  /// Give the file its permissions, synchronise and close it.
  int Close() override;
  /// @param permissions  for the file, -1 to leave them as they are
  /// @param sync         whether Sync and Close wait until the disk holds the file
  /// @param cancel       a flag that ends the wait, which then counts as failed
  void AtClose(int permissions, bool sync, const ACancelFlag* cancel = nullptr);
  bool good() const { return good_; }
  /// Why the file is not good, as a value of errno; 0 if the system does not say.
  int error() const { return error_; }

 private:
  void Note(bool isDone);

  bool good_ = true;
  int error_ = 0;
  bool sync_ = false;
  const ACancelFlag* cancel_ = nullptr;
  int permissions_ = -1;
};

/// A file written under a temporary name in the folder of its final one. It is removed unless it is committed, and a
/// process that is killed leaves only the temporary name. It replaces regular files only, following symbolic links, and
/// takes over their permissions.
class OutputFile {
 public:
  OutputFile() = default;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  /// Create the temporary file.
  /// @param options  whether the file may replace one, and whether it is synchronised with the disk; the cancel flag
  ///                 counts until the file is complete
  /// @param input    the file that the job reads, which is never replaced
  /// @return a failure if `path` exists and may not be replaced, or cannot be written
  AResult Create(const std::string& path, const JobOptions& options, const std::string& input = {});
  CheckedFile& file() { return file_; }
  /// The name that the file was created for; target() is where symbolic links lead from there.
  const std::string& path() const { return path_; }
  const std::string& target() const { return target_; }
  /// The name of the file until it is committed, for a class that opens its files itself.
  const std::string& temporary() const { return temporary_; }
  /// Synchronise what has been written. Call it before writing the mark that declares the file whole, so that a job
  /// that is killed during the wait leaves nothing that opens.
  AResult Sync();
  /// Complete the file and give it its name.
  AResult Commit();
  /// Synchronise and close the file. @return a failure if any byte was lost
  AResult Complete();
  /// Give the complete file its name and synchronise the folder.
  AResult Publish();
  /// Close the file and remove it.
  void Discard();
  /// The failure of a write, with the system's reason.
  AResult WriteError() const;
  /// The same for a class that opens the file itself.
  AResult WriteError(int error) const;

 private:
  AResult Cancelled() const;

  CheckedFile file_;
  std::string path_;
  std::string target_;  // where `path_` leads
  std::string temporary_;
  bool overwrite_ = false;
  bool sync_ = false;
  const ACancelFlag* cancel_ = nullptr;
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_OUTPUTFILEINTERNAL_H_
