// Closure phases over time, one series per triangle of antennas.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_ANALYSIS_ACLOSEPHASEARRAY_H_
#define ZELTRA_ANALYSIS_ACLOSEPHASEARRAY_H_

#include "zeltra/analysis/A3Tlscs.h"
#include "zeltra/analysis/AUVXTimeMeanArray.h"
#include "zeltra/core/APtrArray.h"

namespace zeltra {

/// The series of one triangle. Entry t of a phase list belongs to entry t of `times`, provided that the lists grow
/// together.
struct ZELTRA_API AClosePhaseItem {
  A3TlscsItem triangle;    ///< the key
  AArray<double> phases1;  ///< closure phases in radians added with a non-zero selector
  AArray<double> phases0;  ///< those added with selector 0
  AArray<double> times;    ///< mean times of the intervals, in the order in which they were first added

  /// Add the phase of an interval; if the time is already present, its phase is replaced. New times must arrive in
  /// ascending order, as those of successive intervals do.
  void AddValue(double phase, double time, int selector);

  /// Find a time that is exactly equal.
  /// @param index  its position, or if not found where it would be inserted
  /// @return 1 if found
  int HasTime(double time, int& index) const;
};

ZELTRA_EXPORT_TEMPLATE(AArray<AClosePhaseItem*>);
ZELTRA_EXPORT_TEMPLATE(APtrArray<AClosePhaseItem*>);

/// Collects the closure phases of the triangles through one antenna, interval by interval. A derived class chooses the
/// phases that enter a closure, for instance those of one polarisation:
///   GetPhasesForIndex   once per triangle and interval, during Add
///
/// Items are owned and kept in the order of CompareTriangles. As with every APtrArray, a copy refers to the items of
/// the original and is valid as long as that lives; a move takes the items over.
///
/// Series are indexed by AUVXTimeMeanArray::GetMeanTime, which is rounded to 0.01 of the unit of the times added there.
/// Intervals whose middles round to the same time overwrite each other: with times in days that happens to intervals
/// shorter than 14.4 minutes, so programs that collect closure phases should use times in seconds.
class ZELTRA_API AClosePhaseArray : public APtrArray<AClosePhaseItem*> {
 public:
  AClosePhaseArray() = default;
  /// @param tlscID     antenna whose triangles are collected, 0 to 255 or as a signed byte
  /// @param triangles  the triangles that may be used; not owned
  AClosePhaseArray(int tlscID, A3Tlscs* triangles) : tlscID_(tlscID), triangles_(triangles) {}

  void SetTlscID(int tlscID) { tlscID_ = tlscID; }
  int GetTlscID() const { return tlscID_; }
  void Set3Tlscs(A3Tlscs* triangles) { triangles_ = triangles; }
  A3Tlscs* Get3Tlscs() const { return triangles_; }

  /// Add the closure phases of one interval, each in -pi to pi. Triangles that are flagged or not in the list are left
  /// out; without a list nothing is added.
  /// @param mean      CalculateMean has been called on it
  /// @param selector  which of the two phase lists of an item receives the phases
  void Add(AUVXTimeMeanArray& mean, int selector);

  /// Get the phases, in radians, of items i1, i2, i3 of `mean`, each in that baseline's own direction. This class sets
  /// nothing, so phases of 0 are used.
  virtual void GetPhasesForIndex(AUVXTimeMeanArray& mean, int i1, int i2, int i3, double& p1, double& p2, double& p3);

 private:
  bool IsUsable(const A3TlscsItem& triangle) const;
  double ClosurePhase(AUVXTimeMeanArray& mean, const AClosePhItem& legs);
  AClosePhaseItem& ItemFor(const A3TlscsItem& triangle);

  int32_t tlscID_ = 0;
  A3Tlscs* triangles_ = nullptr;
};

}  // namespace zeltra

#endif  // ZELTRA_ANALYSIS_ACLOSEPHASEARRAY_H_
