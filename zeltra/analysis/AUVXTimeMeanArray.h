// The mean visibility of every baseline over one time interval.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_ANALYSIS_AUVXTIMEMEANARRAY_H_
#define ZELTRA_ANALYSIS_AUVXTIMEMEANARRAY_H_

#include <cstdint>
#include <limits>

#include "zeltra/analysis/ABaseLine.h"
#include "zeltra/core/AObjArray.h"
#include "zeltra/core/APtrArray.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra {

/// Unwraps a phase that jumps by whole turns.
struct ZELTRA_API APhJustify {
  double lastPhase = 0.0;  ///< phase last given, radians
  double unwrapped = 0.0;  ///< running phase, radians, without jumps
  int32_t first = 1;       ///< 1 until the first phase is given

  /// Follow the shortest step from the last phase to `phase`, adding or subtracting a turn if necessary.
  /// @return the running phase
  double Justify(double phase);
};

/// A triangle of baselines a-b, b-c, a-c: indices into the AUVXTimeMeanArray that made it. If `base2` or `base3` is
/// negative, the baseline at the absolute index is used in reverse: its phase counts with a minus sign.
struct AClosePhItem {
  int32_t base1 = 0;  ///< never negative
  int32_t base2 = 0;
  int32_t base3 = 0;
};

/// What one baseline collects over an interval.
struct ZELTRA_API AUVXTimeMeanItem {
  ABaseLineItem baseLine;  ///< the key; its flag is always 0
  /// One accumulator per IF, channel and polarisation in the order of the record. In amplitude/phase mode, and until
  /// CalculateMean, `re` holds amplitude and `im` phase in radians.
  AUVXVisibility sum;
  AArray<int> count;              ///< contributions to each value
  AObjArray<APhJustify> justify;  ///< one per value; used in amplitude/phase mode only
};

ZELTRA_EXPORT_TEMPLATE(AArray<AClosePhItem>);
ZELTRA_EXPORT_TEMPLATE(AArray<AUVXTimeMeanItem*>);
ZELTRA_EXPORT_TEMPLATE(APtrArray<AUVXTimeMeanItem*>);

/// Collects the visibilities of one time interval and turns them into one mean per baseline. Order of calls:
///   Add             once per record
///   CalculateMean   once, after the last Add
///   the others      then
///
/// Items are owned and kept in the order of fnBLItemCompare. As with every APtrArray, a copy refers to the items of the
/// original and is valid as long as that lives; a move takes everything over and leaves the original as after Init.
class ZELTRA_API AUVXTimeMeanArray : public APtrArray<AUVXTimeMeanItem*> {
 public:
  /// @param complexMean  non-zero: average real and imaginary parts; zero: average amplitude and unwrapped phase
  explicit AUVXTimeMeanArray(int complexMean) : APtrArray(0, 0, 32), complexMean_(complexMean) {}
  AUVXTimeMeanArray() : AUVXTimeMeanArray(1) {}
  AUVXTimeMeanArray(const AUVXTimeMeanArray&) = default;
  AUVXTimeMeanArray(AUVXTimeMeanArray&& other) noexcept;
  AUVXTimeMeanArray& operator=(AUVXTimeMeanArray&& other) noexcept;

  /// Delete all items and forget times and positions; the mode is kept.
  void Init();

  /// Add one record under the baseline of its group.
  /// @param pos  index of the record in its file
  /// @param t1   first time that the record covers
  /// @param t2   last time, in the same unit
  virtual void Add(AUVXVisibility* vis, AUVXGroup& group, int pos, double t1, double t2);

  /// Add one record under a baseline, whose flag is ignored.
  ///
  /// The first record of a baseline is kept unchanged. Of later records only values with a weight above 0 count: such a
  /// value replaces one without a positive weight, and is added to any other. Values beyond the size of the baseline's
  /// first record are ignored. Positions and times are recorded in any case.
  virtual void Add(AUVXVisibility* vis, ABaseLineItem& base, int pos, double t1, double t2);

  /// Turn every accumulator into its mean. Records count equally: weights decide only which of them count, and the
  /// weight of the mean is the mean weight. Call it only once: a second call in amplitude/phase mode would convert
  /// amplitude and phase again.
  void CalculateMean();

  /// Middle of the interval, rounded half up to 0.01 of the unit in which the times were added, so that two passes over
  /// an interval give the same time. With times in days that means steps of 14.4 minutes; to average over less, add
  /// times in seconds.
  /// @return 0 if nothing was added
  double GetMeanTime() const;

  /// Smallest record index added; 2147483647 before the first.
  int GetStartPos() const { return scope_.startPos; }
  /// Largest record index added; -1 before the first.
  int GetEndPos() const { return scope_.endPos; }
  /// Smallest first time added; 1e38 before the first.
  double GetStartTime() const { return scope_.startTime; }
  /// Largest second time added; -1e38 before the first.
  double GetStopTime() const { return scope_.stopTime; }

  /// Index of the item with the antennas of `base`, or -1.
  int SearchBaseLine(const ABaseLineItem& base) const;

  /// Fill `antennas` with the distinct antenna numbers, ascending as signed numbers: those of 128 and more read as
  /// negative. AUVXAntenns::ForID needs the low 8 bits, `number & 255`, and silently returns the first antenna for a
  /// number that it lacks.
  /// @return how many there are
  int GetScopeMap(AArray<int>& antennas) const;

  /// Every triangle of antennas whose three baselines are present. The caller owns the list, which is never null.
  AArray<AClosePhItem>* GetClosePhase() const;
  /// Only those with antenna `tlsc`, 0 to 255 or as a signed byte.
  AArray<AClosePhItem>* GetClosePhase(int tlsc) const;

 private:
  struct Scope {
    int32_t startPos = std::numeric_limits<int32_t>::max();
    int32_t endPos = -1;
    double startTime = 1e38;
    double stopTime = -1e38;
  };

  bool Find(const ABaseLineItem& base, int& index) const;
  AUVXTimeMeanItem* NewItem(const AUVXVisibility& vis, const ABaseLineItem& base) const;
  void Accumulate(AUVXTimeMeanItem& item, const AUVXVisibility& vis) const;
  AUVXComplex Slots(const AUVXComplex& value) const;

  Scope scope_;  // what has been added
  int32_t complexMean_ = 1;
};

}  // namespace zeltra

#endif  // ZELTRA_ANALYSIS_AUVXTIMEMEANARRAY_H_
