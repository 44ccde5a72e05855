// A choice of IFs, channels and polarisations, and what it makes of header, values and tables.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_CHANNELSELECTIONINTERNAL_H_
#define ZELTRA_OPS_CHANNELSELECTIONINTERNAL_H_

#include <memory>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra {

/// Sort the places on an axis that are asked for, from 0, and make each unique; none at all become all `count` ones.
/// @param what  names the axis in the sentence of a place that there is not
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
  bool IsWhole() const;
  /// Whether all IFs and channels are kept.
  bool KeepsFrequencies() const { return KeepsIFs() && static_cast<int>(channels_.size()) == allChannels_; }

  /// Give a header the axis lengths of the selection, and the frequency of its first channel.
  /// @param setups  the "FQ" table, null if there is none
  void Change(AUVXHeader& header, const AUVXTable* setups) const;

  /// Pick the values of a record; `out` has the shape of the selection.
  void Pick(const AUVXVisibility& in, AUVXVisibility& out) const;

  /// Whether the frequencies of a file stay right: those of the header move, so that those of the table have to follow.
  /// @param setups  the "FQ" table, null if there is none
  AResult CheckFrequencies(const std::string& path, const AUVXTable* setups) const;
  /// Whether this is a table "FQ", "SU" or "AN" whose columns fill its rows.
  bool CanReduce(const AUVXTable& table) const;
  /// Reduce such a table to the IFs kept, "FQ" also to the channels.
  /// @return false for another table: it stays as it is
  bool Reduce(AUVXTable& table) const;
  /// Reduce a table where IFs or channels are left out. @param others  grows by the code of one that stays as it is
  void ReduceOrTell(AUVXTable& table, std::string& others) const;
  /// What a person should know of these tables.
  static std::string RemarkOn(const std::string& others) {
    return "tables whose columns for IFs or channels are copied as they are: " + others;
  }

 private:
  bool KeepsIFs() const { return static_cast<int>(ifs_.size()) == allIFs_; }
  int ChannelStep() const { return channels_.size() > 1 ? channels_[1] - channels_[0] : 1; }
  double Shift(const AUVXTable& setups) const;
  void MoveFrequencies(AUVXTable& setups) const;
  AUVXTable KeepElements(const AUVXTable& table) const;
  int BlockOf(const AUVXTable& table, int column) const;

  std::vector<int> ifs_;
  std::vector<int> channels_;
  std::vector<int> stokes_;
  int allIFs_ = 1;
  int allChannels_ = 0;
  int allStokes_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_CHANNELSELECTIONINTERNAL_H_
