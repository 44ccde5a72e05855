// A change of the IFs and channels of a file, and of the frequencies of its setups.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_FREQUENCYCHANGEINTERNAL_H_
#define ZELTRA_OPS_FREQUENCYCHANGEINTERNAL_H_

#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// The frequencies in an "FQ" table, by row and IF, Hz: columns are found as by AUVXFqTbl, and 0 replaces
/// NaN: see CheckFrequencies.
class SetupFrequencies {
 public:
  explicit SetupFrequencies(const AUVXTable& setups);

  /// Frequency of channel 0 of an IF, relative to that of the header.
  double Start(int row, int IF) const { return Number(row, startColumn, IF); }
  double Width(int row, int IF) const { return Number(row, widthColumn, IF); }
  /// Number of the setup.
  int Id(int row) const;

  // Column numbers, -1 if absent.
  int startColumn = -1, widthColumn = -1, bandwidthColumn = -1, idColumn = -1;

 private:
  double Number(int row, int column, int IF) const;

  const AUVXTable& setups_;
};

/// Each IF of the output is made from one or several of the input, each channel from one or several adjacent ones. All
/// numbers count from 0.
struct FrequencyChange {
  /// The first and the last of a range of places on an axis.
  struct Range {
    int first, last;
    bool operator==(const Range&) const = default;
  };

  /// Frequencies relative to that of the header, Hz.
  struct Span {
    double low, high;
    bool isFilled;  ///< by IFs that neither leave gaps nor overlap
  };

  int IFs = 1;  ///< of the input, at least 1
  int channels = 0;
  std::vector<std::vector<int>> parts;  ///< for each IF of the output, the IFs that it is made from, ascending
  bool isStacked = false;  ///< whether the IFs of a part are averaged channel by channel; otherwise their channels are
                           ///< concatenated
  int first = 0;           ///< the first channel used in each IF
  int used = 0;            ///< how many channels are used in each IF, from there
  int step = 1;            ///< from one output channel to the next
  int width = 1;           ///< how many channels make one output channel
  int count = 0;           ///< number of channels in an output IF
  double leftOut = 0;      ///< from the first setup to the first of those that are kept, Hz

  /// No change.
  static FrequencyChange None(const AUVXHeader& header);

  bool KeepsChannels() const { return first == 0 && step == 1 && width == 1 && used == channels; }
  bool KeepsIFs() const { return static_cast<int>(parts.size()) == IFs; }
  bool JoinsIFs() const;
  bool IsNone() const { return KeepsIFs() && KeepsChannels() && leftOut == 0; }

  /// Frequency of the first channel of an output IF, relative to the input's header, and the width.
  double NewStart(const SetupFrequencies& setups, int row, size_t part) const;
  double NewWidth(const SetupFrequencies& setups, int row, size_t part) const;
  /// The bandwidth of an output IF: where the IFs of a part become one channel and fill a span, it is the whole span.
  double NewBandwidth(const SetupFrequencies& setups, int row, size_t part) const;
  /// What all channels of the IFs of a part cover.
  Span SpanOf(const SetupFrequencies& setups, int row, size_t part) const;
  /// The increase of the header's frequency, which follows the first IF of the first setup.
  double Shift(const AUVXTable& setups) const;
  /// Update the axis lengths and the frequency of a header. @param setups  the "FQ" table, null if there is none
  void Change(AUVXHeader& header, const AUVXTable* setups) const;

  /// Translate channels of IFs to the channels of an output IF that are made only from them.
  /// @return false if an output channel is made from them and from others
  bool Translate(Range ofIFs, Range ofChannels, size_t part, std::vector<Range>& runs) const;
};

/// Check that a table "FQ" gives frequencies for all these IFs in all of its setups.
AResult CheckFrequencies(const std::string& path, const AUVXTable& setups, int IFs);
/// Check that frequencies can be changed. @param setups  the "FQ" table, null if there is none
AResult CheckSetups(const std::string& path, const FrequencyChange& change, const AUVXTable* setups);

}  // namespace zeltra

#endif  // ZELTRA_OPS_FREQUENCYCHANGEINTERNAL_H_
