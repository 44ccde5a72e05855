// SPDX-License-Identifier: MIT
#include "zeltra/core/AResult.h"

namespace zeltra {

AResult AResult::Ok() {
  return AResult(Done, {});
}
AResult AResult::Fail(std::string sentence) {
  return AResult(Failed, std::move(sentence));
}
AResult AResult::Cancel(std::string sentence) {
  return AResult(Cancelled, std::move(sentence));
}
AResult AResult::Misuse(std::string sentence) {
  return AResult(Misused, std::move(sentence));
}

}  // namespace zeltra
