// SPDX-License-Identifier: MIT
#include "zeltra/ops/AUVXInput.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

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
// With this many values, a record, its sums and its average fit in memory together.
constexpr int kMostValues = 1 << 20;

std::string CodeOf(const AUVXTableItem& item) {
  AUVXTable unread;
  unread.SetID(int{item.ID});
  return unread.Code();
}

}  // namespace

AUVXInput::AUVXInput() : file_(std::make_unique<AInputFile>()) {}

AUVXInput::~AUVXInput() {
  uvx_.Close();
  if (!temporary_.empty()) RemoveFile(temporary_);
}

AResult AUVXInput::Open(const std::string& path, const JobOptions& options) {
  path_ = path;
  if (const std::string sentence = WhyNoInput(path); !sentence.empty()) return AResult::Fail(path + ": " + sentence);
  auto file = std::make_unique<AInputFile>();
  AResult result = file->Open(path);
  return result ? Open(std::move(file), options) : result;
}

AResult AUVXInput::Open(std::unique_ptr<AInputFile> file, const JobOptions& options) {
  // It borrows the file that is about to close.
  uvx_.Close();
  uvx_ = AUVXFile();
  if (!temporary_.empty()) RemoveFile(temporary_);
  temporary_.clear();
  file_ = std::move(file);
  path_ = file_->name();
  contents_.reset();
  char start[8] = {};
  file_->ReadAt(0, start, sizeof start);
  isImported_ = std::memcmp(start, "SIMPLE  ", sizeof start) == 0;
  if (isImported_) return Import(options);
  if (const std::string sentence = WhyNoInput(*file_); !sentence.empty()) {
    return AResult::Fail(path_ + ": " + sentence);
  }
  int32_t magic;
  std::memcpy(&magic, start, sizeof magic);
  if (magic != kCommitted) {
    return Settle(AResult::Fail(path_ + ": not a UVX file, or one whose writer did not finish"));
  }
  return Settle(OpenUVX());
}

AResult AUVXInput::Import(const JobOptions& options) {
  temporary_ = TemporaryNameFor(TemporaryFolder() + "/zeltra.uvx");
  ImportSummary summary;
  JobOptions unsynced = options;
  unsynced.sync = false;
  AResult result = ImportUVFITS(std::move(file_), temporary_, unsynced, &summary);
  file_ = std::make_unique<AInputFile>();
  remarks_ = std::move(summary.remarks);
  if (result.code() == AResult::Cancelled) return AResult::Cancel(path_ + ": the import was cancelled");
  if (result) result = file_->Open(temporary_, path_);
  // Where open files can be removed, nothing is left behind whatever happens.
  if (RemoveFile(temporary_)) temporary_.clear();
  return result ? Settle(OpenUVX()) : result;
}

AResult AUVXInput::OpenUVX() {
  if (!uvx_.Attach(file_.get(), 0, 0)) {
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
  return file_->ReadAt(position, &julianDate, sizeof julianDate) == int64{sizeof julianDate};
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
    return Settle(table ? AResult::Ok() : DamagedTable(directory(i)));
  }
  if (found > 0) {
    return AResult::Fail(path_ + ": no version " + std::to_string(version) + " of table " + code +
                         ", the last one is " + std::to_string(found));
  }
  if (AResult result = Check(); !result) return result;
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
  return AResult::Fail(path_ + ": its records of " + std::to_string(values) + " values are too long, the limit is " +
                       std::to_string(kMostValues));
}

}  // namespace zeltra
