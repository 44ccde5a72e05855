// Means of the values of a record over channels and IFs.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_FREQUENCYMEANSINTERNAL_H_
#define ZELTRA_OPS_FREQUENCYMEANSINTERNAL_H_

#include <string>
#include <vector>

#include "zeltra/ops/FrequencyChangeInternal.h"
#include "zeltra/uvx/AUVXComplex.h"

namespace zeltra {

/// Averages record by record. A mean is sum w v / sum w over the values that count, those with a weight above 0 whose
/// numbers are finite; its weight is sum w. Sums are made in double precision, of each polarisation by itself.
///
/// Where no value counts the mean is flagged: that of the finite values by the amounts of their weights, with the
/// negative sum of these, so that it may come back; where all are 0, the plain mean with weight 0.
class FrequencyMeans {
 public:
  /// @param needsAll  whether a mean is flagged too where any of its values does not count: its weight is negative
  FrequencyMeans(const FrequencyChange& change, int stokes, bool needsAll);

  /// Values of a record of means.
  int count() const { return static_cast<int>(places_.size()) * stokes_; }
  /// Average a record. @param means  room for count() values
  void Take(const AUVXComplex* values, AUVXComplex* means);
  /// A sentence on means for which not all values counted, so that their frequencies are not quite those of the
  /// channels; empty where there are none.
  std::string Remark() const;

 private:
  // Frequency points of the input that follow each other: IF x channels + channel.
  struct Run {
    int first, count;
  };
  // What a frequency point of the output is made of.
  struct Place {
    size_t firstRun, endRun;
    int points;
  };
  // Of one polarisation.
  struct Sums {
    double re = 0, im = 0, weight = 0;
    int counted = 0;
  };

  void AddRun(int first, int count);
  void SumUp(const AUVXComplex* values, const Place& place, Sums* sums) const;
  AUVXComplex Mean(const Sums& sums, const Place& place);
  AUVXComplex FlaggedMean(const AUVXComplex* values, const Place& place) const;

  int stokes_;
  bool needsAll_;
  std::vector<Run> runs_;
  std::vector<Place> places_;
  int64 means_ = 0;                 // of values that count
  int64 partial_ = 0;               // of these means, those in which not all values count
  int64 points_ = 0, counted_ = 0;  // of the latter
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_FREQUENCYMEANSINTERNAL_H_
