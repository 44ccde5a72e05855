// SPDX-License-Identifier: MIT
#include "zeltra/fits/AFITS.h"

#include <cstdlib>
#include <cstring>

#include "zeltra/fits/FITSBytesInternal.h"

namespace zeltra {

template class AArray<AFITSxtbl*>;
template class APtrArray<AFITSxtbl*>;

AFITS::AFITS() = default;

AFITS::AFITS(AFile* file) : file_(file) {}

AFITS::~AFITS() = default;

int AFITS::Open(const std::string& path) {
  main_.reset();
  tables_.Free();
  file_ = std::make_unique<AFile>();
  if (!file_->Open(path.c_str(), AFile::Binary)) file_.reset();
  return file_ != nullptr;
}

int AFITS::ReadHeaders() {
  tables_.Free();
  main_ = std::make_unique<AFITSmain>(file_.get());
  if (!main_->ReadHeader()) return 0;
  // Every header lies after the one before it, so the walk ends.
  int more = main_->SeekToNext();
  while (more) {
    auto table = std::make_unique<AFITSxtbl>(file_.get());
    if (!table->ReadHeader()) return 1;
    more = table->SeekToNext();
    tables_.Add(table.release());
  }
  return 1;
}

bool AFITS::EndsCleanly() const {
  if (!main_ || !file_) return false;
  const AFITSbase* last = main_.get();
  for (const AFITSxtbl* table : tables_) {
    if (!table->CardText(0).starts_with("XTENSION")) return false;
    last = table;
  }
  if (last->nextHeader() < 0) return false;
  const int64 size = file_->GetFileSize();
  return size >= last->dataStart() + int64{last->groupBytes()} * last->gcount() && size <= last->nextHeader();
}

AFITSxtbl* AFITS::HasExtTable(const std::string& name) const {
  for (int i = 0; i < tables_.count(); ++i) {
    if (tables_(i)->extname().find(name) != std::string::npos) return tables_(i);
  }
  return nullptr;
}

int AFITS::GetRecords() const {
  return main_ ? main_->gcount() : 0;
}

int AFITS::SeekToGroup(int i) {
  if (!main_ || !file_ || i < 0) return 0;
  return file_->Seek(main_->dataStart() + int64{main_->groupBytes()} * i);
}

int AFITS::SeekToVis(int i) {
  if (!main_ || !file_ || i < 0) return 0;
  const int64 parameterBytes = std::abs(int64{main_->valueBytes()}) * main_->pcount();
  return file_->Seek(main_->dataStart() + int64{main_->groupBytes()} * i + parameterBytes);
}

double AFITS::ReadAndTransform() {
  constexpr double kUnsupported = 1e38;
  char raw[8] = {};
  const int bytes = main_ ? std::abs(main_->valueBytes()) : 0;
  if (bytes < 1 || bytes > static_cast<int>(sizeof raw)) return kUnsupported;
  if (!ReadWhole(*file_, raw, bytes)) return kUnsupported;
  double value = kUnsupported;
  WithParameterType(main_->valueBytes(), [&](auto type) { value = FITSNumber<decltype(type)>(raw); });
  return value;
}

int AFITS::LengthOf(const char* axisName) const {
  return main_ ? main_->AxisLength(main_->FindAxis(axisName)) : 0;
}

}  // namespace zeltra
