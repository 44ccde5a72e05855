// The input file of a whole-file job.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_AUVXINPUT_H_
#define ZELTRA_OPS_AUVXINPUT_H_

#include <memory>
#include <string>
#include <vector>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

class AUVXContents;

/// Visibilities as jobs read them: a UVX file, or UV FITS, which is imported into a temporary UVX file that is removed
/// with the object. The file is opened for reading only, so it may be write-protected.
class ZELTRA_API AUVXInput {
 public:
  AUVXInput();
  AUVXInput(const AUVXInput&) = delete;
  AUVXInput& operator=(const AUVXInput&) = delete;
  ~AUVXInput();

  /// @param options  progress and cancel flag of the import; `overwrite` does not matter
  /// @return a failure that says what is wrong with the file: it must hold all the records that it promises
  AResult Open(const std::string& path, const JobOptions& options = {});
  /// The same for a file that is already open.
  AResult Open(std::unique_ptr<AInputFile> file, const JobOptions& options = {});

  /// The name given to Open, which messages use for the file.
  const std::string& path() const { return path_; }
  AUVXFile& uvx() { return uvx_; }
  const AUVXFile& uvx() const { return uvx_; }
  /// The open file itself.
  AInputFile& file() { return *file_; }
  /// @return a failure if any part of the file could not be read, or if the file was changed meanwhile. Until then a
  ///         failed read looks like missing data: check before treating a result as complete.
  AResult Check() const { return file_->Check(); }
  /// The result of a job that reads the file: the failure of Check() if there is one, as it may be why the job failed.
  AResult Settle(const AResult& result) const { return file_->Settle(result); }
  /// Whether it is UV FITS.
  bool isImported() const { return isImported_; }
  /// What the import remarked; empty for a UVX file.
  const std::vector<std::string>& remarks() const { return remarks_; }

  /// Read the time of a record, from 0, which the file must hold. Threads may do so at the same time.
  /// @return false if it cannot be read
  bool ReadTime(int record, double& julianDate);
  /// The header and lists of the open file; read on first use.
  const AUVXContents& contents();

  /// Read a table, given its entry in the directory.
  /// @return null if the image is damaged
  std::unique_ptr<AUVXTable> Table(const AUVXTableItem& item);
  /// Read the first table with this code.
  /// @return null if there is none or the image is damaged
  std::unique_ptr<AUVXTable> Table(const std::string& code);
  /// Read table number `version`, from 1, of those with this code, whose case does not matter.
  /// @return a failure that says which tables there are, or that this one is damaged; `table` is then null
  AResult FindTable(const std::string& code, int version, std::unique_ptr<AUVXTable>& table);
  /// @return a failure that names the first damaged table
  AResult CheckTables();
  /// @return a failure if records have more values than jobs hold in memory at once: 1048576
  AResult CheckRecordSize();

 private:
  AResult OpenUVX();
  AResult Import(const JobOptions& options);
  AResult DamagedTable(const AUVXTableItem& item) const;

  std::string path_;
  std::string temporary_;  // the imported file, if any
  bool isImported_ = false;
  std::vector<std::string> remarks_;
  std::unique_ptr<AInputFile> file_;
  AUVXFile uvx_;
  std::unique_ptr<AUVXContents> contents_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_AUVXINPUT_H_
