// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXFile.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "zeltra/core/AFile.h"
#include "zeltra/core/AStreamFile.h"
#include "zeltra/platform/MessageBox.h"
#include "zeltra/uvx/AUVXComplex.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {
namespace {

constexpr int32_t kMagic = 1003;
constexpr int32_t kDataOffset = 481;
constexpr int64 kDirectoryBytes = 2050;
constexpr int64 kComplexBytes = sizeof(AUVXComplex);

// Bits of the flags.
constexpr int kUncommitted = 0x1;
constexpr int kBorrowed = 0x100;

static_assert(AUVXFile::UVX_OFS_HEADER() + sizeof(AUVXHeader) == kDataOffset);

}  // namespace

/// Sizes that follow from a header.
struct AUVXFile::Geometry {
  int32_t freqPoints = 0;
  int32_t dataBytes = 0;
  int32_t recSize = 0;

  /// @return false if records as `h` describes them cannot be addressed
  bool Of(const AUVXHeader& h);
};

bool AUVXFile::Geometry::Of(const AUVXHeader& h) {
  constexpr int64 kLargest = std::numeric_limits<int32_t>::max();
  const int64 stokesCount = h.stokes.count();
  if (h.info.count < 0 || stokesCount < 0 || stokesCount > AUVXStokes::kLargestCount) return false;
  if (h.IFs < 0 || h.IFs > std::numeric_limits<int16_t>::max() || h.channels < 0) return false;

  const int64 points = h.IFs ? int64{h.IFs} * h.channels : h.channels;
  const int64 bytes = stokesCount * points * kComplexBytes;
  if (points > kLargest || bytes > kLargest - AUVXGroup::kBytes) return false;
  freqPoints = static_cast<int32_t>(points);
  dataBytes = static_cast<int32_t>(bytes);
  recSize = AUVXGroup::kBytes + dataBytes;
  return true;
}

AUVXFile::~AUVXFile() {
  AUVXFile::Close();
}

AUVXFile::AUVXFile(AUVXFile&& other) noexcept : AUVXFile(std::as_const(other)) {
  other.Forget();
}

AUVXFile& AUVXFile::operator=(AUVXFile&& other) noexcept {
  if (this == &other) return *this;
  if (file_ != other.file_) AUVXFile::Close();
  *this = std::as_const(other);
  other.Forget();
  return *this;
}

// Let go of the file, open or not, and of what is known about it.
void AUVXFile::Forget() noexcept {
  const AUVXFile none;
  *this = none;
}

std::shared_ptr<ABFile> AUVXFile::Detach() {
  std::shared_ptr<ABFile> file = std::move(file_);
  Forget();
  return file;
}

int AUVXFile::Open(const char* path, int create) {
  const auto file = std::make_shared<AFile>();
  Replace(file, 0);
  const int mode = AFile::Binary | AFile::WriteOnly | (create ? AFile::Create : 0);
  return file->Open(path, mode) && Init(create);
}

int AUVXFile::OpenBuff(const char* path, int create, int bufSize) {
  const auto file = std::make_shared<AStreamFile>();
  Replace(file, 0);
  return file->Open(path, create ? "wb+" : "rb+", bufSize) && Init(create);
}

int AUVXFile::Attach(ABFile* file, int create, int autoDelete) {
  if (file && file == file_.get()) {
    Replace(std::shared_ptr<ABFile>(file_), flags_ & kBorrowed);
  } else if (autoDelete) {
    Replace(std::shared_ptr<ABFile>(file), 0);
  } else {
    Replace(std::shared_ptr<ABFile>(file, [](ABFile*) {}), kBorrowed);
  }
  return file && Init(create);
}

void AUVXFile::Replace(std::shared_ptr<ABFile> file, int flags) {
  // The same file stays open: a host may have reopened it since Close.
  if (file_ != file) Close();
  Forget();
  file_ = std::move(file);
  flags_ = flags;
}

int AUVXFile::Init(int create) {
  return create ? InitForCreate() : InitForRead();
}

int AUVXFile::InitForCreate() {
  // The magic number and the place of the table directory stay unwritten: both read as 0 as soon as something follows.
  dataOffset_ = kDataOffset;
  if (!Seek(4) || !WriteWhole(*file_, &dataOffset_, sizeof dataOffset_)) return 0;
  flags_ |= kUncommitted;
  return 1;
}

