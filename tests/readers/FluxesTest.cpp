// SPDX-License-Identifier: MIT
#include "zeltra/readers/AUVXFluxes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/support/MemoryFile.h"
#include "tests/support/SyntheticUVX.h"
#include "zeltra/uvx/AUVXFile.h"

namespace zeltra {
namespace {

using test::MemoryFile;
using test::SyntheticRecord;
using test::SyntheticUVX;

TEST(Fluxes, AreTakenOverTimesAndFrequenciesOfValidValues) {
  const float inf = std::numeric_limits<float>::infinity();
  // 2 channels x 2 polarisations; baselines 1-2, 1-3, 2-3 at two times, source 2 before source 1.
  MemoryFile file(SyntheticUVX()
                      .Sources(2)
                      .Edit([=](SyntheticRecord& record) {
                        record.source = 3 - record.source;
                        record.flag = record.ant1 == 1 && record.ant2 == 3;
                        if (record.ant1 == 1 && record.ant2 == 2)
                          record.values = {{3, 4, 1}, {0, 1, 1}, {6, 8, 1}, {0, 1, 0}};
                        if (record.ant1 == 2) record.values = {{inf, 0, 1}, {NAN, 0, 1}, {1, 0, NAN}, {1e30F, 0, 1}};
                      })
                      .Bytes());
  AUVXFile uvx;
  ASSERT_TRUE(uvx.Attach(&file, 0, 0));
  const AUVXFluxes fluxes(uvx);
  ASSERT_EQ(fluxes.baselines().count(), 6);
  EXPECT_EQ(fluxes.stokes(), 2);
  EXPECT_EQ(fluxes.baselines()(0).source, 1);
  EXPECT_EQ(fluxes.baselines()(5).tlsc1, 2);
  EXPECT_EQ(fluxes.baselines()(3).flag, 0);
  EXPECT_EQ(fluxes.baselines()(4).flag, 1);
  EXPECT_EQ(fluxes(4, 0).count, 0) << "flagged records do not count";
  for (const int baseline : {0, 3}) {
    EXPECT_EQ(fluxes(baseline, 0).count, 4);
    EXPECT_DOUBLE_EQ(fluxes(baseline, 0).mean, 7.5);
    EXPECT_DOUBLE_EQ(fluxes(baseline, 0).scatter, std::sqrt(25.0 / 3));  // of 5, 10, 5, 10
    EXPECT_EQ(fluxes(baseline, 1).count, 2);
    EXPECT_EQ(fluxes(baseline, 1).mean, 1);
    EXPECT_EQ(fluxes(baseline, 1).scatter, 0);
  }
  EXPECT_EQ(fluxes(2, 0).count, 0);
  EXPECT_EQ(fluxes(2, 0).mean, 0);
  EXPECT_EQ(fluxes(2, 1).count, 2);
  EXPECT_FLOAT_EQ(static_cast<float>(fluxes(2, 1).mean), 1e30F);

  int cancel = 1;
  AUVXFluxes cancelled;
  EXPECT_FALSE(cancelled.Create(uvx, nullptr, &cancel));
  EXPECT_EQ(cancelled.baselines().count(), 0);

  MemoryFile cut(SyntheticUVX().Put(16, 1000).Bytes());  // the header claims 1000 records
  AUVXFile tooShort;
  ASSERT_TRUE(tooShort.Attach(&cut, 0, 0));
  EXPECT_FALSE(cancelled.Create(tooShort, nullptr, nullptr));
  EXPECT_EQ(cancelled.baselines().count(), 0);
}

}  // namespace
}  // namespace zeltra
