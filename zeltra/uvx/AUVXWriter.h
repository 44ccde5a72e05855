// Writing a UVX file from its first record to its final name.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXWRITER_H_
#define ZELTRA_UVX_AUVXWRITER_H_

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXComplex.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXHeaderCards.h"
#include "zeltra/uvx/AUVXIntegrations.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

class BaseLineCollector;
class OutputFiles;
class ScanIndex;

/// Writes a UVX file that appears under its name only when it is complete. In this order:
///   Create(path, header, options, input)
///   SetScanGap           if scans are to end by another rule
///   Append(...)          as often as needed, or BeginRecord and the calls that belong to it
///   AddTable(table)      as often as needed, including AddIndex and AddBaseLines
///   Finish()
/// A file that is not finished is removed when the object is destroyed, if not before.
///
/// As records pass, the writer collects what depends on them: their number, the ranges of the header, the index, the
/// list of baselines and that of integration times. Records are written in large blocks, by a second thread if one may
/// be used.
///
/// A scan ends if source, setup or subarray changes, or if successive time stamps are further apart than both 60 s and
/// 8 times the median spacing of the stamps of that source and setup, counting only successive stamps within a run of
/// its records. With a list of scans, it ends where the list says so: see BeginScan.
class ZELTRA_API AUVXWriter {
 public:
  /// Maximum number of values that Reserve makes room for.
  static constexpr int kMostReserved = 1024;
  /// Maximum number of scans in a file, which take 224 MiB. A file has more only if its source changes with nearly
  /// every record. If gaps in time alone produce that many, at most half of them remain once they are judged by the
  /// spacing of the time stamps.
  static constexpr int kMostScans = 1 << 23;
  /// The time of a record is taken from its group.
  static constexpr double kFromGroup = std::numeric_limits<double>::quiet_NaN();

  /// Counts of values that are not finite.
  struct OddValues {
    int64 notNumbers = 0;  ///< with a real or imaginary part that is NaN or infinite
    int64 infiniteWeights = 0;
    int64 weightsNotNumbers = 0;
  };

  AUVXWriter();
  AUVXWriter(const AUVXWriter&) = delete;
  AUVXWriter& operator=(const AUVXWriter&) = delete;
  /// Discard the file, unless it is finished.
  ~AUVXWriter();

  /// Create the file under a temporary name.
  /// @param header  gives the shape of the records; its count and ranges are ignored
  /// @param input   the job's input, which it must not replace; empty for none
  /// @return a failure if `path` exists and may not be replaced, or cannot be written, or if a UVX file cannot hold
  ///         such records
  AResult Create(const std::string& path, const AUVXHeader& header, const JobOptions& options,
                 const std::string& input = {});

  /// The header that Finish writes. Count and ranges are the writer's own. The other fields may be changed until then,
  /// except those that define the shape of the records and, once there are records, the observation date.
  AUVXHeader& header() { return header_; }

  /// End scans only at gaps between time stamps longer than this. Call before the first record.
  void SetScanGap(double seconds);
  /// The records from here on belong to this scan of a given list: scans end where the number, source or setup changes,
  /// and never at a gap in time. Call it before the first record, and for every scan.
  void BeginScan(int number, int subarray);

  /// Append `count` whole records as stored in a file.
  AResult Append(const char* records, int count);
  /// Append one record.
  /// @param values   as many complexes as the header says, at any address
  /// @param seconds  its time since 0 h of the observation date for the index, from a caller that knows it more exactly
  ///                 than the Julian date of the group
  AResult Append(const AUVXGroup& group, const void* values, double seconds = kFromGroup);

  /// Begin a record that is built in place, piece by piece: after this call fill in the group; then call Reserve for
  /// each piece of the values and fill it in. Each call takes over what was filled in before.
  /// @return a group, all of whose fields the caller must set; null after a failure: see Why
  AUVXGroup* BeginRecord();
  /// Make room for the next values of the record.
  /// @param count  at most kMostReserved
  /// @return room for them, valid until the next call; null after a failure
  AUVXComplex* Reserve(int count);
  /// Set the integration time of the current record and of those that follow; seconds, 0 if unknown.
  void SetIntegration(float seconds) { integration_ = seconds; }
  /// Set the subarray of the current record and of those that follow, for the index; 1 if never set.
  void SetSubarray(int number);
  /// Why a call returned null.
  AResult Why() const;

  /// Discard all records and start again; only before the first table.
  AResult Rewind();

  /// Bytes of a record.
  size_t recordBytes() const { return AUVXGroup::kBytes + static_cast<size_t>(valuesPerRecord_) * sizeof(AUVXComplex); }
  /// Number of records whose groups have been taken over.
  int records() const { return records_; }
  /// The table "NX" of the records, with times in days since 0 h of the observation date. The spacing of time stamps is
  /// that of the records so far.
  AUVXTable& index();
  /// A warning if the time stamps are so far apart that the index may have joined scans, else empty. Call after
  /// index().
  std::string IndexRemark() const;
  /// The baselines of the records so far. Valid until the next call of another function.
  const AUVXBaseLines& baseLines();
  OddValues oddValues();

  /// Append a table. @return a failure for the 129th, or if it could not be written completely
  AResult AddTable(const AUVXTable& table);
  /// Append the table index().
  AResult AddIndex();
  /// Append the table "BL" of the records.
  AResult AddBaseLines();
  /// Append the table "HD", and "IT" if integration times are known.
  /// @param cards    those of the input
  /// @param command  the command that made this file from it: see AJobDescription::Command
  AResult AddProvenance(AUVXHeaderCards cards, const std::string& command);
  /// The same with cards that already describe the job.
  AResult AddProvenance(const AUVXHeaderCards& cards);
  const AUVXIntegrations& integrations() const { return integrations_; }

  /// Complete the file and give it its name.
  AResult Finish();
  /// Complete the file, which gets its name together with the other outputs of `together`.
  AResult Finish(OutputFiles& together);
  /// Remove the file, unless it is finished.
  void Discard();

 private:
  struct Output;
  // What is remembered of the previous record.
  struct Predecessor {
    double date = 0;
    int source = 1 << 16, setup = 0;  // no record has this source
  };

  bool IsFull() const;
  void ForgetRecords();
  AResult WriteValues(const char* values);
  void TakePending();
  void TakeGroup(double seconds);
  void Register(const AUVXGroup& group, double seconds);
  void CheckValues();
  AResult EndRecords();
  AResult EndHeader(int64 recordsEnd);
  AResult WriteHeader();
  AResult Complete();

  std::string path_;
  std::unique_ptr<Output> output_;  // null unless a file is being written
  AUVXHeader header_;
  AUVXMinMax ranges_;
  std::unique_ptr<ScanIndex> index_;
  int givenScan_ = -1;  // the one begun last
  std::unique_ptr<BaseLineCollector> baseLines_;
  AUVXIntegrations integrations_;
  float integration_ = 0;
  OddValues odd_;
  int records_ = 0;
  int valuesPerRecord_ = 0;
  Predecessor before_;
  // The values of the last pieces. Those of several records are checked together, since checking a few values costs as
  // much as checking many.
  std::unique_ptr<AUVXComplex[]> step_;
  int unchecked_ = 0;
  AUVXGroup* group_ = nullptr;  // being filled in, like the reserved values
  char* place_ = nullptr;       // where these values lie
  int reserved_ = 0;
  AUVXTableHeader directory_;
  int64 tablesEnd_ = 0;  // 0 while records are being appended
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXWRITER_H_
