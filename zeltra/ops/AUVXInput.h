// The file that a whole-file job reads.
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

/// Visibilities as jobs read them: a UVX file, or UV FITS, which is imported into a temporary UVX file that goes with
/// the object. The file is opened for reading only, so that a write-protected one serves as well.
class ZELTRA_API AUVXInput {
 public:
  AUVXInput();
  AUVXInput(const AUVXInput&) = delete;
  AUVXInput& operator=(const AUVXInput&) = delete;
  ~AUVXInput();

  /// @param options  progress and cancel flag of the import; `overwrite` does not matter
  /// @return a failure that tells what is wrong with the file: it must hold every record that it promises
  AResult Open(const std::string& path, const JobOptions& options = {});
  /// The same of a file that is open already.
  AResult Open(std::unique_ptr<AInputFile> file, const JobOptions& options = {});

  /// The name given to Open, by which sentences name the file.
  const std::string& path() const { return path_; }
  AUVXFile& uvx() { return uvx_; }
  /// The open file itself.
  AInputFile& file() { return *file_; }
  /// @return a failure if anything of the file could not be read, or if it was changed meanwhile. What a failed read
  ///         should have given looks empty until then: whoever reads asks before the result counts as whole.
  AResult Check() const { return file_->Check(); }
  /// The result of a job that reads the file: the failure of Check() if there is one, which may be why the job failed.
  AResult Settle(const AResult& result) const { return file_->Settle(result); }
  /// What the import remarked; empty for a UVX file.
  const std::vector<std::string>& remarks() const { return remarks_; }

  /// Read the time of a record, from 0, that the file holds. Threads may do so at the same time.
  /// @return false if it cannot be read
  bool ReadTime(int record, double& julianDate);
  /// What the open file says of the observation; read when it is first asked for.
  const AUVXContents& contents();

  /// Read a table by its entry in the directory.
  /// @return null if the image is damaged
  std::unique_ptr<AUVXTable> Table(const AUVXTableItem& item);
  /// Read the first table with this code.
  /// @return null if there is none or the image is damaged
  std::unique_ptr<AUVXTable> Table(const std::string& code);
  /// Read the table number `version`, from 1, of those with this code, in capitals or not.
  /// @return a failure that tells which tables there are, or that this one is damaged; `table` is then null
  AResult FindTable(const std::string& code, int version, std::unique_ptr<AUVXTable>& table);
  /// @return a failure that names the first table that is damaged
  AResult CheckTables();
  /// @return a failure if a record has more values than jobs hold in memory side by side: 1048576
  AResult CheckRecordSize();
  /// The failure of a job whose selection leaves no record.
  AResult NothingSelected();

 private:
  AResult OpenUVX();
  AResult Import(const JobOptions& options);
  AResult DamagedTable(const AUVXTableItem& item) const;

  std::string path_;
  std::string temporary_;  // the imported file, if any
  std::vector<std::string> remarks_;
  std::unique_ptr<AInputFile> file_;
  AUVXFile uvx_;
  std::unique_ptr<AUVXContents> contents_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_AUVXINPUT_H_
