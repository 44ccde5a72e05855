// What a job needs of whoever runs it.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_JOBS_JOBHOST_H_
#define ZELTRA_JOBS_JOBHOST_H_

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobDescription.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

class AImageWorkers;

/// Receives a table row by row, cell by cell from left to right. A cell has the type of its column, or no value.
class ZELTRA_API ATableSink {
 public:
  virtual ~ATableSink();

  virtual void Integer(int64 value) = 0;
  virtual void Real(double value) = 0;
  virtual void Real(float value) = 0;
  /// A real number that people see with this many digits.
  virtual void Rounded(double value, int digits) = 0;
  /// A real number that people see with the digits of a 32-bit float.
  virtual void RoundedToFloat(double value) = 0;
  virtual void Time(double julianDate) = 0;
  virtual void Text(std::string_view text) = 0;
  /// A cell without a value.
  virtual void Nothing() = 0;
  virtual void EndRow() = 0;

  /// Whether more rows are wanted: if not, a long table may stop early and call Finish.
  virtual bool good() const = 0;
  /// To be called after the last row. @return a failure if any row could not be delivered
  virtual AResult Finish() = 0;
};

/// Runs a job and passes what the job says on to a user or a program. Called on the thread that runs the job.
class ZELTRA_API AJobHost {
 public:
  virtual ~AJobHost();

  /// Something to know about the data or the result; the job goes on.
  virtual void Note(const std::string& sentence) = 0;
  /// What the job has made.
  virtual void Report(const std::string& sentence) = 0;

  /// Begin the table of a job, which has one at most.
  /// @return valid until the job ends
  virtual ATableSink& BeginTable(std::vector<AJobColumn> columns) = 0;
  /// Whether the table is read by people, whose lines are short, rather than by a program.
  virtual bool IsForPeople() const { return false; }
  /// Deliver output that is not a table.
  /// @return a failure if it could not be delivered
  virtual AResult Text(std::string_view text) = 0;

  /// Who does parts of a job's work elsewhere; null: threads do them here.
  virtual AImageWorkers* workers() { return nullptr; }

  /// Open an input that the library itself does not read, such as a compressed one.
  /// @param plain  null unless the host opens it
  virtual AResult OpenInput(const std::string& path, const JobOptions& options, std::unique_ptr<AInputFile>& plain);
};

/// The names of a job's files, in the order of its description; an output that is not named is empty. A job that takes
/// a list may have any number of inputs.
struct AJobFiles {
  std::vector<std::string> inputs, outputs;

  const std::string& from() const { return inputs.front(); }
  const std::string& to() const { return outputs.front(); }
};

/// A job as hosts know it: by its description.
struct AJob {
  const AJobDescription& (*description)();
  /// @param options  of the description's own type
  AResult (*run)(const AJobFiles& files, JobOptions& options, AJobHost& host);
  bool hasTable = false;
};

}  // namespace zeltra

#endif  // ZELTRA_JOBS_JOBHOST_H_
