// What a UVX file says of an observation, gathered from its header and tables.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_OBSERVATION_H_
#define ZELTRA_APPS_OBSERVATION_H_

#include <string>
#include <vector>

#include "apps/zeltra/UVXInput.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXSources.h"

namespace zeltra::app {

/// An entry of the table directory with what the table says of itself.
struct TableSummary {
  std::string code;
  int id = 0;
  std::string name;
  int rows = 0;
  int columns = 0;
  int rowBytes = 0;
  int64 bytes = 0;
  int64 offset = 0;
};

/// A frequency setup: a row of "FQ".
struct SetupSummary {
  struct IF {
    double start = 0;  ///< frequency of channel 0, Hz
    double delta = 0;  ///< channel increment, Hz
  };
  int id = 0;
  std::vector<IF> ifs;
};

/// Everything but the records. Of several tables of one code the first one counts.
struct Observation {
  AUVXHeader header;
  std::vector<std::string> stokesNames;
  std::vector<TableSummary> tables;
  AUVXAntenns antennas;
  double center[3] = {0, 0, 0};  ///< of the array, metres
  AUVXSources sources;
  AUVXPosition scans;
  std::vector<SetupSummary> setups;
  std::vector<std::string> remarks;  ///< one sentence for each table that cannot be read

  explicit Observation(UVXInput& input);

 private:
  void ReadSetups(const AUVXTable& table);
};

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_OBSERVATION_H_
