// SPDX-License-Identifier: MIT
#include "zeltra/ops/SplitUVX.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <memory>
#include <set>
#include <string_view>
#include <utility>

#include "zeltra/core/OutputFilesInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/FrequencyChangeInternal.h"
#include "zeltra/ops/FrequencyTablesInternal.h"
#include "zeltra/ops/RecordChoice.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/ops/RowNumbersInternal.h"
#include "zeltra/ops/SharedOptionsInternal.h"
#include "zeltra/platform/System.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

// Outputs open at a time; each takes 3 MB of memory and a descriptor.
constexpr size_t kMostOpen = 32;

// Source and setup.
using Stream = std::pair<int, int>;

// A name without characters that have a meaning to a file system or a shell.
std::string SafeName(const std::string& name) {
  constexpr std::string_view kSafe = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+-._";
  std::string safe;
  for (const char c : name) safe += kSafe.find(c) == kSafe.npos ? '_' : c;
  if (safe.starts_with('.') || safe.starts_with('-')) safe.insert(safe.begin(), '_');
  return safe.empty() ? "source" : safe;
}

// Names the files of streams. Sources whose names become the same, apart from case, are told apart by their numbers.
class PartNames {
 public:
  explicit PartNames(const AUVXContents& contents) : contents_(contents) {
    std::map<std::string, std::set<int>> sources;
    for (int i = 0; i < contents.sources().count(); ++i) {
      const int number = contents.sources()(i).id;
      sources[Capitals(SafeName(contents.SourceName(number)))].insert(number);
    }
    for (const auto& [name, numbers] : sources) {
      if (numbers.size() > 1) shared_.insert(name);
    }
  }

  std::string NameOf(Stream stream) {
    const auto [source, setup] = stream;
    const std::string number = std::string("_") + std::to_string(source);
    std::string name = SafeName(contents_.SourceName(source));
    if (contents_.SourceName(source).empty() || shared_.contains(Capitals(name))) name += number;
    if (AreSeveral(setup) || taken_.contains(Capitals(name))) name += std::string("_setup") + std::to_string(setup);
    while (!taken_.insert(Capitals(name)).second) name += number + "_" + std::to_string(setup);
    return name + ".uvx";
  }

  /// Whether there is a list of setups that lacks this one.
  bool LacksSetup(int setup) const {
    return contents_.setups().GetFreqSels() > 0 && contents_.setups().GetFreqSelNum(setup) < 0;
  }

 private:
  // Whether there are other setups than this one.
  bool AreSeveral(int setup) const { return contents_.setups().GetFreqSels() > 1 || LacksSetup(setup); }
  static std::string Capitals(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    return text;
  }

  const AUVXContents& contents_;
  std::set<std::string> shared_, taken_;
};

class Splitter {
 public:
  Splitter(AUVXInput& from, const std::string& folder, const SplitOptions& options, SplitSummary& summary)
      : from_(from),
        folder_(folder),
        options_(options),
        summary_(summary),
        names_(from.contents()),
        integrations_(from.contents().integrations()),
        files_(from.path(), options) {}

  AResult Run();

 private:
  AResult Pass();
  AResult TakeRecord(const WalkedRecord& record);
  AUVXWriter* WriterOf(Stream stream, AResult& result);
  AResult Create(Stream stream, AUVXWriter& writer);
  AResult FinishPart(Stream stream, AUVXWriter& writer);
  bool Reduce(AUVXTable& table, Stream stream);
  int RowOf(const AUVXTable& setups, int setup) const;
  double ShiftOf(int setup) const;

  AUVXInput& from_;
  const std::string folder_;
  const SplitOptions options_;
  SplitSummary& summary_;
  PartNames names_;
  AUVXIntegrationCursor integrations_;
  RecordChoice choice_;
  OutputFiles files_;
  std::map<Stream, std::unique_ptr<AUVXWriter>> open_;
  std::set<Stream> done_, waiting_;
  Stream last_;
  AUVXWriter* lastWriter_ = nullptr;  // null before the first record, or if that stream waits or is done
  bool hasLast_ = false;
  std::set<std::string> leftOut_;  // codes of tables
};

AResult Splitter::Run() {
  if (AResult result = from_.CheckTables(); !result) return result;
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = choice_.Open(from_, options_.selection); !result) return result;
  if (from_.uvx().count() == 0) return AResult::Fail(from_.path() + ": has no records to split");
  do {
    if (AResult result = Pass(); !result) return result;
  } while (!waiting_.empty());
  if (done_.empty()) return choice_.NothingSelected(from_, options_);
  std::string codes;
  for (const std::string& code : leftOut_) codes += (codes.empty() ? "" : ", ") + code;
  if (!codes.empty()) summary_.remarks.push_back("tables whose columns are not understood are left out: " + codes);
  AResult result = from_.Check();
  return result ? files_.Commit() : result;
}

// Write as many files as may be open at once.
AResult Splitter::Pass() {
  waiting_.clear();
  hasLast_ = false;
  SendProgressText(options_.progress, "Splitting...");
  AResult taken = AResult::Ok();
  AResult result = WalkRecords(from_, options_, 0, from_.uvx().count(), [&](const WalkedRecord& record) {
    taken = TakeRecord(record);
    return static_cast<bool>(taken);
  });
  if (!taken) return taken;
  for (auto& [stream, writer] : open_) {
    if (result) result = FinishPart(stream, *writer);
    writer.reset();
    done_.insert(stream);
  }
  open_.clear();
  return result;
}

