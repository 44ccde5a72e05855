// SPDX-License-Identifier: MIT
#include "zeltra/ops/UnfoldUVX.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>

#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/FrequencyAveragerInternal.h"
#include "zeltra/ops/KeptScansInternal.h"
#include "zeltra/ops/RecordReaderInternal.h"
#include "zeltra/ops/SharedOptionsInternal.h"
#include "zeltra/ops/UnfoldedTablesInternal.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

// Scans up to this length are read once, longer ones once for each new setup.
constexpr int kBlockBytes = 1 << 27;

AJobDescription DescribeUnfold() {
  AJobDescriber<UnfoldOptions> job(
      "unfold", "Turn every IF, or every channel, into its own record",
      "Each IF, or channel, gets its own frequency setup; there can be 127. The records of a scan are ordered by "
      "setup, then as before; each setup forms a scan. Tables with setup numbers get rows for the new ones.");
  job.Input({"IN", "UVX, or UV FITS, which is imported first", "", 0, {}});
  job.Output(UVXOutputFile());
  job.Option("ifs", &UnfoldOptions::IFs, "a record for every IF");
  job.Option("channels", &UnfoldOptions::channels,
             "a record for every channel; with --ifs for every channel of every IF");
  job.Overwrite();
  return job.Finish();
}

class Unfolder {
 public:
  Unfolder(AUVXInput& from, const std::string& to, const UnfoldOptions& options, CopySummary& summary)
      : from_(from), to_(to), options_(options), summary_(summary), integrations_(from.contents().integrations()) {}

  AResult Run();

 private:
  static constexpr int kNumbers = 256;  // that a setup in a record may have, from -128

  AResult FindSetups();
  AResult Create();
  AResult UnfoldRecords();
  AResult UnfoldScan(int first, int end, int element);
  AResult Append(int record, const char* bytes, int element);
  const char* Pick(const char* values, int element);
  AResult CopyTables();

  AUVXInput& from_;
  const std::string to_;
  const UnfoldOptions options_;
  CopySummary& summary_;
  AUVXIntegrationCursor integrations_;
  std::optional<RecordReader> reader_;
  int readFirst_ = 0, readCount_ = 0;  // what the reader holds
  UnfoldedSetups setups_;
  std::array<int, kNumbers> places_;  // of setups by number, -1 if there is none
  size_t pointBytes_ = 0;
  std::vector<char> room_;  // for values that are not contiguous
  AUVXWriter writer_;
  std::optional<KeptScans> scans_;
  int64 done_ = 0;
  int lastPercent_ = -1;
};

AResult Unfolder::Run() {
  if (AResult result = FindSetups(); !result) return result;
  if (AResult result = Create(); !result) return result;
  scans_.emplace(from_, writer_, 0);
  SendProgressText(options_.progress, "Unfolding...");
  SendProgressRange(options_.progress);
  if (AResult result = UnfoldRecords(); !result) return result;
  if (AResult result = CopyTables(); !result) return result;
  summary_.records = writer_.records();
  return writer_.Finish();
}

AResult Unfolder::FindSetups() {
  if (!options_.IFs && !options_.channels) {
    return AResult::Fail(from_.path() + ": name what is unfolded, IFs or channels");
  }
  std::unique_ptr<AUVXTable> table;
  if (AResult result = OpenSetups(from_, table); !result) return result;
  setups_.IFs = std::max(from_.uvx().IFs(), 1);
  if (AResult result = CheckFrequencies(from_.path(), *table, setups_.IFs); !result) return result;
  setups_.channels = from_.uvx().channels();
  setups_.byIF = options_.IFs;
  setups_.byChannel = options_.channels;
  places_.fill(-1);
  const SetupFrequencies frequencies(*table);
  if (!std::isfinite(table->Number(0, frequencies.idColumn))) {
    return AResult::Fail(from_.path() + ": its table FQ does not number the frequency setups");
  }
  for (int row = 0; row < table->rows(); ++row) {
    const int number = frequencies.Id(row), place = number + kNumbers / 2;
    if (place < 0 || place >= kNumbers || places_[static_cast<size_t>(place)] >= 0) continue;
    places_[static_cast<size_t>(place)] = static_cast<int>(setups_.numbers.size());
    setups_.numbers.push_back(number);
  }
  const int64 count = static_cast<int64>(setups_.numbers.size()) * setups_.count();
  if (count <= UnfoldedSetups::kMost) return AResult::Ok();
  return AResult::Fail(from_.path() + ": there would be " + std::to_string(count) +
                       " frequency setups, of which a UVX " + "file holds " + std::to_string(UnfoldedSetups::kMost));
}

