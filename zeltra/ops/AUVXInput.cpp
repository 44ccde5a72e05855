// SPDX-License-Identifier: MIT
#include "zeltra/ops/AUVXInput.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "zeltra/core/AFile.h"
#include "zeltra/core/Text.h"
#include "zeltra/interchange/ImportUVFITS.h"
#include "zeltra/interchange/InputKindInternal.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/platform/System.h"
#include "zeltra/uvx/AUVXComplex.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXHeader.h"

namespace zeltra {
namespace {

constexpr int32_t kCommitted = 1003;
// A record of so many values, its sums and its average fit beside each other.
constexpr int kMostValues = 1 << 20;

std::string CodeOf(const AUVXTableItem& item) {
  AUVXTable unread;
  unread.SetID(int{item.ID});
  return unread.Code();
}

}  // namespace

AUVXInput::AUVXInput() = default;

AUVXInput::~AUVXInput() {
  uvx_.Close();
  if (!temporary_.empty()) RemoveFile(temporary_);
}

AResult AUVXInput::Open(const std::string& path, const JobOptions& options) {
  path_ = path;
  contents_.reset();
  if (!PathExists(path)) return AResult::Fail(path + ": no such file");
  if (const std::string sentence = WhyNoInput(path); !sentence.empty()) return AResult::Fail(path + ": " + sentence);
  AFile file;
  if (!file.Open(path.c_str(), AFile::Binary)) return AResult::Fail(path + ": cannot be opened");
  char start[8] = {};
  file.Read(start, sizeof start);
  file.Close();
  if (std::memcmp(start, "SIMPLE  ", sizeof start) == 0) return Import(options);
  int32_t magic;
  std::memcpy(&magic, start, sizeof magic);
  if (magic != kCommitted) return AResult::Fail(path + ": not a UVX file, or one whose writer did not finish");
  return OpenUVX(path);
}

AResult AUVXInput::Import(const JobOptions& options) {
  temporary_ = TemporaryNameFor(TemporaryFolder() + "/zeltra.uvx");
  ImportSummary summary;
  JobOptions unsynced = options;
  unsynced.sync = false;
  AResult result = ImportUVFITS(path_, temporary_, unsynced, &summary);
  remarks_ = std::move(summary.remarks);
  if (result.code() == AResult::Cancelled) return AResult::Cancel(path_ + ": the import was cancelled");
  return result ? OpenUVX(temporary_) : result;
}

AResult AUVXInput::OpenUVX(const std::string& path) {
  if (!file_.Open(path.c_str(), AFile::Binary)) return AResult::Fail(path_ + ": cannot be opened");
  if (!uvx_.Attach(&file_, 0, 0)) {
    return AResult::Fail(path_ + ": damaged or cut short, it does not hold what its first 481 bytes promise");
  }
  const int held = uvx_.HeldRecords();
  if (held < uvx_.count()) {
    const int64 end = uvx_.DataOffset() + int64{held} * uvx_.recSize();
    return AResult::Fail(path_ + ": damaged, it promises " + std::to_string(uvx_.count()) + " records and holds " +
                         std::to_string(held) + ", up to byte " + std::to_string(end));
  }
  return AResult::Ok();
}

bool AUVXInput::ReadTime(int record, double& julianDate) {
  const int64 position =
      uvx_.DataOffset() + int64{record} * uvx_.recSize() + static_cast<int64>(offsetof(AUVXGroup, date));
  return file_.ReadAt(position, &julianDate, sizeof julianDate) == int64{sizeof julianDate};
}

const AUVXContents& AUVXInput::contents() {
  if (!contents_) contents_ = std::make_unique<AUVXContents>(*this);
  return *contents_;
}

std::unique_ptr<AUVXTable> AUVXInput::Table(const AUVXTableItem& item) {
  const int64 position = item.position;
  if (position < 0 || !uvx_.Seek(position)) return nullptr;
  auto table = std::make_unique<AUVXTable>(*uvx_.GetFile());
  return table->GetSize() == item.size ? std::move(table) : nullptr;
}

std::unique_ptr<AUVXTable> AUVXInput::Table(const std::string& code) {
  const AUVXTableHeader directory(uvx_);
  const int place = directory.HasTable(code);
  return place >= 0 ? Table(directory(place)) : nullptr;
}

AResult AUVXInput::FindTable(const std::string& code, int version, std::unique_ptr<AUVXTable>& table) {
  table = nullptr;
  const AUVXTableHeader directory(uvx_);
  std::string codes;
  int found = 0;
  for (int i = 0; i < directory.count(); ++i) {
    const std::string present = CodeOf(directory(i));
    codes += (i == 0 ? "" : ", ") + present;
    if (!IsSameWord(present, code) || ++found != version) continue;
    table = Table(directory(i));
    return table ? AResult::Ok() : DamagedTable(directory(i));
  }
  if (found > 0) {
    return AResult::Fail(path_ + ": no version " + std::to_string(version) + " of table " + code +
                         ", the last one is " + std::to_string(found));
  }
  return AResult::Fail(path_ + ": no table " + code + "; there " + (codes.empty() ? "are none" : "are " + codes));
}

AResult AUVXInput::DamagedTable(const AUVXTableItem& item) const {
  return AResult::Fail(path_ + ": the table " + CodeOf(item) + " at byte " + std::to_string(int64{item.position}) +
                       " is damaged");
}

AResult AUVXInput::CheckTables() {
  const AUVXTableHeader directory(uvx_);
  for (int i = 0; i < directory.count(); ++i) {
    if (!Table(directory(i))) return DamagedTable(directory(i));
  }
  return AResult::Ok();
}

AResult AUVXInput::CheckRecordSize() {
  // Without polarisations there are no values, but still all the channels that a job lists.
  const int64 points = int64{std::max<int>(uvx_.IFs(), 1)} * uvx_.channels();
  const int64 values = points * std::max<int>(uvx_.stokes(), 1);
  if (values <= kMostValues) return AResult::Ok();
  return AResult::Fail(path_ + ": its records of " + std::to_string(values) + " values are too long, the most are " +
                       std::to_string(kMostValues));
}

AResult AUVXInput::NothingSelected() {
  AUVXMinMax range(uvx_);
  return AResult::Fail(path_ + ": no record is selected; the times of its " + std::to_string(uvx_.count()) +
                       " records are the Julian dates " + valToStr(double{range.time().minimum}) + " to " +
                       valToStr(double{range.time().maximum}));
}

}  // namespace zeltra
