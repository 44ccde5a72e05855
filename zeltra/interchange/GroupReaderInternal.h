// Reads the groups of a UV FITS file in any order.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_GROUPREADERINTERNAL_H_
#define ZELTRA_INTERCHANGE_GROUPREADERINTERNAL_H_

#include <cstdint>
#include <vector>

#include "zeltra/core/BlockReaderInternal.h"
#include "zeltra/fits/AFITS.h"
#include "zeltra/uvx/AUVXGroupInternal.h"

namespace zeltra {

/// The name under which SUBARRAY is read.
inline constexpr char kSubarrayParameter[] = "ARRAY";

/// The random parameters of one group in physical units, each the sum of all parameters of its name.
struct GroupParameters {
  float u, v, w;
  double date;                ///< days
  double baseline;            ///< 256 x antenna 1 + antenna 2 + 0.01 x (subarray - 1)
  double antenna1, antenna2;  ///< where the file has parameters for them
  double subarray;            ///< from 1; taken from the baseline where that holds it
  int antennas;               ///< 256 x antenna 1 + antenna 2; 0 if that is not a baseline of antennas 1 to 255
  double source;              ///< 1 where the file has none
  double freqSel;             ///< 1 where the file has none
  double integration;         ///< seconds, 0 where the file has none
  int8_t flag;                ///< as AUVXGroup::load gives it
};

/// Decodes the random parameters of groups as AUVXGroup::load does; u, v, w, date and flag are the same bit for bit.
/// What a parameter means is worked out once per file, and groups that are read in order are decoded many at a time.
class GroupReader {
 public:
  /// @param fits  prepared by UVFITSInput, which gives the parameters the names that are looked for here
  explicit GroupReader(AFITS& fits);

  /// Go to a group, counted from 0. @return its parameters, valid until the next call; null if they cannot be read
  const GroupParameters* Parameters(int group) {
    if ((group < first_ || group >= end_) && !DecodeFrom(group)) return nullptr;
    reader_.Seek(Position(group) + parameterBytes_);
    return &decoded_[group - first_];
  }
  /// The next `n` bytes of the data array of that group, at most kBlockBytes, as in the file; null if they cannot be
  /// read.
  const char* NextValues(int n) { return reader_.Next(n); }

 private:
  // Enough to spread the cost of each parameter, few enough to stay in the processor's inner cache.
  static constexpr int kMostDecoded = 64;
  struct Term {
    ParameterRole role;
    int offset;
    double scale, zero;
  };

  bool DecodeFrom(int group);
  void Decode(const char* raw, int count);
  template <typename Number>
  void DecodeNumbers(const char* raw, int count);
  int64 Position(int group) const { return dataStart_ + int64{group} * groupBytes_; }

  BlockReader reader_;
  int64 dataStart_;
  int groups_, groupBytes_, parameterBytes_, valueBytes_;
  std::vector<Term> terms_;
  bool hasAntennas_ = false;
  GroupParameters start_ = {};
  GroupParameters decoded_[kMostDecoded];
  int first_ = 0, end_ = 0;  // the groups in decoded_
};

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_GROUPREADERINTERNAL_H_
