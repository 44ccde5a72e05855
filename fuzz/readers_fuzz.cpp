// Reading, cutting into intervals, averaging and copying any bytes that open as a UVX file, or as a gain file.
// SPDX-License-Identifier: MIT
#include <memory>
#include <string>

#include "tests/support/MemoryFile.h"
#include "tests/support/TempFile.h"
#include "zeltra/calibration/AGainFileHdr.h"
#include "zeltra/calibration/AGainMeanInfo.h"
#include "zeltra/platform/MessageBox.h"
#include "zeltra/readers/AUVXPosIndex.h"
#include "zeltra/readers/AUVXTimeIntervalRead.h"
#include "zeltra/readers/AWork2UVX.h"
#include "zeltra/uvx/AUVXFqTbl.h"
#include "zeltra/uvx/AUVXSkanList.h"
#include "zeltra/uvx/AUVXTable.h"

namespace {

void ReadGains(const std::string& bytes) {
  static const zeltra::test::TempFile file("gain");
  file.Put(bytes);
  zeltra::AGains gains;
  if (!zeltra::LoadGains(file.path(), gains)) return;
  zeltra::AArray<zeltra::AGainMeanInfo> info;
  zeltra::GetGainMeanInfo(gains.list, info);
  zeltra::GainAverrage(zeltra::AGainArray(gains.list), 60, gains.header.dateObs, gains.list);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  zeltra::SetMessageSink([](const char*) {});
  if (size > 4 && data[0] == 'Z') ReadGains(std::string(reinterpret_cast<const char*>(data), size));
  zeltra::test::MemoryFile input(std::string(reinterpret_cast<const char*>(data), size)), output;
  zeltra::AUVXFile uvx, copy;
  // A header may promise records of any size below 2 GiB; a host makes room for one once it knows that there is one.
  if (!uvx.Attach(&input, 0, 0) || uvx.HeldRecords() < 1) return 0;

  int index = 0;
  zeltra::AUVXPosIndex_FqS list(&uvx, 1, 1, nullptr);
  while (list.GetIndex(index)) {
  }
  zeltra::AUVXRead reader(&uvx, 1, nullptr);
  zeltra::AUVXTIRead intervals(&reader, 2457754, 2457755, 1e-4, 0);
  while (zeltra::AUVXTimeMeanArray* means = intervals.GetTimeInterval()) {
    means->CalculateMean();
    const std::unique_ptr<zeltra::AArray<zeltra::AClosePhItem>> triangles(means->GetClosePhase());
  }
  zeltra::AUVXFqTbl frequencies(uvx, 1);
  (void)frequencies.GetFreq(1, 0);
  const std::unique_ptr<zeltra::AUVXTable> scans(uvx.GetTable("SL"));
  if (scans) (void)zeltra::AUVXSkanList().Create(*scans);
  if (copy.Attach(&output, 1, 0)) (void)zeltra::AWork2UVX(&uvx, &copy, nullptr, nullptr).Run();
  return 0;
}