AResult Unfolder::Create() {
  AUVXHeader header(from_.uvx());
  if (setups_.byIF && header.IFs > 0) header.IFs = 1;
  if (setups_.byChannel) header.channels = 1;
  const int64 bytes = int64{from_.uvx().count()} * from_.uvx().recSize();
  reader_.emplace(from_, static_cast<int>(std::min<int64>(kBlockBytes, bytes)));
  pointBytes_ = static_cast<size_t>(from_.uvx().stokes()) * sizeof(AUVXComplex);
  return writer_.Create(to_, header, options_, from_.path());
}

// Scan by scan if the index is right; otherwise all records count as one scan.
AResult Unfolder::UnfoldRecords() {
  struct Stretch {
    int first, end;
  };
  std::vector<Stretch> stretches;
  const AUVXPosition& scans = from_.contents().scans();
  if (scans.count() > 0 && from_.contents().CheckIndex(from_)) {
    for (int i = 0; i < scans.count(); ++i) stretches.push_back({scans(i).startVis - 1, scans(i).endVis});
  } else {
    stretches.push_back({0, from_.uvx().count()});
  }
  for (const Stretch& stretch : stretches) {
    for (int element = 0; element < setups_.count(); ++element) {
      if (AResult result = UnfoldScan(stretch.first, stretch.end, element); !result) return result;
    }
  }
  return AResult::Ok();
}

AResult Unfolder::UnfoldScan(int first, int end, int element) {
  for (int next = first; next < end; next += readCount_) {
    if (IsCancelled(options_)) return AResult::Cancel(from_.path() + ": cancelled before its last record");
    if (readFirst_ != next || readCount_ != end - first) {
      readFirst_ = next;
      readCount_ = reader_->Read(next, end);
    }
    if (readCount_ == 0) {
      return AResult::Fail(from_.path() + ": cannot be read in record " + std::to_string(next + 1));
    }
    for (int i = 0; i < readCount_; ++i) {
      const char* bytes = reader_->records() + static_cast<std::ptrdiff_t>(i) * reader_->recordBytes();
      if (AResult result = Append(next + i, bytes, element); !result) return result;
    }
    done_ += readCount_;
    SendProgress(options_.progress, done_, int64{from_.uvx().count()} * setups_.count(), lastPercent_);
  }
  return AResult::Ok();
}

AResult Unfolder::Append(int record, const char* bytes, int element) {
  AUVXGroup group;
  std::memcpy(static_cast<void*>(&group), bytes, AUVXGroup::kBytes);
  const int setup = places_[static_cast<size_t>(group.freqSel() + kNumbers / 2)];
  if (setup < 0) {
    return AResult::Fail(from_.path() + ": record " + std::to_string(record + 1) + " is of the setup " +
                         std::to_string(group.freqSel()) + ", which its table FQ does not list");
  }
  group.frqsel = static_cast<int8_t>(setups_.NewNumber(static_cast<size_t>(setup), element));
  writer_.SetIntegration(integrations_.Stored(record));
  scans_->Enter(record);
  return writer_.Append(group, Pick(bytes + AUVXGroup::kBytes, element));
}

// The values of a new setup.
const char* Unfolder::Pick(const char* values, int element) {
  const auto channels = static_cast<size_t>(setups_.channels);
  const size_t point =
      static_cast<size_t>(setups_.IFOf(element)) * channels + static_cast<size_t>(setups_.ChannelOf(element));
  values += point * pointBytes_;
  if (!setups_.byChannel || setups_.byIF) return values;
  room_.resize(static_cast<size_t>(setups_.IFs) * pointBytes_);
  for (size_t i = 0; i < static_cast<size_t>(setups_.IFs); ++i) {
    std::memcpy(room_.data() + i * pointBytes_, values + i * channels * pointBytes_, pointBytes_);
  }
  return room_.data();
}

AResult Unfolder::CopyTables() {
  UnfoldedTables tables(setups_, AUVXHeader(from_.uvx()));
  AResult result = zeltra::CopyTables(from_, writer_, UnfoldDescription().Command(options_),
                                      [&](AUVXTable& table) { return tables.Change(table); });
  summary_.remarks = tables.Remarks();
  if (const std::string remark = scans_->Remark(); !remark.empty()) summary_.remarks.push_back(remark);
  return result;
}

}  // namespace

AResult UnfoldUVX(AUVXInput& from, const std::string& to, const UnfoldOptions& options, CopySummary* summary) {
  CopySummary unseen;
  AResult result = Unfolder(from, to, options, summary ? *summary : unseen).Run();
  return result ? result : from.Settle(result);
}

const AJobDescription& UnfoldDescription() {
  static const AJobDescription description = DescribeUnfold();
  return description;
}

}  // namespace zeltra
