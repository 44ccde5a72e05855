// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXGroup.h"

#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace zeltra {

int AUVXGroup::load(AUVXFile& uvx) {
  return uvx.GetFile() && load(*uvx.GetFile());
}

int AUVXGroup::load(ABFile& file) {
  return ReadWhole(file, this, kBytes);
}

int AUVXGroup::store(AUVXFile& uvx) {
  return uvx.GetFile() && store(*uvx.GetFile());
}

int AUVXGroup::store(ABFile& file) {
  return WriteWhole(file, this, kBytes);
}

void AUVXGroup::check(AUVXMinMax& range) const {
  range.u().check(uu);
  range.v().check(vv);
  range.w().check(ww);
  range.time().check(date);
}

}  // namespace zeltra
