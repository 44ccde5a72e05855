// SPDX-License-Identifier: MIT
#include "apps/zeltra/UVXInput.h"

#include "apps/zeltra/Command.h"

namespace zeltra::app {

AResult UVXInput::Open(const std::string& path, Session& session) {
  AResult result = AUVXInput::Open(path, session.Options());
  for (const std::string& remark : remarks()) session.Note(remark);
  return result;
}

}  // namespace zeltra::app
