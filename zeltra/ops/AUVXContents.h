// What can be selected from a UVX file: sources, frequency setups, antennas, polarisations.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_AUVXCONTENTS_H_
#define ZELTRA_OPS_AUVXCONTENTS_H_

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/Parse.h"
#include "zeltra/uvx/AStokesMix.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXSources.h"

namespace zeltra {

class AUVXInput;

/// The lists of a file, in which a person's words are looked up. A selection that names something the file lacks gives
/// a failure that lists what is there.
class ZELTRA_API AUVXContents {
 public:
  /// Read the header and the tables "NX", "SU" and "AN"; a table that is absent or damaged leaves its list empty. The
  /// antennas of a file without "AN" are those of "BL".
  explicit AUVXContents(AUVXInput& input);

  const AUVXHeader& header() const { return header_; }
  const AUVXPosition& scans() const { return *scans_; }
  /// The same list, for readers that outlive the object.
  std::shared_ptr<AUVXPosition> sharedScans() const { return scans_; }
  const AUVXSources& sources() const { return sources_; }
  const AUVXAntenns& antennas() const { return antennas_; }

  /// Make sure that the index says of every record which source and setup it is of: its scans follow each other from
  /// the first record to the last, and the first and the last record of each are as it says.
  AResult CheckIndex(AUVXInput& input) const;

  /// Find the source that `text` names, by number or by name without regard to case; it must have records.
  AResult FindSource(const std::string& text, int& number) const;
  /// Find an antenna by number or by name without regard to case.
  /// @param number  0 to 255
  AResult FindAntenna(const std::string& text, int& number) const;
  /// Find a polarisation by its short name, as in "RR": one that is stored, or one that can be formed.
  AResult FindPolarisation(const std::string& text, AStokesMix& mix) const;

  /// Make Julian dates of times that count from the observation date, which must be known then.
  AResult SettleTimes(std::optional<ATime>& start, std::optional<ATime>& stop) const;

  /// The source numbers of the index, ascending.
  std::vector<int> SourceNumbers() const;
  /// Number and name of sources, as in "1 (3C273), 2 (3C279)".
  std::string SourceList(const std::vector<int>& numbers) const;

 private:
  std::string AntennaList() const;

  std::string path_;
  AUVXHeader header_;
  std::shared_ptr<AUVXPosition> scans_;  // millions of scans are possible, so that copies share the list
  AUVXSources sources_;
  AUVXAntenns antennas_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_AUVXCONTENTS_H_
