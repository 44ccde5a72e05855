// SPDX-License-Identifier: MIT
#include "zeltra/ops/JoinParts.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <system_error>
#include <vector>

#include "zeltra/core/Parse.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/PartFileInternal.h"
#include "zeltra/ops/RecordReaderInternal.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

// File names are UTF-8 on every system.
std::filesystem::path PathOf(const std::string& name) {
  return std::u8string(name.begin(), name.end());
}

// Read what follows the name of the whole file, as in ".2-of-4". @return false if it is anything else
bool ReadShare(const std::string& ending, PartShare& share) {
  const size_t of = ending.find("-of-");
  if (of == std::string::npos || !ending.starts_with('.')) return false;
  const bool isRead = static_cast<bool>(strToVal(ending.substr(1, of - 1), share.number)) &&
                      static_cast<bool>(strToVal(ending.substr(of + 4), share.count));
  return isRead && share.number >= 1 && share.number <= share.count && share.count <= PartShare::kMost &&
         share.FileName("") == ending;
}

// Find out how many workers there were.
AResult FindParts(const std::string& to, int& count) {
  const std::filesystem::path path = PathOf(to);
  const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
  const std::u8string name = path.filename().u8string();
  std::map<int, std::set<int>> found;  // numbers of parts, by their count
  std::error_code error;
  for (std::filesystem::directory_iterator file(folder, error), end; !error && file != end; file.increment(error)) {
    const std::u8string other = file->path().filename().u8string();
    PartShare share;
    if (!other.starts_with(name) || !ReadShare(std::string(other.begin(), other.end()).substr(name.size()), share)) {
      continue;
    }
    found[share.count].insert(share.number);
  }
  if (error) return AResult::Fail(to + ": its folder cannot be read: " + error.message());
  if (found.empty()) return AResult::Fail(to + ": there is no part of it, as in " + PartShare{1, 2}.FileName(to));
  if (found.size() > 1) {
    return AResult::Fail(to + ": there are parts of several runs, as " +
                         PartShare{*found.begin()->second.begin(), found.begin()->first}.FileName(to) + " and " +
                         PartShare{*found.rbegin()->second.begin(), found.rbegin()->first}.FileName(to));
  }
  count = found.begin()->first;
  for (int i = 1; i <= count; ++i) {
    if (!found.begin()->second.contains(i)) return AResult::Fail(PartShare{i, count}.FileName(to) + ": is missing");
  }
  return AResult::Ok();
}

// The first table of the library's own family with this code; null if absent.
std::unique_ptr<AUVXTable> OwnTable(AUVXInput& input, const char* code) {
  const AUVXTableHeader directory(input.uvx());
  for (int i = 0; i < directory.count(); ++i) {
    const int mask = AUVXTable::kOwnFamily | 0xFFFF;
    if ((directory(i).ID & mask) == AUVXTable::toHash(code, 1)) return input.Table(directory(i));
  }
  return nullptr;
}

struct PartFile {
  AUVXInput input;
  PartList list;
  AUVXHeaderCards cards;
  size_t nextRun = 0;
  int nextRecord = 0;
};

class Joiner {
 public:
  Joiner(const std::string& to, const JobOptions& options) : to_(to), options_(options) {}

  AResult Run();

 private:
  AResult Open(const PartShare& share);
  AResult Check(PartFile& file, const PartShare& share);
  AResult CopyPart(int part);
  AResult CopyRecords(PartFile& file, int count);
  AResult CopyTables();

  const std::string to_;
  const JobOptions options_;
  std::vector<std::unique_ptr<PartFile>> files_;
  AUVXWriter writer_;
  int64 records_ = 0;  // in all files
  int lastPercent_ = -1;
};

AResult Joiner::Run() {
  int count = 0;
  if (AResult result = FindParts(to_, count); !result) return result;
  for (int i = 1; i <= count; ++i) {
    if (AResult result = Open({i, count}); !result) return result;
  }
  AUVXInput& first = files_[0]->input;
  if (records_ == 0 && files_[0]->list.parts > 0) {
    return AResult::Fail(to_ + ": its parts hold no record: none was selected");
  }
  AResult result = writer_.Create(to_, AUVXHeader(first.uvx()), options_, first.path());
  if (!result) return result;
  SendProgressText(options_.progress, "Joining parts...");
  SendProgressRange(options_.progress);
  for (int part = 1; part <= files_[0]->list.parts && result; ++part) result = CopyPart(part);
  if (result) result = CopyTables();
  for (const auto& file : files_) {
    if (result) result = file->input.Check();
  }
  return result ? writer_.Finish() : result;
}

