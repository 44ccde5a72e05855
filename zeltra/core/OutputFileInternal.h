// Output that appears under its name only when it is complete.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_OUTPUTFILEINTERNAL_H_
#define ZELTRA_CORE_OUTPUTFILEINTERNAL_H_

#include <string>

#include "zeltra/core/AFile.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"

namespace zeltra {

/// A file that remembers whether any byte written to it did not arrive, or went to another place: a write that moved
/// only a part counts as success, and the classes that write headers and tables do not tell.
class CheckedFile : public AFile {
 public:
  int Seek(const int64& pos) override;
  int Write(void* buf, int n) override;
  /// Give the file its permissions, wait until the disk holds it, as told, and close it.
  int Close() override;
  /// @param permissions  that the file gets, -1 for those that it has
  /// @param sync         whether Close waits until the disk holds the file
  void AtClose(int permissions, bool sync);
  bool good() const { return good_; }

 private:
  bool Settle();

  bool good_ = true;
  bool sync_ = false;
  int permissions_ = -1;
};

/// A file written under a temporary name beside its final one. Unless it is committed it is removed again, and a
/// process that is killed leaves the temporary name only. A file that it replaces is a regular one, at the end of
/// symbolic links perhaps, whose permissions it takes over.
class OutputFile {
 public:
  OutputFile() = default;
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  /// Create the temporary file.
  /// @param options  whether the file may replace one, and whether it is synchronised with the disk
  /// @param input    what the job reads, which it does not replace
  /// @return a failure if `path` exists and may not be replaced, or cannot be written
  AResult Create(const std::string& path, const JobOptions& options, const std::string& input = {});
  CheckedFile& file() { return file_; }
  /// The name that the file has until it is committed, for a class that opens its files itself.
  const std::string& temporary() const { return temporary_; }
  /// Complete the file and give it its name.
  AResult Commit();
  /// Synchronise and close the file. @return a failure if not every byte has arrived
  AResult Complete();
  /// Give the file, which is complete, its name, and synchronise the folder.
  AResult TakeName();
  /// Close the file and remove it.
  void Discard();
  /// The failure of a write: the disk is full or broken.
  AResult WriteError() const;

 private:
  CheckedFile file_;
  std::string path_;
  std::string target_;  // what `path_` leads to
  std::string temporary_;
  bool overwrite_ = false;
  bool sync_ = false;
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_OUTPUTFILEINTERNAL_H_
