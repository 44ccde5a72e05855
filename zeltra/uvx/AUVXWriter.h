// Writes a UVX file from its first record to its name.
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

class OutputFiles;
class ScanIndex;

/// Writes a UVX file that appears under its name only when it is complete. In this order:
///   Create(path, header, options, input)
///   SetScanGap           where scans are to end by another rule
///   Append(...)          as often as needed, or BeginRecord and what follows it
///   AddTable(table)      as often as needed, AddIndex and AddBaseLines among them
///   Finish()
/// A file that is not finished is removed, at the latest with the object.
///
/// While records pass, the writer makes what follows from them: their number, the ranges of the header, the index, the
/// list of baselines and that of integration times. Records are written in large blocks, by a second thread where one
/// may be used.
///
/// A scan ends where source, setup or subarray change, or where successive time stamps are further apart than 60 s and
/// than 8 times the median spacing of the stamps of that source and setup, of which successive ones within a run of its
/// records count. Or it ends where a list that is kept says so: see BeginScan.
class ZELTRA_API AUVXWriter {
 public:
  /// Most values that Reserve makes room for.
  static constexpr int kMostReserved = 1024;
  /// Most scans of a file, which take 224 MiB. A file has more only if its source changes with nearly every record.
  /// Where gaps in time alone make as many, half of them are left after a look at the spacing of the time stamps.
  static constexpr int kMostScans = 1 << 23;
  /// The time of a record is taken from its group.
  static constexpr double kFromGroup = std::numeric_limits<double>::quiet_NaN();

  /// Numbers of values that are not finite.
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
  /// @param header  tells the shape of the records; its count and ranges do not matter
  /// @param input   what the job reads, which it does not replace; empty for none
  /// @return a failure if `path` exists and may not be replaced, or cannot be written, or if no UVX file holds such
  ///         records
  AResult Create(const std::string& path, const AUVXHeader& header, const JobOptions& options,
                 const std::string& input = {});

  /// The header that Finish writes. Count and ranges are the writer's own. The other fields may be changed until then,
  /// except those that tell the shape of the records, and the observation date while there are records.
  AUVXHeader& header() { return header_; }

  /// Gaps between time stamps that are longer than this end scans, and no others. Before the first record.
  void SetScanGap(double seconds);
  /// The records from here on are of this scan of a list that is kept: scans end where the number changes, or source or
  /// setup, and no gap in time ends any. Said before the first record, and of every one.
  void BeginScan(int number, int subarray);

  /// Append `count` whole records as they stand in a file.
  AResult Append(const char* records, int count);
  /// Append one record.
  /// @param values   as many complexes as the header tells, at any address
  /// @param seconds  its time since 0 h of the observation date for the index, from one who knows it better than the
  ///                 Julian date of the group tells it
  AResult Append(const AUVXGroup& group, const void* values, double seconds = kFromGroup);

  /// Begin a record that is made in its place, piece by piece: after this call the group is filled in; then for each
  /// piece of the values Reserve, after which they are filled in. Each call takes what was filled in before.
  /// @return a group, all of whose fields are the caller's to set; null after a failure: see Why
  AUVXGroup* BeginRecord();
  /// Make room for the next values of the record.
  /// @param count  at most kMostReserved
  /// @return room for them, until the next call; null after a failure
  AUVXComplex* Reserve(int count);
  /// Set the integration time of the record that has been begun, and of those that follow; seconds, 0 if not known.
  void SetIntegration(float seconds) { integration_ = seconds; }
  /// Set the subarray of that record and of those that follow, for the index; 1 if nobody says.
  void SetSubarray(int number);
  /// Why a call gave null.
  AResult Why() const;

  /// Forget all records and begin again, before the first table.
  AResult Rewind();

  /// Bytes of a record.
  size_t recordBytes() const { return AUVXGroup::kBytes + static_cast<size_t>(valuesPerRecord_) * sizeof(AUVXComplex); }
  /// Records whose groups have been taken.
  int records() const { return records_; }
  /// The table "NX" of the records, times in days since 0 h of the observation date. The spacing of time stamps is that
  /// of the records so far.
  AUVXTable& index();
  /// A sentence where the time stamps are so far apart that the index may have joined scans, else empty. After index().
  std::string IndexRemark() const;
  const AUVXBaseLines& baseLines() const { return baseLines_; }
  OddValues oddValues();

  /// Append a table. @return a failure for the 129th, and where not all of it could be written
  AResult AddTable(const AUVXTable& table);
  /// Append the table index().
  AResult AddIndex();
  /// Append the table "BL" of the records.
  AResult AddBaseLines();
  /// Append the table "HD", and "IT" where integration times are known.
  /// @param cards    of the input
  /// @param command  what made this file of it: see AJobDescription::Command
  AResult AddProvenance(AUVXHeaderCards cards, const std::string& command);
  /// The same with cards that tell of the job already.
  AResult AddProvenance(const AUVXHeaderCards& cards);
  const AUVXIntegrations& integrations() const { return integrations_; }

  /// Complete the file and give it its name.
  AResult Finish();
  /// Complete the file, which gets its name together with the others of `together`.
  AResult Finish(OutputFiles& together);
  /// Remove the file. Nothing happens to one that is finished.
  void Discard();

 private:
  struct Output;
  // What is remembered of the record before.
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
  int givenScan_ = -1;  // the one that was begun last
  AUVXBaseLines baseLines_;
  AUVXIntegrations integrations_;
  float integration_ = 0;
  OddValues odd_;
  int records_ = 0;
  int valuesPerRecord_ = 0;
  Predecessor before_;
  // Baselines that are listed already: a place has the last source whose pair of antennas fell on it.
  struct SeenPair {
    std::int16_t source = 0;
    std::uint8_t state = 0;  // 1 flagged, 2 unflagged
  };
  std::vector<SeenPair> seen_;
  // The values of the last pieces, those of several records together, since a check of few values costs as much as
  // one of many.
  std::unique_ptr<AUVXComplex[]> step_;
  int unchecked_ = 0;
  AUVXGroup* group_ = nullptr;  // being filled in, as the values reserved are
  char* place_ = nullptr;       // of these values
  int reserved_ = 0;
  AUVXTableHeader directory_;
  int64 tablesEnd_ = 0;  // 0 while records are taken
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXWRITER_H_
