// What becomes of the IFs and channels of a file, and of the frequencies of its setups.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_FREQUENCYCHANGEINTERNAL_H_
#define ZELTRA_OPS_FREQUENCYCHANGEINTERNAL_H_

#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// The frequencies of an "FQ" table, by row and IF, Hz: columns as AUVXFqTbl finds them, 0 for what is no number.
class SetupFrequencies {
 public:
  explicit SetupFrequencies(const AUVXTable& setups);

  /// Frequency of channel 0 of an IF, beside that of the header.
  double Start(int row, int IF) const { return Number(row, startColumn, IF); }
  double Width(int row, int IF) const { return Number(row, widthColumn, IF); }
  /// Number of the setup.
  int Id(int row) const;

  // Places of the columns, -1 where there is none.
  int startColumn = -1, widthColumn = -1, bandwidthColumn = -1, idColumn = -1;

 private:
  double Number(int row, int column, int IF) const;

  const AUVXTable& setups_;
};

/// IFs of the output are made of one of the input each or of several, channels of one or of several that follow each
/// other. All numbers count from 0.
struct FrequencyChange {
  /// The first and the last of some places on an axis.
  struct Range {
    int first, last;
    bool operator==(const Range&) const = default;
  };

  int IFs = 1;  ///< of the input, at least 1
  int channels = 0;
  std::vector<std::vector<int>> parts;  ///< for each IF of the output the IFs, ascending, that it is made of
  bool isStacked =
      false;      ///< IFs of a part are averaged channel by channel; otherwise their channels follow each other
  int first = 0;  ///< the first channel of an IF that is used
  int used = 0;   ///< channels of an IF that are used, from there
  int step = 1;   ///< from one channel of the output to the next
  int width = 1;  ///< channels that a channel of the output is made of
  int count = 0;  ///< channels of an IF of the output

  /// Everything as it is.
  static FrequencyChange None(const AUVXHeader& header);

  bool KeepsChannels() const { return first == 0 && step == 1 && width == 1 && used == channels; }
  bool KeepsIFs() const { return static_cast<int>(parts.size()) == IFs; }
  bool JoinsIFs() const;
  bool IsNone() const { return KeepsIFs() && KeepsChannels(); }

  /// Frequency of the first channel of an IF of the output, where that of the header stays, and the width.
  double NewStart(const SetupFrequencies& setups, int row, size_t part) const;
  double NewWidth(const SetupFrequencies& setups, int row, size_t part) const;
  /// What the frequency of the header grows by: it follows the first IF of the first setup.
  double Shift(const AUVXTable& setups) const;
  /// Give a header the lengths of the axes, and the frequency. @param setups  the "FQ" table, null if there is none
  void Change(AUVXHeader& header, const AUVXTable* setups) const;

  /// Translate some channels of some IFs into those channels of an IF of the output that are made of them alone.
  /// @return false if a channel of the output is made of them and of others
  bool Translate(Range ofIFs, Range ofChannels, size_t part, std::vector<Range>& runs) const;
};

/// Make sure that frequencies can be changed. @param setups  the "FQ" table, null if there is none
AResult CheckSetups(const std::string& path, const FrequencyChange& change, const AUVXTable* setups);

}  // namespace zeltra

#endif  // ZELTRA_OPS_FREQUENCYCHANGEINTERNAL_H_
