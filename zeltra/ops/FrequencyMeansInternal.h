// Means over channels and IFs for the values of a record.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_FREQUENCYMEANSINTERNAL_H_
#define ZELTRA_OPS_FREQUENCYMEANSINTERNAL_H_

#include <string>
#include <vector>

#include "zeltra/ops/FrequencyChangeInternal.h"
#include "zeltra/uvx/AUVXComplex.h"

namespace zeltra {

/// Averages record by record. A mean is sum w v / sum w over the values that count, which have a weight above 0 and
/// finite numbers; its weight is sum w. Sums are in double precision, separately for each polarisation.
///
/// If no value counts, the mean is flagged: it is the mean of the finite values weighted by the absolute weights, with
/// minus their sum as its weight, so that it can be restored; if all weights are 0 or infinite, the plain mean with
/// weight 0.
class FrequencyMeans {
 public:
  /// @param needsAll  whether a mean is flagged, with a negative weight, if any of its values does not count
  FrequencyMeans(const FrequencyChange& change, int stokes, bool needsAll);

  /// Number of values in a record of means.
  int count() const { return static_cast<int>(places_.size()) * stokes_; }
  /// Average a record. @param means  room for count() values
  void Take(const AUVXComplex* values, AUVXComplex* means);
  /// A sentence about means for which some values did not count, so that their frequencies differ slightly from those
  /// of the channels; empty if there are none.
  std::string Remark() const;
  /// A sentence about values that are flagged in the mean only because they, or their weights, are not finite; empty if
  /// there are none.
  std::string NotFiniteRemark() const;

 private:
  // A run of adjacent frequency points of the input: IF x channels + channel.
  struct Run {
    int first, count;
  };
  // The input of one frequency point of the output.
  struct Place {
    size_t firstRun, endRun;
    int points;
  };
  // For one polarisation.
  struct Sums {
    double re = 0, im = 0, weight = 0;
    int counted = 0;
  };

  void AddRun(int first, int count);
  void SumUp(const AUVXComplex* values, const Place& place, Sums* sums) const;
  AUVXComplex Mean(const Sums& sums, const Place& place);
  AUVXComplex FlaggedMean(const AUVXComplex* values, const Place& place);

  int stokes_;
  bool needsAll_;
  std::vector<Run> runs_;
  std::vector<Place> places_;
  int64 means_ = 0;                 // of values that count
  int64 partial_ = 0;               // those of them in which some values do not count
  int64 points_ = 0, counted_ = 0;  // of the latter
  int64 notFinite_ = 0;             // values in means where no value counts, though their weight does not flag them
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_FREQUENCYMEANSINTERNAL_H_
