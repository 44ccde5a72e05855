// SPDX-License-Identifier: MIT
#include <memory>

#include "zeltra/core/Units.h"
#include "zeltra/ops/FinishedCopyInternal.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace zeltra {
namespace {}  // namespace

FinishedCopy::FinishedCopy(AUVXInput& from) : from_(from), dateObs_(AUVXHeader(from.uvx()).info.dateObs) {}

void FinishedCopy::Register(const AUVXGroup& group) {
  AUVXGroup inSeconds = group;
  inSeconds.date = (group.date - dateObs_) * kSecondsPerDay;
  index_.CheckUVGroup(inSeconds, records_++);
  baseLines_.checkBase(AUVXBaseLineItem(group));
}

AResult FinishedCopy::Check() const {
  if (read_ == from_.uvx().count()) return AResult::Ok();
  return AResult::Fail(from_.path() + ": cannot be read in record " + std::to_string(read_));
}

void FinishedCopy::WriteIndex(AUVXFile& to) {
  const std::unique_ptr<AUVXTable> index(index_.ToUVXTable());
  AUVXTableHeader directory(to);
  bool hasIndex = false;
  for (int i = 0; i < directory.count(); ++i) {
    AUVXTable copied;
    copied.SetID(int{directory(i).ID});
    if (copied.Code() != index->Code()) continue;
    hasIndex = true;
    if (directory(i).size == index->GetSize() && to.Seek(int64{directory(i).position})) index->store(*to.GetFile());
  }
  if (!hasIndex) to.AddTable(*index);
  if (directory.HasTable("BL") < 0) to.AddTable(*std::unique_ptr<AUVXTable>(baseLines_.ToUVXTable()));
}

}  // namespace zeltra
