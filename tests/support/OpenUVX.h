// UVX files made in memory and open.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_TESTS_SUPPORT_OPENUVX_H_
#define ZELTRA_TESTS_SUPPORT_OPENUVX_H_

#include <gtest/gtest.h>

#include <memory>

#include "tests/support/MemoryFile.h"
#include "tests/support/SyntheticUVX.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra::test {

/// A UVX file; `result` tells whether it could be opened.
struct OpenUVX {
  explicit OpenUVX(const std::string& bytes) : file(bytes), result(uvx.Attach(&file, 0, 0)) {}
  explicit OpenUVX(const SyntheticUVX& builder) : OpenUVX(builder.Bytes()) { EXPECT_TRUE(result); }
  std::unique_ptr<AUVXTable> Table(const char* code) { return std::unique_ptr<AUVXTable>(uvx.GetTable(code)); }

  MemoryFile file;
  AUVXFile uvx;
  int result;
};

}  // namespace zeltra::test

#endif  // ZELTRA_TESTS_SUPPORT_OPENUVX_H_
