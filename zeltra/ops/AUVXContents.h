// What a UVX file says of its observation: header, directory of tables, sources, antennas, scans, frequencies.
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

/// An entry of the table directory with what the table says of itself.
struct UVXTableSummary {
  std::string code;
  int id = 0;
  std::string name;
  bool isDamaged = false;  ///< then what the table says is left at 0
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

/// Everything that a file says but its records: its lists, in which a person's words are looked up. A selection that
/// names something the file lacks gives a failure that lists what is there.
///
/// Of several tables of one code the first one counts; a table that is absent or damaged leaves its list empty.
class ZELTRA_API AUVXContents {
 public:
  /// Read the header and all tables. Jobs that take an AUVXInput ask it for its contents, which are read once.
  explicit AUVXContents(AUVXInput& input);
  AUVXContents(const AUVXContents&) = delete;
  AUVXContents& operator=(const AUVXContents&) = delete;

  const AUVXHeader& header() const { return header_; }
  /// The short names of the polarisations that are stored, in their order.
  const std::vector<std::string>& polarisations() const { return polarisations_; }
  const AUVXPosition& scans() const { return *scans_; }
  const AUVXSources& sources() const { return sources_; }
  /// The antennas of "AN", or those of "BL" in a file without it, which have no positions.
  const AUVXAntenns& antennas() const { return antennas_; }
  bool HasAntennaTable() const { return hasAntennaTable_; }
  /// The time scale that all times of the file count in, as its table "AN" says, in capitals: "UTC", "IAT", "TAI", ...
  /// By convention "UTC" where it says none.
  const std::string& timeScale() const { return timeScale_; }
  /// The frequencies of each setup.
  const AUVXFqTbl& setups() const { return setups_; }
  /// What the header of the first input says beyond the fields of a UVX file, and what became of it: "HD".
  const AUVXHeaderCards& cards() const { return cards_; }
  /// The integration times of the records, from "IT"; none of a file whose times are not known.
  const AUVXIntegrations& integrations() const { return integrations_; }
  /// The tables in the order of the directory.
  const std::vector<UVXTableSummary>& tables() const { return tables_; }
  /// A sentence for each table that is damaged.
  std::vector<std::string> Remarks() const;

  /// @return a failure if a table that one of the lists comes from is damaged
  AResult CheckLists() const;
  /// Make sure that the scans of the index follow each other from the first record to the last.
  AResult CheckScans() const;
  /// Make sure that the index says of every record which source and setup it is of: CheckScans, and the first and the
  /// last record of each scan are as it says.
  /// @param visit  receives each scan with these two records, in the order of the file; may be empty
  using ScanVisitor = std::function<void(const AUVXPositionItem& scan, const AUVXGroup& first, const AUVXGroup& last)>;
  AResult CheckIndex(AUVXInput& input, const ScanVisitor& visit = {}) const;
  /// Give a scan the times of its first and its last record, seconds since 0 h of the observation date: an index has
  /// them as floats, old ones wrong by up to a minute. Nothing changes where these records are not in the file or where
  /// their times are no numbers.
  AResult ReadTimes(AUVXInput& input, AUVXPositionItem& scan) const;
  /// The failure of a record that is not of the source and setup of its scan.
  AResult IndexDenies(int record, const AUVXGroup& group) const;

  // A word of digits is a number, any other a name, in capitals or not; `=` before it makes a name of digits too.

  /// Find a source, which must have records by the index.
  AResult FindSource(const std::string& text, int& number) const;
  /// Find an antenna.
  /// @param number  0 to 255
  AResult FindAntenna(const std::string& text, int& number) const;
  /// Find the antennas of a baseline, as in "2-5" or "PT-LA".
  AResult FindBaseline(const std::string& text, int& first, int& second) const;
  /// A sentence for each number of a selection that is the name of another source or antenna too.
  std::vector<std::string> RemarksOn(const UVXSelection& selection) const;
  /// Find a polarisation by its short name, as in "RR": one that is stored, or one that can be formed.
  AResult FindPolarisation(const std::string& text, AStokesMix& mix) const;
  /// The same, also PI, and I of XX and YY.
  AResult FindPolarisation(const std::string& text, PolarisationChoice& polarisation) const;
  /// Find several. @param names  none: those that are stored
  AResult FindPolarisations(const std::vector<std::string>& names, std::vector<PolarisationChoice>& list) const;

  /// Find the IFs, channels and polarisations of a selection.
  AResult FindValues(const UVXSelection& selection, ValuesChoice& values) const;

  /// Make Julian dates of times that count from the observation date, which must be known then.
  AResult SettleTimes(std::optional<ATime>& start, std::optional<ATime>& stop) const;

  /// The source numbers of the index, ascending.
  std::vector<int> SourceNumbers() const;
  /// Number and name of sources, as in "1 (3C273), 2 (3C279)".
  std::string SourceList(const std::vector<int>& numbers) const;
  /// The name of a source; empty where it has none.
  std::string SourceName(int number) const;
  /// The coordinates of a source at its equinox, as far as the file has them, or else its apparent ones.
  SkyPosition PositionOf(const AUVXSourceItem& source) const;
  /// The name of an antenna, or its number where it has none.
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
  std::shared_ptr<AUVXPosition> scans_;  // millions of scans are possible, so that readers share the list
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
