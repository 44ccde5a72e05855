// What a UVX file says of an observation, gathered from its header and tables.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_OBSERVATION_H_
#define ZELTRA_APPS_OBSERVATION_H_

#include <string>
#include <vector>

#include "apps/zeltra/UVXInput.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXFqTbl.h"
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

/// Everything but the records. Of several tables of one code the first one counts.
struct Observation {
  AUVXHeader header;
  std::vector<std::string> stokesNames;
  std::vector<TableSummary> tables;
  AUVXAntenns antennas;
  double center[3] = {0, 0, 0};  ///< of the array, metres
  AUVXSources sources;
  AUVXPosition scans;
  AUVXFqTbl setups;
  std::vector<std::string> remarks;  ///< one sentence for each table that cannot be read

  explicit Observation(UVXInput& input);

 private:
  void Read(const AUVXTable& table, const std::string& code);
};

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_OBSERVATION_H_
