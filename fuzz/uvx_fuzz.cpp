// Opening any bytes as a UVX file, with its tables, lists and records.
// SPDX-License-Identifier: MIT
#include <memory>

#include "tests/support/TempFile.h"
#include "zeltra/interchange/ExportUVFITS.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXFreqs.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXSources.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXVisibility.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const zeltra::test::TempFile input("uvx"), output("uvfits");
  input.Put(std::string(reinterpret_cast<const char*>(data), size));
  zeltra::AUVXFile uvx;
  if (!uvx.Open(input.c_str(), 0)) return 0;
  for (const char* code : {"AN", "SU", "NX", "FQ", "BL"}) {
    const std::unique_ptr<zeltra::AUVXTable> table(uvx.GetTable(code));
    if (!table) continue;
    zeltra::AUVXAntenns antennas(*table);
    zeltra::AUVXAntennsEx extended(*table);
    zeltra::AUVXSources sources(*table);
    sources.CorrectRADEC(2451545.0);
    zeltra::AUVXPosition positions(*table);
    zeltra::AUVXBaseLines baselines(*table);
    (void)antennas.ForID(1);
    (void)sources.ForID(1);
    (void)positions.CountForSrc(1);
  }
  // A header may promise records of any size below 2 GiB; a host makes room for one once it knows that there is one.
  if (uvx.HeldRecords() > 0) {
    zeltra::AUVXFreqs freqs(uvx, 1);
    zeltra::AUVXGroup group;
    zeltra::AUVXVisibility visibility(uvx);
    uvx.SeekUVGroup(0);
    for (int i = uvx.HeldRecords(); i > 0 && group.load(uvx) && visibility.load(uvx); --i) {
    }
  }
  uvx.Close();
  zeltra::JobOptions options;
  options.overwrite = true;
  options.sync = false;
  (void)zeltra::ExportUVFITS(input.path(), output.path(), options);
  return 0;
}
