// A UVX file of means over channels and IFs.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_FREQUENCYAVERAGERINTERNAL_H_
#define ZELTRA_OPS_FREQUENCYAVERAGERINTERNAL_H_

#include <memory>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/CopyUVX.h"
#include "zeltra/ops/FrequencyChangeInternal.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra {

/// What is averaged, and how it is told.
struct FrequencyAverage {
  FrequencyChange change;
  bool needsAll = false;    ///< see FrequencyMeans
  UVXSelection selection;   ///< of the records
  std::vector<int> setups;  ///< numbers of those that stay in "FQ", ascending; none: all
  std::string command;      ///< for HISTORY: see AJobDescription::Command
};

/// Make sure that the records of a file can be averaged over frequency, and read its setups, of which there is one at
/// least, with columns that fill the rows.
AResult OpenSetups(AUVXInput& from, std::unique_ptr<AUVXTable>& setups);
/// Take out of "FQ" the setups that do not stay.
void KeepSetups(AUVXTable& setups, const std::vector<int>& numbers);

/// Write means of the records with the tables of `from`, changed as FrequencyTables does. u, v, w are times of light
/// travel, which do not depend on frequency.
/// @param setups   the "FQ" table of `from`, without the setups that do not stay
/// @param summary  gets remarks behind those that it has
AResult AverageFrequencies(AUVXInput& from, const std::string& to, const JobOptions& options,
                           const FrequencyAverage& average, const AUVXTable& setups, CopySummary& summary);

}  // namespace zeltra

#endif  // ZELTRA_OPS_FREQUENCYAVERAGERINTERNAL_H_
