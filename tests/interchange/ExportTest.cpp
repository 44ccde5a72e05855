// SPDX-License-Identifier: MIT
#include "tests/support/SyntheticUVX.h"
#include "tests/support/TempFile.h"
#include "tests/support/Test.h"
#include "zeltra/interchange/ExportUVFITS.h"
#include "zeltra/interchange/ImportUVFITS.h"

namespace zeltra::test {
namespace {

// The import adds w to 0, so that -0 does not come back; the builder's first w is -0.
void NoNegativeZero(SyntheticRecord& r) {
  r.w += 0.0f;
}

// A file that is exported to UV FITS and imported again has the same records.
void ExpectSameRecordsBack(const SyntheticUVX& builder) {
  const TempFile uvx("uvx"), fits("uvfits"), back("uvx");
  uvx.Put(builder.Bytes());
  const AResult exported = ExportUVFITS(uvx.path(), fits.path(), JobOptions());
  ASSERT_TRUE(exported) << exported.message();
  const AResult imported = ImportUVFITS(fits.path(), back.path(), JobOptions(), nullptr);
  ASSERT_TRUE(imported) << imported.message();
  const size_t bytes = builder.Records().size() * static_cast<size_t>(builder.RecordBytes());
  const std::string before = uvx.Bytes().substr(SyntheticUVX::kDataOffset, bytes);
  const std::string after = back.Bytes().substr(SyntheticUVX::kDataOffset, bytes);
  const auto at = std::mismatch(before.begin(), before.end(), after.begin(), after.end()).first - before.begin();
  EXPECT_TRUE(before == after) << "record " << at / builder.RecordBytes() << ", byte " << at % builder.RecordBytes();
}

TEST(Export, KeepsTheFlagsOfRecords) {
  ExpectSameRecordsBack(SyntheticUVX().Edit([](SyntheticRecord& r) {
    NoNegativeZero(r);
    r.flag = r.index == 4;
  }));
}

TEST(Export, KeepsANumberedSourceAndAntennasBeyond127) {
  ExpectSameRecordsBack(SyntheticUVX().Tables().Edit([](SyntheticRecord& r) {
    NoNegativeZero(r);
    r.source = 7;
    r.ant2 = 255;
  }));
}

TEST(Export, LosesNoBitOfATime) {
  // Every step of a Julian date that a double resolves, from one hundredth of a day to the next and beyond.
  ExpectSameRecordsBack(SyntheticUVX().Antennas(2).Times(20000).Channels(1).Stokes({1}).Edit([](SyntheticRecord& r) {
    NoNegativeZero(r);
    r.date = SyntheticUVX::kDateObs + 0.37 + r.index * 1201 * 4.656612873077393e-10;
  }));
}

TEST(Export, RefusesWhatItCannotWrite) {
  const TempFile uvx("uvx"), fits("uvfits");
  const auto refusal = [&](const SyntheticUVX& builder) {
    uvx.Put(builder.Bytes());
    const AResult result = ExportUVFITS(uvx.path(), fits.path(), JobOptions());
    EXPECT_FALSE(fits.exists());
    return result.message();
  };
  EXPECT_NE(refusal(SyntheticUVX().Uncommitted()).find("not a UVX file"), std::string::npos);
  EXPECT_NE(refusal(SyntheticUVX().Stokes({-1, -2, 1})).find("axis of constant steps"), std::string::npos);
  EXPECT_NE(refusal(SyntheticUVX().Cut(700)).find("records that its header promises"), std::string::npos);
}

}  // namespace
}  // namespace zeltra::test
