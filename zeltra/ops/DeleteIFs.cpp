// SPDX-License-Identifier: MIT
#include "zeltra/ops/DeleteIFs.h"

#include <algorithm>

#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/ops/CopyPartInternal.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra {
namespace {

AJobDescription DescribeDeleteIFs() {
  AJobDescriber<DeleteIFsOptions> job(
      "delete-if", "Delete IFs",
      "Records lose the values of these IFs, tables their elements: frequencies, polarisation terms, gains, system "
      "temperatures, bandpasses. The remaining IFs are renumbered, in the flag table too; its entries only about "
      "deleted IFs are removed. The frequency of the header becomes that of the first remaining IF.");
  job.Input({"IN", "UVX, or UV FITS, which is imported first", "", 0, {}});
  job.Output(UVXOutputFile());
  job.Option("if", &DeleteIFsOptions::deleted, "numbers of the IFs to delete, as in 1,3-4")
      .CountedFrom(1)
      .Excludes("keep")
      .Otherwise("all but those to keep");
  job.Option("keep", &DeleteIFsOptions::kept, "numbers of the IFs to keep").CountedFrom(1).Otherwise("all others");
  job.Overwrite();
  return job.Finish();
}

}  // namespace

AResult DeleteIFs(AUVXInput& from, const std::string& to, const DeleteIFsOptions& options, CopySummary* summary) {
  if (options.deleted.empty() == options.kept.empty()) {
    return AResult::Fail(from.path() + ": name either the IFs to delete or those to keep");
  }
  const int count = std::max(from.uvx().IFs(), 1);
  std::vector<int> named;
  AResult result = SettlePlaces(from.path(), "IF", options.kept.empty() ? options.deleted : options.kept, count, named);
  if (!result) return result;
  CopyOptions copy;
  static_cast<JobOptions&>(copy) = options;
  for (int i = 0; i < count; ++i) {
    const bool isNamed = std::binary_search(named.begin(), named.end(), i);
    if (isNamed != options.kept.empty()) copy.selection.IFs.push_back(i);
  }
  if (copy.selection.IFs.empty()) {
    return AResult::Fail(from.path() + ": all of its IFs, " + std::to_string(count) + ", are to be deleted");
  }
  return CopyPart(from, to, copy, DeleteIFsDescription().Command(options), summary);
}

const AJobDescription& DeleteIFsDescription() {
  static const AJobDescription description = DescribeDeleteIFs();
  return description;
}

}  // namespace zeltra
