// SPDX-License-Identifier: MIT
#include "apps/zeltra/UVXInput.h"

#include <cstring>

#include "zeltra/platform/System.h"

namespace zeltra::app {

AResult UVXInput::Open(const std::string& path) {
  path_ = path;
  if (!PathExists(path)) return AResult::Fail(path + ": no such file");
  if (!file_.Open(path.c_str(), AFile::Binary)) return AResult::Fail(path + ": cannot be opened");

  char start[8] = {};
  file_.Read(start, sizeof start);
  int32_t magic;
  std::memcpy(&magic, start, sizeof magic);
  constexpr int32_t kCommitted = 1003;
  if (std::memcmp(start, "SIMPLE  ", 8) == 0) {
    return AResult::Fail(path + ": a FITS file; 'zeltra import' makes a UVX file of it");
  }
  if (magic != kCommitted) return AResult::Fail(path + ": not a UVX file, or one whose writer did not finish");
  if (!file_.Seek(0) || !uvx_.Attach(&file_, 0, 0)) {
    return AResult::Fail(path + ": damaged, the header in its first 481 bytes describes no possible file");
  }
  const int held = uvx_.HeldRecords();
  if (held < uvx_.count()) {
    const int64 end = uvx_.DataOffset() + int64{held} * uvx_.recSize();
    return AResult::Fail(path + ": damaged, it promises " + std::to_string(uvx_.count()) + " records and holds " +
                         std::to_string(held) + ", up to byte " + std::to_string(end));
  }
  return AResult::Ok();
}

std::unique_ptr<AUVXTable> UVXInput::Table(const AUVXTableItem& item) {
  const int64 position = item.position;
  if (position < 0 || !uvx_.Seek(position)) return nullptr;
  auto table = std::make_unique<AUVXTable>(*uvx_.GetFile());
  return table->GetSize() == item.size ? std::move(table) : nullptr;
}

}  // namespace zeltra::app
