// What a UVX file says about its observation: header, table directory, sources, antennas, scans, frequencies.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_AUVXCONTENTS_H_
#define ZELTRA_OPS_AUVXCONTENTS_H_

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/Parse.h"
#include "zeltra/ops/PolarisationChoice.h"
#include "zeltra/ops/UVXSelection.h"
#include "zeltra/uvx/AStokesMix.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXFqTbl.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXHeaderCards.h"
#include "zeltra/uvx/AUVXIntegrations.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXSources.h"

namespace zeltra {

class AUVXInput;
struct AUVXGroup;

/// An entry of the table directory, with what the table says about itself.
struct UVXTableSummary {
  std::string code;
  int id = 0;
  std::string name;
  bool isDamaged = false;  ///< the members taken from the table are then 0
  int rows = 0;
  int columns = 0;
  int rowBytes = 0;
  int64 bytes = 0;
  int64 offset = 0;
};

/// Where a source is in the sky.
struct SkyPosition {
  double ra = 0;       ///< degrees
  double dec = 0;      ///< degrees
  double equinox = 0;  ///< years
};

/// Everything in a file except its records: its header and lists, in which the names that users give are looked up.
/// Selecting something that the file lacks gives a failure that lists what it has.
///
/// Of several tables with the same code, the first one counts; if a table is absent or damaged, its list is empty.
class ZELTRA_API AUVXContents {
 public:
  /// Read the header and all tables. Jobs that have an AUVXInput use its contents, which are read only once.
  explicit AUVXContents(AUVXInput& input);
  AUVXContents(const AUVXContents&) = delete;
  AUVXContents& operator=(const AUVXContents&) = delete;

  const AUVXHeader& header() const { return header_; }
  /// The short names of the stored polarisations, in file order.
  const std::vector<std::string>& polarisations() const { return polarisations_; }
  const AUVXPosition& scans() const { return *scans_; }
  const AUVXSources& sources() const { return sources_; }
  /// The antennas of "AN", or, in a file without it, those of "BL", which have no positions.
  const AUVXAntenns& antennas() const { return antennas_; }
  bool HasAntennaTable() const { return hasAntennaTable_; }
  /// The time scale of all times in the file according to its table "AN", in capitals: "UTC", "IAT", "TAI", ... If the
  /// table does not say, "UTC" by convention.
  const std::string& timeScale() const { return timeScale_; }
  /// The frequencies of each setup.
  const AUVXFqTbl& setups() const { return setups_; }
  /// The table "HD": header cards of the first input that have no field in a UVX file, and the history of the jobs
  /// since.
  const AUVXHeaderCards& cards() const { return cards_; }
  /// The integration times of the records, from "IT"; empty if they are unknown.
  const AUVXIntegrations& integrations() const { return integrations_; }
  /// The tables in the order of the directory.
  const std::vector<UVXTableSummary>& tables() const { return tables_; }
  /// A sentence for each damaged table.
  std::vector<std::string> Remarks() const;

  /// @return a failure if a table that supplies one of the lists is damaged
  AResult CheckLists() const;
  /// Check that the scans of the index follow each other from the first record to the last.
  AResult CheckScans() const;
  /// Check that the index gives the right source and setup for every record: CheckScans, and that the first and the
  /// last record of each scan agree with it.
  /// @param visit  receives each scan with these two records, in file order; may be empty
  using ScanVisitor = std::function<void(const AUVXPositionItem& scan, const AUVXGroup& first, const AUVXGroup& last)>;
  AResult CheckIndex(AUVXInput& input, const ScanVisitor& visit = {}) const;
  /// Replace the times of a scan by those of its first and its last record, seconds since 0 h of the observation date:
  /// an index stores them as floats, and old ones are wrong by up to a minute. Nothing changes if the file does not
  /// hold these records or their times are not numbers.
  AResult ReadTimes(AUVXInput& input, AUVXPositionItem& scan) const;
  /// The failure for a record whose source and setup contradict its scan.
  AResult IndexDenies(int record, const AUVXGroup& group) const;

  // Digits alone are a number, anything else a name, whose case does not matter; `=` marks a name of digits.

  /// Find a source, which must have records according to the index.
  AResult FindSource(const std::string& text, int& number) const;
  /// Find an antenna.
  /// @param number  0 to 255
  AResult FindAntenna(const std::string& text, int& number) const;
  /// Find the antennas of a baseline, as in "2-5" or "PT-LA".
  AResult FindBaseline(const std::string& text, int& first, int& second) const;
  /// A sentence for each number in a selection that is also the name of another source or antenna.
  std::vector<std::string> RemarksOn(const UVXSelection& selection) const;
  /// Find a polarisation by its short name, as in "RR": one that is stored or can be formed.
  AResult FindPolarisation(const std::string& text, AStokesMix& mix) const;
  /// The same, also for PI, and for I of XX and YY.
  AResult FindPolarisation(const std::string& text, PolarisationChoice& polarisation) const;
  /// Find several. @param names  if empty, those stored
  AResult FindPolarisations(const std::vector<std::string>& names, std::vector<PolarisationChoice>& list) const;

  /// Find the IFs, channels and polarisations of a selection.
  AResult FindValues(const UVXSelection& selection, ValuesChoice& values) const;

  /// Convert times relative to the observation date, which must then be known, to Julian dates.
  AResult SettleTimes(std::optional<ATime>& start, std::optional<ATime>& stop) const;

  /// The source numbers of the index, ascending.
  std::vector<int> SourceNumbers() const;
  /// Number and name of sources, as in "1 (3C273), 2 (3C279)".
  std::string SourceList(const std::vector<int>& numbers) const;
  /// The name of a source; empty where it has none.
  std::string SourceName(int number) const;
  /// The coordinates of a source at its equinox, if the file has them, else its apparent ones.
  SkyPosition PositionOf(const AUVXSourceItem& source) const;
  /// The name of an antenna, or its number if it has none.
  std::string AntennaName(int number) const;
  /// Number and name of an antenna, as in "1 (BR)".
  std::string NumberAndName(int antenna) const;

 private:
  void ReadTables(AUVXInput& input);
  double FirstDay() const;
  std::string Damaged(const UVXTableSummary& table) const;
  std::string AntennaList() const;

  std::string path_;
  int records_;
  AUVXHeader header_;
  std::vector<std::string> polarisations_;
  std::shared_ptr<AUVXPosition> scans_;  // shared with readers, as there may be millions
  AUVXSources sources_;
  AUVXAntenns antennas_;
  bool hasAntennaTable_ = false;
  std::string timeScale_ = "UTC";
  AUVXFqTbl setups_;
  AUVXHeaderCards cards_;
  AUVXIntegrations integrations_;
  std::vector<UVXTableSummary> tables_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_AUVXCONTENTS_H_