AResult Joiner::Open(const PartShare& share) {
  auto file = std::make_unique<PartFile>();
  if (AResult result = file->input.Open(share.FileName(to_)); !result) return result;
  AResult result = Check(*file, share);
  records_ += file->input.uvx().count();
  files_.push_back(std::move(file));
  return files_.back()->input.Settle(result);
}

AResult Joiner::Check(PartFile& file, const PartShare& share) {
  AUVXInput& input = file.input;
  if (AResult result = input.CheckTables(); !result) return result;
  const std::unique_ptr<AUVXTable> list = OwnTable(input, "PT"), cards = OwnTable(input, "HD");
  if (cards) file.cards = AUVXHeaderCards(*cards);
  const bool isPart = list && file.list.Load(*list, input.uvx().count()) && HashOf(file.cards) == file.list.cards;
  if (!isPart) {
    return AResult::Fail(input.path() + ": is no part as 'zeltra average --part' makes it, or was changed since");
  }
  const PartList& first = files_.empty() ? file.list : files_[0]->list;
  if (file.list.share.number != share.number || file.list.share.count != share.count) {
    return AResult::Fail(input.path() + ": is part " + file.list.share.FileName("").substr(1) +
                         " and has another name");
  }
  const std::string other = files_.empty() ? "" : files_[0]->input.path();
  if (file.list.input != first.input) return AResult::Fail(input.path() + ": is of another input than " + other);
  if (file.list.cards != first.cards || file.list.parts != first.parts) {
    return AResult::Fail(input.path() + ": was made with other options than " + other);
  }
  if (!files_.empty() && input.uvx().recSize() != files_[0]->input.uvx().recSize()) {
    return AResult::Fail(input.path() + ": has records of another size than " + other);
  }
  return AResult::Ok();
}

AResult Joiner::CopyPart(int part) {
  PartFile& file = *files_[static_cast<size_t>(part - 1) % files_.size()];
  const std::vector<PartRun>& runs = file.list.runs;
  for (; file.nextRun < runs.size() && runs[file.nextRun].part == part; ++file.nextRun) {
    const PartRun& run = runs[file.nextRun];
    writer_.BeginScan(run.scan, run.subarray);
    writer_.SetIntegration(run.seconds);
    if (AResult result = CopyRecords(file, run.records); !result) return result;
  }
  return AResult::Ok();
}

AResult Joiner::CopyRecords(PartFile& file, int count) {
  RecordReader reader(file.input);
  for (const int end = file.nextRecord + count; file.nextRecord < end;) {
    if (IsCancelled(options_)) return AResult::Cancel(to_ + ": cancelled before its last part");
    const int read = reader.Read(file.nextRecord, end);
    if (read == 0) {
      return file.input.Settle(
          AResult::Fail(file.input.path() + ": cannot be read in record " + std::to_string(file.nextRecord + 1)));
    }
    if (AResult result = writer_.Append(reader.records(), read); !result) return result;
    file.nextRecord += read;
    SendProgress(options_.progress, writer_.records(), records_, lastPercent_);
  }
  return AResult::Ok();
}

// All parts have the tables of the job's input; index and baseline list are made from the records.
AResult Joiner::CopyTables() {
  AUVXInput& first = files_[0]->input;
  const AUVXTableHeader directory(first.uvx());
  AResult result = AResult::Ok();
  for (int i = 0; i < directory.count() && result; ++i) {
    const int code = directory(i).ID & 0xFFFF;
    if (AUVXTable::IsProvenance(directory(i).ID)) continue;
    if (code == AUVXTable::toHash("NX", 0)) {
      result = writer_.AddIndex();
    } else if (code == AUVXTable::toHash("BL", 0)) {
      result = writer_.AddBaseLines();
    } else {
      const std::unique_ptr<AUVXTable> table = first.Table(directory(i));
      result = table ? writer_.AddTable(*table) : AResult::Fail(first.path() + ": a table cannot be read any more");
    }
  }
  // The cards include the job already.
  return result ? writer_.AddProvenance(files_[0]->cards) : result;
}

}  // namespace

AResult JoinParts(const std::string& to, const JobOptions& options) {
  return Joiner(to, options).Run();
}

}  // namespace zeltra
