// SPDX-License-Identifier: MIT
#include "apps/zeltra/UVXInput.h"

#include "apps/zeltra/Command.h"
#include "apps/zeltra/Gunzip.h"

namespace zeltra::app {

AResult UVXInput::Open(const std::string& path, Session& session) {
  const JobOptions options = session.Options();
  std::unique_ptr<AInputFile> plain;
  AResult result = Gunzip(path, options, plain);
  if (result) result = plain ? AUVXInput::Open(std::move(plain), options) : AUVXInput::Open(path, options);
  for (const std::string& remark : remarks()) session.Note(remark);
  return result;
}

}  // namespace zeltra::app
