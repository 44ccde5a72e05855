// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXWriter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

#include "zeltra/core/BlockWriterInternal.h"
#include "zeltra/core/OutputFileInternal.h"
#include "zeltra/core/OutputFilesInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/BaseLineCollectorInternal.h"
#include "zeltra/uvx/ScanIndexInternal.h"

namespace zeltra {
namespace {

constexpr int kComplexBytes = sizeof(AUVXComplex);

}  // namespace

// Closing a UVX file declares it complete, so an unfinished one is discarded first.
struct AUVXWriter::Output {
  explicit Output(const JobOptions& options)
      : owned(std::make_unique<OutputFile>()), file(*owned), block(file.file(), options.threads) {}
  ~Output() {
    block.Clear();
    if (owned) owned->Discard();
  }

  std::unique_ptr<OutputFile> owned;  // null once handed over
  OutputFile& file;
  AUVXFile uvx;
  BlockWriter block;
};

AUVXWriter::AUVXWriter()
    : index_(std::make_unique<ScanIndex>()),
      baseLines_(std::make_unique<BaseLineCollector>()),
      step_(new AUVXComplex[kMostReserved]) {}

AUVXWriter::~AUVXWriter() = default;

AResult AUVXWriter::Create(const std::string& path, const AUVXHeader& header, const JobOptions& options,
                           const std::string& input) {
  Discard();
  path_ = path;
  header_ = header;
  directory_ = AUVXTableHeader();
  tablesEnd_ = 0;
  index_->SetGap(0);
  ForgetRecords();
  auto output = std::make_unique<Output>(options);
  if (AResult result = output->file.Create(path, options, input); !result) return result;
  output_ = std::move(output);
  AUVXFile& uvx = output_->uvx;
  AResult result = uvx.Attach(&output_->file.file(), 1, 0) ? WriteHeader() : output_->file.WriteError();
  if (result && !uvx.SeekUVGroup(0)) result = output_->file.WriteError();
  valuesPerRecord_ = (uvx.recSize() - AUVXGroup::kBytes) / kComplexBytes;
  if (!result) Discard();
  return result;
}

AResult AUVXWriter::WriteHeader() {
  header_.info.count = records_;
  header_.range = ranges_;
  if (output_->uvx.Write(header_)) return AResult::Ok();
  if (!output_->file.file().good()) return output_->file.WriteError();
  return AResult::Fail(
      path_ +
      ": no UVX file holds records of this shape, but those of up to 8 polarisations and 32767 IFs that "
      "are shorter than 2 GiB");
}

void AUVXWriter::ForgetRecords() {
  ranges_.init();
  index_->Clear();
  givenScan_ = -1;
  baseLines_->Clear();
  integrations_ = AUVXIntegrations();
  integration_ = 0;
  odd_ = OddValues();
  before_ = Predecessor();
  records_ = unchecked_ = reserved_ = 0;
  group_ = nullptr;
}

AResult AUVXWriter::Rewind() {
  if (!output_ || tablesEnd_ > 0) return Why();
  ForgetRecords();
  output_->block.Clear();
  if (!output_->uvx.SeekUVGroup(0) || !output_->file.file().Trunc()) return output_->file.WriteError();
  return AResult::Ok();
}

AResult AUVXWriter::Append(const char* records, int count) {
  AResult result = AResult::Ok();
  for (int i = 0; i < count && result; ++i) {
    AUVXGroup group;
    std::memcpy(&group, records, AUVXGroup::kBytes);
    result = Append(group, records + AUVXGroup::kBytes);
    records += recordBytes();
  }
  return result;
}

AResult AUVXWriter::Append(const AUVXGroup& group, const void* values, double seconds) {
  AUVXGroup* place = BeginRecord();
  if (!place) return Why();
  *place = group;
  TakeGroup(seconds);
  return WriteValues(static_cast<const char*>(values));
}

AResult AUVXWriter::WriteValues(const char* values) {
  for (int left = valuesPerRecord_; left > 0;) {
    const int count = std::min(left, kMostReserved);
    AUVXComplex* room = Reserve(count);
    if (!room) return Why();
    std::memcpy(static_cast<void*>(room), values, static_cast<size_t>(count) * kComplexBytes);
    values += int64{count} * kComplexBytes;
    left -= count;
  }
  return AResult::Ok();
}

void AUVXWriter::SetScanGap(double seconds) {
  index_->SetGap(seconds);
}

void AUVXWriter::SetSubarray(int number) {
  index_->SetSubarray(number);
}

void AUVXWriter::BeginScan(int number, int subarray) {
  if (number == givenScan_) return;
  TakePending();
  givenScan_ = number;
  index_->BeginGiven(subarray);
  before_ = Predecessor();
}

AUVXTable& AUVXWriter::index() {
  TakePending();
  before_ = Predecessor();
  return index_->Table(records_);
}

const AUVXBaseLines& AUVXWriter::baseLines() {
  TakePending();
  return baseLines_->list();
}

std::string AUVXWriter::IndexRemark() const {
  const double spacing = index_->wideSpacing();
  if (spacing == 0) return {};
  return "time stamps are " + valToStr(std::round(spacing)) +
         " s apart, so that no gap below 8 times that ends a scan; --scan-gap of import and copy sets another bound";
}

// Functions that run once per record are inline: a call of an exported function is indirect.

// Extend the index and the list of baselines.
inline void AUVXWriter::Register(const AUVXGroup& group, double seconds) {
  // The baselines of one time stamp belong to one scan.
  if (group.date != before_.date || group.source != before_.source || group.frqsel != before_.setup) {
    const double time = std::isnan(seconds) ? (group.date - header_.info.dateObs) * kSecondsPerDay : seconds;
    index_->Take(records_, time, group.source, group.frqsel);
    before_ = {group.date, group.source, group.frqsel};
  }
  baseLines_->Take(group);
}

inline void AUVXWriter::TakeGroup(double seconds) {
  group_->check(ranges_);
  Register(*group_, seconds);
  integrations_.Append(integration_);
  ++records_;
  group_ = nullptr;
}

inline void AUVXWriter::TakePending() {
  if (group_) TakeGroup(kFromGroup);
  if (reserved_ == 0) return;
  std::memcpy(place_, step_.get() + unchecked_, static_cast<size_t>(reserved_) * kComplexBytes);
  unchecked_ += std::exchange(reserved_, 0);
}

// The group is built in place: a copy would wait for each of its fields to arrive in memory.
AUVXGroup* AUVXWriter::BeginRecord() {
  TakePending();
  if (!output_ || tablesEnd_ > 0 || IsFull()) return nullptr;
  group_ = reinterpret_cast<AUVXGroup*>(output_->block.Reserve(AUVXGroup::kBytes));
  return group_;
}

AUVXComplex* AUVXWriter::Reserve(int count) {
  TakePending();
  if (kMostReserved - unchecked_ < count) CheckValues();
  place_ = output_ ? output_->block.Reserve(count * kComplexBytes) : nullptr;
  reserved_ = place_ ? count : 0;
  return place_ ? step_.get() + unchecked_ : nullptr;
}

bool AUVXWriter::IsFull() const {
  return records_ == std::numeric_limits<std::int32_t>::max() || index_->IsFull();
}

AResult AUVXWriter::Why() const {
  if (!output_) return AResult::Fail(path_ + ": is not being written");
  if (tablesEnd_ > 0) return AResult::Fail(path_ + ": has tables already and takes no more records");
  if (index_->IsFull()) {
    return AResult::Fail(path_ + ": its index would have more than " + std::to_string(kMostScans) +
                         " scans, since source or setup changes with nearly every record");
  }
  if (IsFull()) {
    return AResult::Fail(path_ + ": there are more records than the 2147483647 that a UVX file counts");
  }
  return output_->file.WriteError();
}

// Widen the ranges to include the values waiting in the step, and count those that are not finite.
void AUVXWriter::CheckValues() {
  const bool finite = CheckRange(step_.get(), unchecked_, ranges_);
  for (int i = 0; !finite && i < unchecked_; ++i) {
    const AUVXComplex& value = step_[static_cast<size_t>(i)];
    odd_.notNumbers += !std::isfinite(value.re) || !std::isfinite(value.im);
    odd_.infiniteWeights += std::isinf(value.weight);
    odd_.weightsNotNumbers += std::isnan(value.weight);
  }
  unchecked_ = 0;
}

AUVXWriter::OddValues AUVXWriter::oddValues() {
  TakePending();
  CheckValues();
  return odd_;
}

// From here on the number of records is fixed, and with it the place of the tables.
AResult AUVXWriter::EndRecords() {
  AUVXFile& uvx = output_->uvx;
  TakePending();
  CheckValues();
  if (!output_->block.Flush()) return output_->file.WriteError();
  return EndHeader(uvx.GetPos());
}

// Write the header, whose number of records must agree with where they end.
AResult AUVXWriter::EndHeader(int64 recordsEnd) {
  if (AResult result = WriteHeader(); !result) return result;
  const AUVXFile& uvx = output_->uvx;
  if (!output_->file.file().good()) return output_->file.WriteError();
  if (recordsEnd == uvx.DataOffset() + int64{records_} * uvx.recSize()) return AResult::Ok();
  Discard();
  return AResult::Fail(path_ + ": its records are incomplete, or do not have the shape that its header gives");
}

AResult AUVXWriter::AddTable(const AUVXTable& table) {
  if (!output_) return Why();
  AUVXFile& uvx = output_->uvx;
  if (tablesEnd_ == 0) {
    if (AResult result = EndRecords(); !result) return result;
    if (!uvx.PlaceTableDirectory()) return output_->file.WriteError();
    tablesEnd_ = uvx.TableDirectoryOffset() + AUVXTableHeader::kBytes;
  }
  const AUVXTableItem item = {table.ID(), tablesEnd_, table.GetSize()};
  if (directory_.Add(item) < 0) {
    return AResult::Fail(path_ + ": there are more tables than the " + std::to_string(AUVXTableHeader::kLargestCount) +
                         " that a UVX file has room for");
  }
  if (!uvx.Seek(tablesEnd_) || !table.store(*uvx.GetFile())) return output_->file.WriteError();
  tablesEnd_ += item.size;
  return AResult::Ok();
}

AResult AUVXWriter::AddIndex() {
  return AddTable(index());
}

AResult AUVXWriter::AddBaseLines() {
  return AddTable(*std::unique_ptr<AUVXTable>(baseLines().ToUVXTable()));
}

AResult AUVXWriter::AddProvenance(AUVXHeaderCards cards, const std::string& command) {
  cards.AddHistory(command);
  return AddProvenance(cards);
}

AResult AUVXWriter::AddProvenance(const AUVXHeaderCards& cards) {
  AResult result = AddTable(*std::unique_ptr<AUVXTable>(cards.ToUVXTable()));
  if (!result || !integrations_.IsKnown()) return result;
  return AddTable(*std::unique_ptr<AUVXTable>(integrations_.ToUVXTable()));
}

// Do everything but give the file its name.
AResult AUVXWriter::Complete() {
  if (!output_) return Why();
  AResult result = tablesEnd_ == 0 ? EndRecords() : EndHeader(output_->uvx.TableDirectoryOffset());
  if (!result) return result;
  if (tablesEnd_ > 0) directory_.store(output_->uvx);
  if (result = output_->file.Sync(); !result) return result;
  output_->uvx.Close();
  return output_->file.Complete();
}

AResult AUVXWriter::Finish() {
  AResult result = Complete();
  if (result) result = output_->file.Publish();
  output_.reset();
  return result;
}

AResult AUVXWriter::Finish(OutputFiles& together) {
  AResult result = Complete();
  if (result) result = together.Add(output_->owned);
  output_.reset();
  return result;
}

void AUVXWriter::Discard() {
  group_ = nullptr;
  reserved_ = 0;
  output_.reset();
}

}  // namespace zeltra
