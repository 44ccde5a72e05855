// UV FITS import of any bytes: a clear error or a file that opens.
// SPDX-License-Identifier: MIT
#include <cstdlib>

#include "tests/support/TempFile.h"
#include "zeltra/interchange/ImportUVFITS.h"
#include "zeltra/uvx/AUVXFile.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const zeltra::test::TempFile input("uvfits"), output("uvx");
  input.Put(std::string(reinterpret_cast<const char*>(data), size));
  zeltra::JobOptions options;
  options.overwrite = true;
  options.sync = false;
  zeltra::ImportSummary summary;
  const zeltra::AResult result = zeltra::ImportUVFITS(input.path(), output.path(), options, &summary);
  zeltra::AUVXFile uvx;
  if (result ? !uvx.Open(output.c_str(), 0) || uvx.HeldRecords() != summary.records : result.message().empty()) {
    std::abort();
  }
  return 0;
}
