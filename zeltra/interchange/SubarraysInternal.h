// The subarrays of a UV FITS file, merged into one list of antennas.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_SUBARRAYSINTERNAL_H_
#define ZELTRA_INTERCHANGE_SUBARRAYSINTERNAL_H_

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// The subarrays that the groups of a file belong to, their antennas and times.
///
/// Order of calls:
///   Count     for each group
///   AddArray  for the table "AN" of each subarray that has groups, ascending
///   Finish    when all of them have been added
class Subarrays {
 public:
  /// The largest number of a subarray: BASELINE holds it in hundredths.
  static constexpr int kMost = 100;
  /// Antennas of one name that are this close together are the same, metres.
  static constexpr double kSamePlace = 1;

  void Count(int subarray, double time);
  const std::vector<int>& Present() const { return present_; }
  bool Has(int subarray) const { return groups_[static_cast<size_t>(subarray)].count > 0; }

  /// Add the antennas of a table to the list. An antenna whose name and place are in the list takes its number there;
  /// any other keeps its own number, or takes the lowest free one if that is in use. The first table keeps its numbers.
  /// Of several rows with one number the first counts. Positions become absolute where the centres or frames of the
  /// arrays differ.
  /// @return a failure, without the name of the file, where antennas contradict each other or do not fit
  AResult AddArray(int subarray, const AUVXTable& table, std::vector<std::string>& remarks);
  /// Find the numbers of subarrays without a table, and how far times are set back.
  /// @param dateObs  Julian date of the observation, 0 if unknown
  /// @param only     the only subarray that matters; 0: all do
  void Finish(double dateObs, int only, std::vector<std::string>& remarks);

  /// Whether several tables have been merged.
  bool IsMerged() const { return arrays_ > 1; }
  /// Whether the list has a table.
  bool HasTable() const { return arrays_ > 0; }
  AUVXTable& table() { return table_; }
  /// The number in the list; 0 for an antenna that is missing from the table of its subarray.
  int NumberOf(int subarray, int antenna) const {
    return IsMerged() ? numbers_[static_cast<size_t>(subarray)][static_cast<size_t>(antenna)] : antenna;
  }
  /// How many days the times of a subarray are ahead.
  double DaysAhead(int subarray) const { return groups_[static_cast<size_t>(subarray)].daysAhead; }
  bool IsSetBack() const;
  /// Whether a change of subarray ends a scan, which it does where they observe one after the other. Records of
  /// subarrays that observe at the same time are interleaved, and count as those of one array.
  bool EndScans() const { return endScans_; }
  /// Renumber the antennas of another table, which has a column for their subarray, to match the list.
  void Renumber(AUVXTable& table) const;

 private:
  struct Groups {
    int64 count = 0;
    double first = std::numeric_limits<double>::infinity(), last = -first;  // Julian dates
    double daysAhead = 0;
  };
  struct Antenna {
    std::string name;
    double position[3];  // metres
    int number, subarray;
  };

  AResult AddAntenna(int subarray, const Antenna& antenna, const AUVXTable& table, int row, int& number);
  void MakeAbsolute();
  bool AreApart() const;
  void AppendRow(const Antenna& antenna, const AUVXTable& table, int row);
  int FreeNumber(int wanted) const;

  std::array<Groups, kMost + 1> groups_;
  std::vector<int> present_;  // ascending
  std::array<std::array<int, 256>, kMost + 1> numbers_ = {};
  AUVXTable table_;
  std::vector<Antenna> antennas_;
  int arrays_ = 0;
  int firstArray_ = 0;
  bool isAbsolute_ = false;
  bool endScans_ = false;
  std::array<double, 3> center_ = {};
  std::string frame_, hand_;
};

/// Take the rows of other subarrays out of a table that has a column for them, and give the rest the number 1, which
/// the only subarray of a file has. Rows for all subarrays, whose number is 0 or less, stay as they are.
void KeepSubarray(AUVXTable& table, int subarray);

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_SUBARRAYSINTERNAL_H_
