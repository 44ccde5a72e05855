// The files that a job reads and makes.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_TESTS_SUPPORT_JOBFILES_H_
#define ZELTRA_TESTS_SUPPORT_JOBFILES_H_

#include <gtest/gtest.h>

#include <string>

#include "tests/support/SyntheticUVX.h"
#include "tests/support/TempFile.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra::test {

// A synthetic file that is open for jobs.
class Source : public AUVXInput {
 public:
  explicit Source(const SyntheticUVX& builder) : file_("uvx") {
    file_.Put(builder.Bytes());
    const AResult result = Open(file_.path());
    EXPECT_TRUE(result) << result.message();
  }

 private:
  TempFile file_;
};

// What a job made.
class Made : public TempFile, public AUVXInput {
 public:
  Made() : TempFile("uvx") {}
  void Look() {
    const AResult result = Open(TempFile::path());
    ASSERT_TRUE(result) << result.message();
  }
  const std::string& path() const { return TempFile::path(); }
  AUVXGroup Group(int record) {
    AUVXGroup group;
    EXPECT_TRUE(uvx().SeekUVGroup(record) && group.load(uvx()));
    return group;
  }
};

inline std::string Image(AUVXInput& input, const std::string& code) {
  const auto table = input.Table(code);
  return table ? std::string(table->data(), static_cast<size_t>(table->rows()) * static_cast<size_t>(table->rowBytes()))
               : "none";
}

inline std::string Error(const AResult& result) {
  EXPECT_EQ(result.code(), AResult::Failed);
  return result.message();
}

}  // namespace zeltra::test

#endif  // ZELTRA_TESTS_SUPPORT_JOBFILES_H_
