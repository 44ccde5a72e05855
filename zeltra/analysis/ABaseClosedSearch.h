// Search for chains of baselines that close the loop over a baseline.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_ANALYSIS_ABASECLOSEDSEARCH_H_
#define ZELTRA_ANALYSIS_ABASECLOSEDSEARCH_H_

#include "zeltra/analysis/ABaseLine.h"
#include "zeltra/core/AMatrix.h"
#include "zeltra/core/APtrArray.h"

namespace zeltra {

#if defined(__GNUC__)
#pragma GCC diagnostic push
// GetBaseLines and GetBase are the only virtual functions: without a virtual destructor, objects must not be deleted
// through this class.
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

/// Finds every chain of other baselines that leads from one antenna of a baseline to its other antenna.
///
/// A derived class supplies the baselines through GetBaseLines and GetBase. Order of calls:
///   SetMaxLink        optional
///   CaculateIndexes   once per set of baselines
///   SearchBL          any number of times; each call replaces the chains
///
/// Chains name baselines by signed numbers: i + 1 for baseline i from its antenna 1 to its antenna 2, -(i + 1) for it
/// in reverse; 0 means no baseline. Numbers are kept as 16-bit integers, so there may be 32767 baselines.
class ZELTRA_API ABaseClosedSearch {
 public:
  ABaseClosedSearch() = default;
  /// A copy has its own chains.
  ABaseClosedSearch(const ABaseClosedSearch& other);
  ABaseClosedSearch& operator=(const ABaseClosedSearch& other);

  /// Set the longest chain, in baselines, that the search builds (3 by default). With each further baseline, the number
  /// of chains and the search time grow by a factor of the number of antennas.
  void SetMaxLink(int maxLink) { maxLink_ = maxLink; }

  /// Distinct antenna numbers (0 to 255) of all baselines, ascending.
  AArray<int>& GetScopeMap() { return scopeMap_; }

  /// Index the baselines. Autocorrelations are left out; of several baselines between two antennas the last one counts.
  /// @return 0 if a baseline's antenna cannot be found again, which never happens with consistent overrides
  int CaculateIndexes();

  /// Find the chains from antenna 1 to antenna 2 of a baseline.
  /// @return 1 if the baseline is known, else 0, with no chains
  int SearchBL(const ABL& base);

  /// Chains of the last search. The first is the searched baseline itself. The others have 2 to maxLink baselines,
  /// without repeats and without the searched one, in depth-first order with the next antenna in ascending position.
  const APtrArray<AArray<int>*>& loops() const { return loops_; }

 protected:
  /// Number of baselines.
  virtual int GetBaseLines();
  /// Baseline i; in this class antenna 1 with antenna i + 1.
  virtual ABL GetBase(int i);

  /// Extend the path from antenna position `cur`, which was reached from `prev`; `n` antennas in all.
  /// @return 0 if cut off by the length limit
  int Cicle(int prev, int cur, int n);
  /// Whether the path holds the baseline `number`, in either direction.
  int IsIndexExists(int number) const;

 private:
  APtrArray<AArray<int>*> loops_;
  AArray<int> scopeMap_;
  AArray<int> path_;
  AMatrix<short> indexes_;  // [from][to] by position in the scope map: signed baseline number
  int endIndex_ = 0;        // antenna 2 of the searched baseline, by position
  int startIndex_ = 0;      // antenna 1
  int maxLink_ = 3;
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

}  // namespace zeltra

#endif  // ZELTRA_ANALYSIS_ABASECLOSEDSEARCH_H_
