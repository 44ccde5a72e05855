// SPDX-License-Identifier: MIT
#include "zeltra/ops/CopyUVX.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>

#include "zeltra/core/Units.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/KeptScansInternal.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

// Records this close to a bound of time, days, are inside: a Julian date in double precision is good for 0.04 ms.
constexpr double kTimeTolerance = 5e-5 / kSecondsPerDay;

// Decides which records are kept.
class RecordChoice {
 public:
  AResult Open(AUVXInput& from, const CopyOptions& options);
  bool Keeps(const AUVXGroup& group);
  bool Keeps(const AUVXVisibility& values) const;
  /// Whether a record was of two antennas that are asked for.
  bool hasBaseLines() const { return hasBaseLines_; }

 private:
  bool AreAskedFor(const AUVXGroup& group) const;

  bool dropFlagged_ = false;
  std::set<int> sources_;
  std::set<int> antennas_;
  double start_ = 0;
  double stop_ = 0;
  bool hasTimes_ = false;
  bool hasBaseLines_ = false;
};

AResult RecordChoice::Open(AUVXInput& from, const CopyOptions& options) {
  dropFlagged_ = options.dropFlagged;
  const AUVXContents& contents = from.contents();
  int number = 0;
  for (const std::string& name : options.selection.sources) {
    if (AResult result = contents.FindSource(name, number); !result) return result;
    sources_.insert(number);
  }
  for (const std::string& name : options.selection.antennas) {
    if (AResult result = contents.FindAntenna(name, number); !result) return result;
    antennas_.insert(number);
  }
  hasTimes_ = options.selection.start || options.selection.stop;
  std::optional<ATime> start = options.selection.start, stop = options.selection.stop;
  if (AResult result = contents.SettleTimes(start, stop); !result) return result;
  start_ = start.value_or(-HUGE_VAL).value - kTimeTolerance;
  stop_ = stop.value_or(HUGE_VAL).value + kTimeTolerance;
  return AResult::Ok();
}

bool RecordChoice::Keeps(const AUVXGroup& group) {
  if (!AreAskedFor(group)) return false;
  hasBaseLines_ = true;
  if (dropFlagged_ && group.flag != 0) return false;
  if (!sources_.empty() && !sources_.contains(group.sourceNo())) return false;
  return !hasTimes_ || (group.date >= start_ && group.date <= stop_);
}

bool RecordChoice::AreAskedFor(const AUVXGroup& group) const {
  return antennas_.empty() ||
         (antennas_.contains(static_cast<uint8_t>(group.ant1)) && antennas_.contains(static_cast<uint8_t>(group.ant2)));
}

bool RecordChoice::Keeps(const AUVXVisibility& values) const {
  const AUVXComplex* begin = values.lpArray();
  return !dropFlagged_ ||
         std::any_of(begin, begin + values.count(), [](const AUVXComplex& value) { return value.weight > 0; });
}

class Copier {
 public:
  Copier(AUVXInput& from, const std::string& to, const CopyOptions& options, CopySummary& summary)
      : from_(from), to_(to), options_(options), summary_(summary), integrations_(from.contents().integrations()) {}

  AResult Run();

 private:
  AResult Create();
  AResult CheckFrequencies();
  AResult CopyRecord(const WalkedRecord& record);
  AResult CopyTables();
  AResult NothingSelected();

  AUVXInput& from_;
  const std::string to_;
  const CopyOptions options_;
  CopySummary& summary_;
  AUVXIntegrationCursor integrations_;
  RecordChoice choice_;
  ChannelSelection channels_;
  AUVXVisibility read_, kept_;
  AUVXWriter writer_;
  std::optional<KeptScans> scans_;
};

AResult Copier::Run() {
  if (AResult result = from_.CheckTables(); !result) return result;
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = choice_.Open(from_, options_); !result) return result;
  if (AResult result = Create(); !result) return result;
  scans_.emplace(from_, writer_, options_.scanGap);
  SendProgressText(options_.progress, "Copying...");
  AResult copied = AResult::Ok();
  AResult result = WalkRecords(from_, options_, 0, from_.uvx().count(), [&](const WalkedRecord& record) {
    copied = CopyRecord(record);
    return static_cast<bool>(copied);
  });
  if (!copied) return copied;
  if (!result) return result;
  if (writer_.records() == 0 && from_.uvx().count() > 0) return NothingSelected();
  if (result = CopyTables(); !result) return result;
  summary_.records = writer_.records();
  return writer_.Finish();
}

AResult Copier::Create() {
  AUVXHeader header(from_.uvx());
  AResult result = channels_.Open(from_.path(), header, options_.selection.IFs, options_.selection.channels,
                                  options_.selection.stokes);
  if (!result) return result;
  if (result = CheckFrequencies(); !result) return result;
  read_.GrowBy(from_.uvx());
  if (!channels_.IsWhole()) {
    channels_.Change(header, from_.Table("FQ").get());
    kept_.GrowBy(header.IFs, header.channels, std::max(header.stokes.count(), 1));
  }
  return writer_.Create(to_, header, options_, from_.path());
}

// The frequencies of the header move, so that those of the table have to follow.
AResult Copier::CheckFrequencies() {
  if (channels_.KeepsFrequencies()) return AResult::Ok();
  const std::unique_ptr<AUVXTable> setups = from_.Table("FQ");
  if (!setups || channels_.CanReduce(*setups)) return AResult::Ok();
  return AResult::Fail(from_.path() +
                       ": IFs or channels cannot be left out, since the columns of its table FQ do not " +
                       "fill the rows");
}

AResult Copier::CopyRecord(const WalkedRecord& record) {
  if (!choice_.Keeps(record.group)) return AResult::Ok();
  writer_.SetIntegration(integrations_.Stored(record.index));
  scans_->Enter(record.index);
  if (channels_.IsWhole() && !options_.dropFlagged) return writer_.Append(record.group, record.values);
  std::copy_n(record.values, read_.count(), read_.lpArray());
  if (!channels_.IsWhole()) channels_.Pick(read_, kept_);
  const AUVXVisibility& out = channels_.IsWhole() ? read_ : kept_;
  return choice_.Keeps(out) ? writer_.Append(record.group, out.lpArray()) : AResult::Ok();
}

AResult Copier::CopyTables() {
  std::string others;
  AResult result = zeltra::CopyTables(from_, writer_, CopyDescription().Command(options_), [&](AUVXTable& table) {
    DropUnusedRows(table, writer_.baseLines());
    if (channels_.KeepsFrequencies() || channels_.Reduce(table)) return;
    others += (others.empty() ? "" : ", ") + table.Code();
  });
  if (!others.empty()) {
    summary_.remarks.push_back("tables whose columns for IFs or channels are copied as they are: " + others);
  }
  if (const std::string remark = scans_->Remark(); !remark.empty()) summary_.remarks.push_back(remark);
  return result;
}

AResult Copier::NothingSelected() {
  if (choice_.hasBaseLines()) return from_.NothingSelected();
  std::string names;
  for (const std::string& name : options_.selection.antennas) names += (names.empty() ? "" : ", ") + name;
  return AResult::Fail(from_.path() + ": no record is selected; there is no baseline between the antennas " + names);
}

}  // namespace

AResult CopyUVX(AUVXInput& from, const std::string& to, const CopyOptions& options, CopySummary* summary) {
  CopySummary unseen;
  AResult result = Copier(from, to, options, summary ? *summary : unseen).Run();
  return result ? result : from.Settle(result);
}

}  // namespace zeltra
