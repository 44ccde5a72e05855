// SPDX-License-Identifier: MIT
#include "zeltra/ops/CopyUVX.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <set>

#include "zeltra/core/OutputFileInternal.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/ops/FinishedCopyInternal.h"
#include "zeltra/readers/AWork2UVX.h"

namespace zeltra {
namespace {

// Records this close to a bound of time, days, are inside: a Julian date in double precision is good for 0.04 ms.
constexpr double kTimeTolerance = 5e-5 / 86400.0;

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
  const AUVXContents contents(from);
  int number = 0;
  for (const std::string& name : options.sources) {
    if (AResult result = contents.FindSource(name, number); !result) return result;
    sources_.insert(number);
  }
  for (const std::string& name : options.antennas) {
    if (AResult result = contents.FindAntenna(name, number); !result) return result;
    antennas_.insert(number);
  }
  hasTimes_ = options.start || options.stop;
  std::optional<ATime> start = options.start, stop = options.stop;
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

class PlainCopy : public AWork2UVX {
 public:
  PlainCopy(AUVXInput& from, AUVXFile& to, const JobOptions& options, RecordChoice& choice, FinishedCopy& finish)
      : AWork2UVX(&from.uvx(), &to, options.progress, nullptr),
        cancel_(options.cancel),
        choice_(choice),
        finish_(finish) {}

  int IsCancel() override { return IsSet(cancel_); }

  int Working(AUVXGroup& group, AUVXVisibility& vis, int) override {
    finish_.CountRead();
    if (!choice_.Keeps(group) || !choice_.Keeps(vis)) return 0;
    finish_.Register(group);
    return 1;
  }

 private:
  const ACancelFlag* cancel_;
  RecordChoice& choice_;
  FinishedCopy& finish_;
};

class ReshapedCopy : public AWork2UVX_STChange {
 public:
  ReshapedCopy(AUVXInput& from, AUVXFile& to, const JobOptions& options, RecordChoice& choice, FinishedCopy& finish,
               const ChannelSelection& channels, const AUVXTable* setups)
      : AWork2UVX_STChange(&from.uvx(), &to, options.progress, nullptr),
        cancel_(options.cancel),
        choice_(choice),
        finish_(finish),
        channels_(channels),
        setups_(setups) {}

  int IsCancel() override { return IsSet(cancel_); }
  void ChangeHeader(AUVXHeader& header, AUVXFile*) override { channels_.Change(header, setups_); }

  int Working(AUVXGroup& group, AUVXVisibility& in, AUVXVisibility& out, int) override {
    finish_.CountRead();
    if (!choice_.Keeps(group)) return 0;
    channels_.Pick(in, out);
    if (!choice_.Keeps(out)) return 0;
    finish_.Register(group);
    return 1;
  }

 private:
  const ACancelFlag* cancel_;
  RecordChoice& choice_;
  FinishedCopy& finish_;
  const ChannelSelection& channels_;
  const AUVXTable* setups_;
};

class Copier {
 public:
  Copier(AUVXInput& from, const std::string& to, const CopyOptions& options, CopySummary& summary)
      : from_(from), to_(to), options_(options), summary_(summary), finish_(from) {}
  // Closing a UVX file declares it whole, so a copy that ends early takes the file away first.
  ~Copier() { output_.Discard(); }

  AResult Run();

 private:
  AResult CheckFrequencies();
  int CopyRecords();
  void ReduceTables();
  AResult NothingSelected();

  AUVXInput& from_;
  const std::string to_;
  const CopyOptions options_;
  CopySummary& summary_;
  RecordChoice choice_;
  ChannelSelection channels_;
  FinishedCopy finish_;
  OutputFile output_;
  AUVXFile uvx_;
};

AResult Copier::Run() {
  if (AResult result = from_.CheckTables(); !result) return result;
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = choice_.Open(from_, options_); !result) return result;
  const AUVXHeader header(from_.uvx());
  AResult result = channels_.Open(from_.path(), header, options_.ifs, options_.channels, options_.stokes);
  if (!result) return result;
  if (result = CheckFrequencies(); !result) return result;
  if (result = output_.Create(to_, options_.overwrite, from_.path()); !result) return result;
  if (!uvx_.Attach(&output_.file(), 1, 0)) return output_.WriteError();
  SendProgressText(options_.progress, "Copying...");
  if (!CopyRecords()) return AResult::Cancel(to_ + ": the copy was cancelled");
  if (!output_.file().good()) return output_.WriteError();
  if (result = finish_.Check(); !result) return result;
  if (finish_.records() == 0 && from_.uvx().count() > 0) return NothingSelected();
  finish_.WriteIndex(uvx_);
  ReduceTables();
  if (!output_.file().good()) return output_.WriteError();
  uvx_.Close();
  summary_.records = finish_.records();
  return output_.Commit();
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

int Copier::CopyRecords() {
  if (channels_.IsWhole()) return PlainCopy(from_, uvx_, options_, choice_, finish_).Run();
  const std::unique_ptr<AUVXTable> setups = from_.Table("FQ");
  return ReshapedCopy(from_, uvx_, options_, choice_, finish_, channels_, setups.get()).Run();
}

// Tables only shrink, so that each stays where it is.
void Copier::ReduceTables() {
  if (channels_.KeepsFrequencies()) return;
  std::string others;
  AUVXTableHeader directory(uvx_);
  for (int i = 0; i < directory.count(); ++i) {
    AUVXTableItem& item = directory(i);
    uvx_.Seek(int64{item.position});
    AUVXTable table(*uvx_.GetFile());
    const std::string code = table.Code();
    if (channels_.Reduce(table)) {
      item.size = table.GetSize();
      uvx_.Seek(int64{item.position});
      table.store(*uvx_.GetFile());
    } else if (code != "NX" && code != "BL") {
      others += (others.empty() ? "" : ", ") + code;
    }
  }
  directory.store(uvx_);
  if (others.empty()) return;
  summary_.remarks.push_back("tables whose columns for IFs or channels are copied as they are: " + others);
}

AResult Copier::NothingSelected() {
  if (choice_.hasBaseLines()) return from_.NothingSelected();
  std::string names;
  for (const std::string& name : options_.antennas) names += (names.empty() ? "" : ", ") + name;
  return AResult::Fail(from_.path() + ": no record is selected; there is no baseline between the antennas " + names);
}

}  // namespace

AResult CopyUVX(AUVXInput& from, const std::string& to, const CopyOptions& options, CopySummary* summary) {
  CopySummary unseen;
  return Copier(from, to, options, summary ? *summary : unseen).Run();
}

}  // namespace zeltra
