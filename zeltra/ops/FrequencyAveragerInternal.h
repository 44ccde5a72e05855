// Writes a UVX file of means over channels and IFs.
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

/// What is averaged, and how the history describes it.
struct FrequencyAverage {
  FrequencyChange change;
  bool needsAll = false;    ///< see FrequencyMeans
  UVXSelection selection;   ///< of the records
  std::vector<int> setups;  ///< numbers of those to keep in "FQ", ascending; empty: all
  std::string command;      ///< for HISTORY: see AJobDescription::Command
};

/// Check that the records of a file can be averaged over frequency, and read its setups: at least one, with columns
/// that fill the rows.
AResult OpenSetups(AUVXInput& from, std::unique_ptr<AUVXTable>& setups);
/// Remove all other setups from "FQ".
void KeepSetups(AUVXTable& setups, const std::vector<int>& numbers);

/// Write means of the records with the tables of `from`, changed as by FrequencyTables. u, v, w are light travel times,
/// which do not depend on frequency.
/// @param setups   the "FQ" table of `from`, with only the setups to keep
/// @param summary  remarks are appended to it
AResult AverageFrequencies(AUVXInput& from, const std::string& to, const JobOptions& options,
                           const FrequencyAverage& average, const AUVXTable& setups, CopySummary& summary);

}  // namespace zeltra

#endif  // ZELTRA_OPS_FREQUENCYAVERAGERINTERNAL_H_