AResult Splitter::TakeRecord(const WalkedRecord& record) {
  if (!choice_.Takes(record.group, record.index)) return AResult::Ok();
  const Stream stream(record.group.sourceNo(), record.group.freqSel());
  if (!hasLast_ || stream != last_) {
    AResult result = AResult::Ok();
    lastWriter_ = WriterOf(stream, result);
    if (!result) return result;
    last_ = stream;
    hasLast_ = true;
  }
  if (!lastWriter_) return AResult::Ok();
  lastWriter_->SetIntegration(integrations_.Stored(record.index));
  return lastWriter_->Append(record.group, record.values);
}

// Null for a stream that is done, or whose turn comes in a later pass.
AUVXWriter* Splitter::WriterOf(Stream stream, AResult& result) {
  if (const auto place = open_.find(stream); place != open_.end()) return place->second.get();
  if (done_.contains(stream)) return nullptr;
  if (open_.size() == kMostOpen) {
    waiting_.insert(stream);
    return nullptr;
  }
  std::unique_ptr<AUVXWriter>& writer = open_[stream];
  writer = std::make_unique<AUVXWriter>();
  result = Create(stream, *writer);
  return writer.get();
}

AResult Splitter::Create(Stream stream, AUVXWriter& writer) {
  AUVXHeader header(from_.uvx());
  header.freq0 += ShiftOf(stream.second);
  summary_.paths.push_back(folder_ + "/" + names_.NameOf(stream));
  if (names_.LacksSetup(stream.second)) {
    summary_.remarks.push_back(summary_.paths.back() + ": the table FQ does not list its setup " +
                               std::to_string(stream.second) + ", and is kept as it is");
  }
  return writer.Create(summary_.paths.back(), header, options_, from_.path());
}

AResult Splitter::FinishPart(Stream stream, AUVXWriter& writer) {
  AResult result = CopyTables(from_, writer, SplitDescription().Command(options_),
                              [&](AUVXTable& table) { return Reduce(table, stream); });
  return result ? writer.Finish(files_) : result;
}

// What is added to the frequency of the header for a setup.
double Splitter::ShiftOf(int setup) const {
  const std::unique_ptr<AUVXTable> setups = from_.Table("FQ");
  const int row = setups ? RowOf(*setups, setup) : -1;
  return row >= 0 ? SetupFrequencies(*setups).Start(row, 0) : 0;
}

// The row of a setup among others; -1 if there are no others, or if the columns do not state its frequencies.
int Splitter::RowOf(const AUVXTable& setups, int setup) const {
  const SetupFrequencies frequencies(setups);
  if (setups.rows() < 2 || setups.ColumnOffset(frequencies.idColumn) < 0 ||
      setups.ColumnOffset(frequencies.startColumn) < 0) {
    return -1;
  }
  for (int row = 0; row < setups.rows(); ++row) {
    if (frequencies.Id(row) == setup) return row;
  }
  return -1;
}

// Whether the table is kept.
bool Splitter::Reduce(AUVXTable& table, Stream stream) {
  const auto [source, setup] = stream;
  const std::string code = table.Code();
  if (code == "FQ") {
    const int row = RowOf(table, setup);
    if (row < 0) return true;
    KeepRows(table, [row = row](int i) { return i == row; });
    const SetupFrequencies frequencies(table);
    const double shift = frequencies.Start(0, 0);
    for (int i = 0; i < std::max<int>(from_.uvx().IFs(), 1); ++i) {
      table.SetNumber(0, frequencies.startColumn, i, frequencies.Start(0, i) - shift);
    }
    return true;
  }
  if (code == "AN") FollowReference(table, from_.uvx().freq0(), ShiftOf(setup));
  const std::optional<RowNumbers> numbers = RowNumbers::Of(table);
  if (!numbers) {
    if (RowNumbers::IsKnown(code)) leftOut_.insert(code);
    return !RowNumbers::IsKnown(code);
  }
  KeepRows(table, [&, source = source, setup = setup](int row) {
    return numbers->Concerns(table, row, RowNumber::Source, source) &&
           numbers->Concerns(table, row, RowNumber::Setup, setup);
  });
  return true;
}

AJobDescription DescribeSplit() {
  AJobDescriber<SplitOptions> job(
      "split", "Write a UVX file of each source and frequency setup",
      "Files are named after their sources, with _ for characters that a file system or a shell takes for something "
      "else, and after their setups where there are several: 3C279.uvx, or 3C279_setup2.uvx. Numbers of sources, "
      "setups and antennas stay. Tables of flags and of calibration keep the rows about the source and the setup, or "
      "about all. Lists of scans and baselines are made anew. No file has its name before all are complete.");
  job.Input({"IN", "UVX, or UV FITS, which is imported first", "", 0, {}});
  job.Output({"FOLDER", "where to make the files; created if it does not exist", "", 0, {}});
  DescribeSelection(job, {.leftOut = kFrequencies | kStokes});
  job.Overwrite();
  return job.Finish();
}

}  // namespace

AResult SplitUVX(AUVXInput& from, const std::string& folder, const SplitOptions& options, SplitSummary* summary) {
  SplitSummary unseen;
  const bool isNew = !PathExists(folder);
  if (!MakeFolder(folder)) return AResult::Fail(folder + ": cannot be created: " + ReasonOf(errno));
  AResult result = Splitter(from, folder, options, summary ? *summary : unseen).Run();
  if (result) return result;
  if (isNew) RemoveFolder(folder);
  return from.Settle(result);
}

const AJobDescription& SplitDescription() {
  static const AJobDescription description = DescribeSplit();
  return description;
}

}  // namespace zeltra