int AUVXFile::InitForRead() {
  int32_t magic = 0, dataOffset = 0;
  int64 tableDirectory = 0;
  AUVXHeader header;
  if (!ReadWhole(*file_, &magic, sizeof magic) || magic != kMagic) return 0;
  if (!ReadWhole(*file_, &dataOffset, sizeof dataOffset)) return 0;
  if (!ReadWhole(*file_, &tableDirectory, sizeof tableDirectory)) return 0;
  if (!Seek(UVX_OFS_HEADER()) || !ReadWhole(*file_, &header, sizeof header)) return 0;

  Geometry geometry;
  const int64 size = file_->GetFileSize();
  if (!geometry.Of(header) || dataOffset < 0 || dataOffset > size) return 0;
  if (tableDirectory < 0 || (tableDirectory > 0 && tableDirectory > size - kDirectoryBytes)) return 0;
  dataOffset_ = dataOffset;
  tableDirectory_ = tableDirectory;
  SetGeometry(header, geometry);
  return 1;
}

int AUVXFile::Write(const AUVXHeader& h) {
  Geometry geometry;
  if (!geometry.Of(h) || !h.store(*this)) return 0;
  SetGeometry(h, geometry);
  return 1;
}

void AUVXFile::SetGeometry(const AUVXHeader& h, const Geometry& geometry) {
  count_ = h.info.count;
  stokes_ = static_cast<int16_t>(h.stokes.count());
  IFs_ = static_cast<int16_t>(h.IFs);
  channels_ = h.channels;
  freq0_ = h.freq0;
  freqPoints_ = geometry.freqPoints;
  dataBytes_ = geometry.dataBytes;
  recSize_ = geometry.recSize;
}

void AUVXFile::Close() {
  if (!file_) return;
  if (flags_ & kUncommitted) {
    int32_t magic = kMagic;
    if (Seek(0)) Write(&magic, sizeof magic);
    flags_ &= ~kUncommitted;
  }
  file_->Close();
}

int AUVXFile::HeldRecords() {
  if (!file_ || recSize_ < 1) return 0;
  int64 end = file_->GetFileSize();
  if (tableDirectory_ > dataOffset_) end = std::min(end, tableDirectory_);
  return static_cast<int>(std::clamp<int64>((end - dataOffset_) / recSize_, 0, count_));
}

int AUVXFile::SeekUVGroup(int i) {
  return Seek(dataOffset_ + int64{i} * recSize_);
}

int AUVXFile::SeekUVVis(int i) {
  return Seek(dataOffset_ + AUVXGroup::kBytes + int64{i} * recSize_);
}

int AUVXFile::SeekUVXComplex(int i, int f, int s) {
  return Seek(dataOffset_ + AUVXGroup::kBytes + int64{i} * recSize_ + kComplexBytes * (int64{stokes_} * f + s));
}

int AUVXFile::SeekUVXComplex(int i, int ifNo, int chan, int s) {
  const int64 point = int64{channels_} * ifNo + chan;
  return Seek(dataOffset_ + AUVXGroup::kBytes + int64{i} * recSize_ + kComplexBytes * (stokes_ * point + s));
}

int AUVXFile::PlaceTableDirectory() {
  if (tableDirectory_ != 0) return 1;
  int64 position = dataOffset_ + int64{count_} * recSize_;
  if (!Seek(UVX_OFS_OFSTABLE()) || !WriteWhole(*file_, &position, sizeof position)) return 0;
  tableDirectory_ = position;
  return 1;
}

AUVXFile& AUVXFile::AddTable(const AUVXTable& t) {
  if (!file_) return *this;
  AUVXTableHeader directory(*this);
  if (tableDirectory_ == 0) directory.store(*this);
  const int n = directory.count();
  if (tableDirectory_ == 0 || n >= AUVXTableHeader::kLargestCount) return *this;
  AUVXTableItem item = {t.ID(), tableDirectory_ + kDirectoryBytes, t.GetSize()};
  if (n > 0) {
    const AUVXTableItem last = directory(n - 1);
    if (last.position < item.position || last.position > file_->GetFileSize() || last.size < 0) return *this;
    item.position = last.position + last.size;
  }
  if (!Seek(int64{item.position})) AfxMessageBox(" not good");
  t.store(*file_);
  directory.Add(item);
  directory.store(*this);
  return *this;
}

AUVXTable* AUVXFile::GetTable(const std::string& name) {
  const AUVXTableHeader directory(*this);
  const int i = directory.HasTable(name);
  if (i < 0 || !Seek(int64{directory(i).position}) || !HasBytes(*file_, 1)) return nullptr;
  return new AUVXTable(*file_);
}

}  // namespace zeltra
