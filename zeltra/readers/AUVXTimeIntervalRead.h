// Readers that cut the records of a source into time intervals.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_READERS_AUVXTIMEINTERVALREAD_H_
#define ZELTRA_READERS_AUVXTIMEINTERVALREAD_H_

#include <memory>

#include "zeltra/analysis/AUVXTimeMeanArray.h"
#include "zeltra/readers/AUVXRead.h"
#include "zeltra/uvx/AStokesMix.h"

namespace zeltra {

/// Walks the records of a reader in intervals of fixed length, aligned to a start time. A derived class collects them:
///   AllocateArray   once per interval, before its records
///   IsDropUVVis     once per record
///   AddToArray      once per record that is not dropped
///   GetArray        once per interval: the result
///
/// Times, including the length of the intervals, have the unit of the times that the reader gives: Julian dates in days
/// for the records of a file. A reader cannot be rewound; to read again, make a new one.
class ZELTRA_API AUVXTimeIntervalRead {
 public:
  /// @param reader     not owned
  /// @param startTime  earlier records are skipped; intervals begin at startTime + k x interval, or at their first
  ///                   record if startTime is too far away for that
  /// @param stopTime   no interval begins later; records at exactly this time belong to the last one
  /// @param interval   length; if it is negative, zero, or too short to change a time, every distinct record time is an
  ///                   interval, and times less than 1e-5 apart, 0.86 s in days, are not distinct
  ///
  /// Bounds are as exact as the times: a Julian date resolves 40 microseconds, so records stamped exactly on a bound
  /// may come out in the interval before, whatever the length, and below about 4 s also in one of their own. With a
  /// startTime whose bounds lie between the stamps that does not happen.
  AUVXTimeIntervalRead(AUVXRead* reader, double startTime, double stopTime, double interval);
  AUVXTimeIntervalRead(const AUVXTimeIntervalRead&) = default;
  AUVXTimeIntervalRead& operator=(const AUVXTimeIntervalRead&) = default;
  virtual ~AUVXTimeIntervalRead();

  /// The result of the current interval; null in this class.
  virtual void* GetArray();

  /// 1 if a record is to be skipped: here, if its flag byte is not 0.
  virtual int IsDropUVVis(AUVXGroup& group, AUVXVisibility& vis, int pos);

  /// Prepare an empty result.
  virtual void AllocateArray();

  /// Add one record of the interval.
  /// @param pos     index of the record in its file
  /// @param t1, t2  bounds of the interval; if intervals are record times, both are the time of its first record
  virtual void AddToArray(AUVXGroup& group, AUVXVisibility& vis, int pos, double t1, double t2);

  /// Read the next interval that contains records.
  /// @return GetArray(), or null if there is none
  void* GetTimeInterval();

 protected:
  /// Read up to the first record of the first interval, as GetTimeInterval does, unless that has been done already.
  void GoToStart();

 private:
  bool IsBeforeStart() const { return group_.uvTime() < startTime_; }
  void ReadRecord();

  double eps_ = 1e-5;  // tolerance of interval arithmetic
  double startTime_;
  double stopTime_;
  double interval_;
  AUVXRead* reader_;
  int eof_ = 0;
  AUVXGroup group_;                      // the current record
  std::shared_ptr<AUVXVisibility> vis_;  // its values, shared by copies
  int pos_ = 0;
  int first_ = 1;
};

/// Collects every interval into the means of its baselines.
///
/// Intervals are in the unit of the reader's times, days, and AUVXTimeMeanArray rounds its mean time to 0.01 of that
/// unit. A program that needs seconds, such as for closure phases, passes the times on in seconds since 0 h of a day,
/// and leaves startTime, stopTime and interval in days:
///
///     class SecondsRead : public AUVXTIRead {
///       using AUVXTIRead::AUVXTIRead;
///       static double Seconds(double julianDate) { return (julianDate - kDay0) * 86400; }
///       void AddToArray(AUVXGroup& group, AUVXVisibility& vis, int pos, double t1, double t2) override {
///         AUVXTIRead::AddToArray(group, vis, pos, Seconds(t1), Seconds(t2));
///       }
///     };
///     SecondsRead intervals(&reader, -1e38, 1e38, 30.0 / 86400, 1);
class ZELTRA_API AUVXTIRead : public AUVXTimeIntervalRead {
 public:
  /// @param complexMean  see AUVXTimeMeanArray
  AUVXTIRead(AUVXRead* reader, double startTime, double stopTime, double interval, int complexMean);
  ~AUVXTIRead() override;

  void* GetArray() override;
  void AllocateArray() override;
  void AddToArray(AUVXGroup& group, AUVXVisibility& vis, int pos, double t1, double t2) override;

  /// Read the next interval.
  /// @return its sums, on which the caller must call CalculateMean before use; owned by the reader and valid until the
  ///         next call. Null if there is no further interval.
  AUVXTimeMeanArray* GetTimeInterval();

 private:
  std::shared_ptr<AUVXTimeMeanArray> array_;  // shared by copies
  int complexMean_;
};

/// Combines the polarisations of every record before it is averaged.
class ZELTRA_API AUVXTIRead_RL : public AUVXTIRead {
 public:
  /// @param mix  the combinations, not owned; null leaves records unchanged. A combination of polarisations that the
  ///             records lack gives flagged zeros.
  AUVXTIRead_RL(AUVXRead* reader, double startTime, double stopTime, double interval, const AArray<AStokesMix>* mix,
                int complexMean);
  ~AUVXTIRead_RL() override;

  void AddToArray(AUVXGroup& group, AUVXVisibility& vis, int pos, double t1, double t2) override;

 private:
  const AArray<AStokesMix>* mix_;
};

}  // namespace zeltra

#endif  // ZELTRA_READERS_AUVXTIMEINTERVALREAD_H_
