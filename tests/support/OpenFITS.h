// FITS files made in memory, on disk and open.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_TESTS_SUPPORT_OPENFITS_H_
#define ZELTRA_TESTS_SUPPORT_OPENFITS_H_

#include <gtest/gtest.h>

#include "tests/support/SyntheticFITS.h"
#include "tests/support/TempFile.h"
#include "zeltra/fits/AFITS.h"

namespace zeltra::test {

/// A FITS file with its headers read; `result` tells whether that was possible.
struct OpenFITS {
  explicit OpenFITS(const std::string& bytes) {
    path.Put(bytes);
    EXPECT_TRUE(fits.Open(path.path()));
    result = fits.ReadHeaders();
  }
  explicit OpenFITS(const SyntheticFITS& synthetic) : OpenFITS(synthetic.Bytes()) {}

  TempFile path{"uvfits"};
  AFITS fits;
  int result = 0;
};

}  // namespace zeltra::test

#endif  // ZELTRA_TESTS_SUPPORT_OPENFITS_H_
