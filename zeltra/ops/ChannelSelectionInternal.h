// A choice of IFs, channels and polarisations, and what it makes of header and values.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_CHANNELSELECTIONINTERNAL_H_
#define ZELTRA_OPS_CHANNELSELECTIONINTERNAL_H_

#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/ops/FrequencyChangeInternal.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra {

/// Sort the places on an axis that are asked for, from 0, and drop repeated ones; an empty list becomes all `count`
/// places.
/// @param what  names the axis in the sentence about a place that does not exist
AResult SettlePlaces(const std::string& path, const char* what, const std::vector<int>& wanted, int count,
                     std::vector<int>& places);

/// Ascending places, from 0, on the axes of the visibilities.
class ChannelSelection {
 public:
  /// Look up what is asked for in a file with this header. An empty list asks for everything.
  /// @param path  names the file in sentences
  AResult Open(const std::string& path, const AUVXHeader& header, const std::vector<int>& ifs,
               const std::vector<int>& channels, const std::vector<std::string>& stokes);

  /// Whether everything is kept.
  bool IsWhole() const { return isWhole_; }
  /// What becomes of the IFs and channels.
  FrequencyChange Frequencies() const;

  /// Give a header the axis lengths of the selection, and the frequency of its first channel.
  /// @param setups  the "FQ" table, null if there is none
  void Change(AUVXHeader& header, const AUVXTable* setups) const;

  /// Pick the values of a record; `out` has the shape of the selection.
  void Pick(const AUVXVisibility& in, AUVXVisibility& out) const;

 private:
  std::vector<int> ifs_;
  std::vector<int> channels_;
  std::vector<int> stokes_;
  int allIFs_ = 1;
  int allChannels_ = 0;
  int allStokes_ = 0;
  bool isWhole_ = false;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_CHANNELSELECTIONINTERNAL_H_
