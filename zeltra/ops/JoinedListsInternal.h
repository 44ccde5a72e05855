// The sources, antennas and setups of several files as one list each.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_JOINEDLISTSINTERNAL_H_
#define ZELTRA_OPS_JOINEDLISTSINTERNAL_H_

#include <array>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/RowNumbersInternal.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// The numbers in the joined lists of the sources, antennas and setups that an input lists.
struct JoinedNumbers {
  std::map<int, int> sources, antennas, setups;

  const std::map<int, int>& Of(RowNumber kind) const {
    return kind == RowNumber::Source ? sources : kind == RowNumber::Setup ? setups : antennas;
  }
};

/// Joins "SU", "AN" and "FQ" of several inputs. A source, antenna or setup that is known already gets the number it
/// has; a new one keeps its own, or gets the lowest free one if that is taken. The first input keeps all its numbers,
/// and what has different numbers in one input never gets the same one.
class JoinedLists {
 public:
  /// Add the lists of the next input.
  /// @return a failure that names what contradicts an earlier input, or what no number is left for
  AResult Add(AUVXInput& input, JoinedNumbers& numbers);

  /// What a number of an input becomes; none if the input does not list it while another input has something of that
  /// number.
  std::optional<int> NumberOf(const JoinedNumbers& numbers, RowNumber kind, int number) const;
  /// Why there is no number: what the input does not list, and which other input has something of that number.
  std::string ReasonOf(const JoinedNumbers& numbers, RowNumber kind, int number) const;
  /// The joined table "SU", "AN" or "FQ"; null if no input has it.
  AUVXTable* Table(const std::string& code);

 private:
  // A source or an antenna.
  struct Thing {
    std::string name;
    int qualifier = 0;
    std::array<double, 4> place = {};  // unit vector and equinox, or position in metres
    int number = 0;
    int input = 0;
    int matched = -1;  // the last input that has it too
  };
  struct List {
    std::string what, unit;
    double tolerance, scale;  // of differences in place; value of the unit
    int most;
    std::vector<Thing> things;
    std::map<int, int> taken;  // numbers, and the inputs that have them
    AUVXTable table;
    bool isThere = false;
  };
  struct Setup {
    std::vector<double> frequencies;
    int number = 0;
    int input = 0;
    int matched = -1;
  };

  AResult AddSources(AUVXInput& input, JoinedNumbers& numbers);
  AResult AddAntennas(AUVXInput& input, JoinedNumbers& numbers);
  AResult AddSetups(AUVXInput& input, JoinedNumbers& numbers);
  int CurrentInput() const { return static_cast<int>(paths_.size()) - 1; }
  AResult Place(List& list, Thing thing, const AUVXTable& table, int row, std::map<int, int>& numbers);
  AResult Append(List& list, const AUVXTable& table, int row, int number) const;
  AResult Begin(List& list, AUVXInput& input, const AUVXTable& table) const;
  bool TakeNumber(List& list, int wanted, int& number) const;
  const List& ListOf(RowNumber kind) const {
    return kind == RowNumber::Source ? sources_ : kind == RowNumber::Setup ? setups_ : antennas_;
  }

  std::vector<std::string> paths_;  // of the inputs so far
  List sources_ = {"source", "mas", kRadiansPerMas, kRadiansPerMas, 32767, {}, {}, {}, false};
  List antennas_ = {"antenna", "m", 1, 1, 255, {}, {}, {}, false};
  List setups_ = {"setup", "Hz", 1e3, 1, 127, {}, {}, {}, false};
  std::vector<Setup> knownSetups_;
  double freq0_ = 0;
  std::array<double, 3> center_ = {};
  std::string hand_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_JOINEDLISTSINTERNAL_H_
