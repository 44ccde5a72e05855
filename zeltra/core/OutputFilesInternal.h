// Outputs of one job that appear together.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_OUTPUTFILESINTERNAL_H_
#define ZELTRA_CORE_OUTPUTFILESINTERNAL_H_

#include <memory>
#include <string>
#include <vector>

#include "zeltra/core/OutputFileInternal.h"

namespace zeltra {

/// Whether two names refer to one file, which need not exist yet.
bool IsOneName(const std::string& a, const std::string& b);

/// Files that are all complete, synchronised and closed without an error before the first of them gets its name.
/// Whatever is not committed is removed with the object.
class OutputFiles {
 public:
  /// @param input    the file that the job reads, which no output replaces
  /// @param options  as for OutputFile::Create
  OutputFiles(const std::string& input, const JobOptions& options) : names_{input}, options_(options) {}

  /// Create one under a temporary name.
  /// @param output  the new file, owned by this object
  /// @return a failure if two outputs have one name, or for the reasons of OutputFile::Create
  AResult Create(const std::string& path, OutputFile*& output);
  /// Take over one that has already been created.
  /// @return a failure if two outputs have one name; the caller then keeps the file
  AResult Add(std::unique_ptr<OutputFile>& file);
  /// The temporary name of the file created or added last, for reading what has been written.
  const std::string& LastTemporary() const { return files_.back()->temporary(); }
  /// Complete all files without giving them their names.
  AResult Complete();
  /// Complete all files and give them their names.
  AResult Commit();

 private:
  bool IsTaken(const std::string& target) const;

  std::vector<std::string> names_;  // in use
  std::vector<std::unique_ptr<OutputFile>> files_;
  size_t complete_ = 0;  // number of files that are complete
  const JobOptions options_;
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_OUTPUTFILESINTERNAL_H_
