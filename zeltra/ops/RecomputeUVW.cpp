// SPDX-License-Identifier: MIT
#include "zeltra/ops/RecomputeUVW.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/KeptScansInternal.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/ops/UVWModelInternal.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

class UVWCopy {
 public:
  UVWCopy(AUVXInput& from, const JobOptions& options, UVWDifference& difference)
      : from_(from),
        options_(options),
        difference_(difference),
        integrations_(from.contents().integrations()),
        model_(from.contents(), difference.frame) {}

  AResult Run(const std::string& to);

 private:
  AResult CopyRecord(const WalkedRecord& record);
  void Compare(const AUVXGroup& before, const AUVXGroup& after);
  void FinishDifference();

  AUVXInput& from_;
  const JobOptions& options_;
  UVWDifference& difference_;
  AUVXIntegrationCursor integrations_;
  UVWModel model_;
  double given_[3] = {};  // sums of squares of the coordinates in the file
  AUVXWriter writer_;
  std::optional<KeptScans> scans_;
};

AResult UVWCopy::Run(const std::string& to) {
  AResult result = writer_.Create(to, AUVXHeader(from_.uvx()), options_, from_.path());
  if (!result) return result;
  scans_.emplace(from_, writer_, 0);
  SendProgressText(options_.progress, "Computing u, v, w...");
  AResult copied = AResult::Ok();
  result = WalkRecords(from_, options_, 0, from_.uvx().count(), [&](const WalkedRecord& record) {
    copied = CopyRecord(record);
    return static_cast<bool>(copied);
  });
  if (!copied) return copied;
  if (!result) return result;
  FinishDifference();
  result = CopyTables(from_, writer_, UVWDescription().Command(options_), [&](AUVXTable& table) {
    DropUnusedRows(table, writer_.baseLines());
    return true;
  });
  return result ? writer_.Finish() : result;
}

AResult UVWCopy::CopyRecord(const WalkedRecord& record) {
  AUVXGroup group = record.group;
  AVector uvw = {};
  if (!model_.Compute(group, uvw)) return model_.Missing(from_.path(), record);
  group.uu = static_cast<float>(uvw.x);
  group.vv = static_cast<float>(uvw.y);
  group.ww = static_cast<float>(uvw.z);
  Compare(record.group, group);
  writer_.SetIntegration(integrations_.Stored(record.index));
  scans_->Enter(record.index);
  return writer_.Append(group, record.values);
}

void UVWCopy::Compare(const AUVXGroup& before, const AUVXGroup& after) {
  const double distances[] = {after.u() - before.u(), after.v() - before.v(), after.w() - before.w()};
  const double squares = distances[0] * distances[0] + distances[1] * distances[1] + distances[2] * distances[2];
  if (!std::isfinite(squares)) return;
  ++difference_.records;
  for (int i = 0; i < 3; ++i) {
    difference_.largest[i] = std::max(difference_.largest[i], std::fabs(distances[i]));
    difference_.rms[i] += distances[i] * distances[i];
  }
  const double given[] = {before.u(), before.v(), before.w()};
  for (int i = 0; i < 3; ++i) given_[i] += given[i] * given[i];
}

void UVWCopy::FinishDifference() {
  // Some programs leave w at 0.
  const bool hasW = given_[2] > 0;
  const double(&squares)[3] = difference_.rms;
  const double given = given_[0] + given_[1] + given_[2];
  difference_.relative = std::sqrt((squares[0] + squares[1] + (hasW ? squares[2] : 0)) / given);
  for (double& rms : difference_.rms) rms = difference_.records > 0 ? std::sqrt(rms / difference_.records) : 0;
}

AResult CopyWithUVW(AUVXInput& from, const std::string& to, const JobOptions& options, UVWDifference& difference) {
  if (AResult result = from.contents().CheckLists(); !result) return result;
  if (AResult result = from.CheckTables(); !result) return result;
  if (AResult result = from.CheckRecordSize(); !result) return result;
  for (const char* code : {"AN", "SU"}) {
    if (!from.Table(code)) return AResult::Fail(from.path() + ": has no table " + code);
  }
  if (AResult result = FindUVWFrame(from, difference.frame); !result) return result;
  return UVWCopy(from, options, difference).Run(to);
}

}  // namespace

AResult RecomputeUVW(AUVXInput& from, const std::string& to, const JobOptions& options, UVWDifference& difference) {
  difference = UVWDifference();
  AResult result = CopyWithUVW(from, to, options, difference);
  return result ? result : from.Settle(result);
}

}  // namespace zeltra
