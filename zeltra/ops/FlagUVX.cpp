// SPDX-License-Identifier: MIT
#include "zeltra/ops/FlagUVX.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/FlagEntriesInternal.h"
#include "zeltra/ops/KeptScansInternal.h"
#include "zeltra/ops/KnownFrequenciesInternal.h"
#include "zeltra/ops/RecordChoice.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/ops/SharedOptionsInternal.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

constexpr ASuffix kPercent[] = {{"%", 1}};
constexpr size_t kMostNamed = 20;

// Why a value is flagged, in a byte.
using Mark = uint8_t;
constexpr Mark kFree = 0;        // nothing so far
constexpr Mark kOutside = 0xFF;  // never, since it is not selected
constexpr Mark MarkOf(FlagCause cause) {
  return static_cast<Mark>(static_cast<int>(cause) + 1);
}

constexpr bool IsCause(Mark mark) {
  return mark != kFree && mark != kOutside;
}

bool IsParallel(int code) {
  return code == -1 || code == -2 || code == -5 || code == -6 || code == 1;
}

bool HasCriterion(const FlagOptions& options) {
  return options.clip < std::numeric_limits<double>::infinity() || options.below > 0 || options.trim > 0 ||
         !options.table.empty() || !options.file.empty();
}

bool IsEmpty(const UVXSelection& selection) {
  return selection.sources.empty() && !selection.setup && selection.scans.empty() && selection.antennas.empty() &&
         selection.baselines.empty() && !selection.start && !selection.stop && selection.IFs.empty() &&
         selection.channels.empty() && selection.stokes.empty() && !selection.uvRange.IsLimited();
}

class Flagger {
 public:
  Flagger(AUVXInput& from, const FlagOptions& options, FlagSummary& summary)
      : from_(from),
        options_(options),
        summary_(summary),
        contents_(from.contents()),
        integrations_(contents_.integrations()),
        frequencies_(from),
        IFs_(std::max(from.uvx().IFs(), 1)),
        channels_(from.uvx().channels()),
        stokes_(from.uvx().stokes()),
        hasAmplitudes_(options.clip < std::numeric_limits<double>::infinity() || options.below > 0) {}

  AResult Run(const std::string& to);

 private:
  AResult Open();
  AResult SelectValues();
  AResult SelectStokes(std::vector<bool>& isWanted) const;
  void PlaceMarks(const std::vector<int>& IFs, const std::vector<int>& channels, const std::vector<bool>& stokes);
  AResult ReadLists();
  AResult ReadTable();
  void NoteOn(const std::string& list, const FlagListNotes& notes);
  AResult TakeRecord(const WalkedRecord& record);
  void MarkRecord(const WalkedRecord& record);
  void MarkDistances(const AUVXGroup& group);
  void MarkEntries(FlagEntries& entries, const WalkedRecord& record, FlagCause cause);
  void MarkEntry(const FlagEntry& entry, Mark mark);
  void MarkAmplitudes();
  int SubarrayOf(int record);
  void Turn(AUVXGroup& group, const WalkedRecord& record);
  void Count(const AUVXGroup& before, const AUVXGroup& after, const WalkedRecord& record);
  void Remark(const KeptScans& scans);

  AUVXInput& from_;
  const FlagOptions& options_;
  FlagSummary& summary_;
  const AUVXContents& contents_;
  AUVXIntegrationCursor integrations_;
  KnownFrequencies frequencies_;
  const int IFs_, channels_, stokes_;
  const bool hasAmplitudes_;
  RecordChoice choice_;
  FlagEntries tableEntries_, fileEntries_;
  // Indexed by the places of values in a record.
  std::vector<Mark> begin_;  // initial marks of every record taken
  std::vector<Mark> marks_;  // those of the record
  std::vector<AUVXComplex> values_;
  bool isTaken_ = false;  // the record
  int scan_ = 0;          // of the record, where subarrays matter
  int64 turned_ = 0, turnedRecords_ = 0;
};

AResult Flagger::Open() {
  if (AResult result = CheckFlagOptions(options_); !result)
    return AResult::Fail(from_.path() + ": " + result.message());
  if (AResult result = from_.CheckTables(); !result) return result;
  if (AResult result = from_.CheckRecordSize(); !result) return result;
  if (AResult result = choice_.Open(from_, options_.selection, RecordChoice::UVDistances); !result) return result;
  if (AResult result = SelectValues(); !result) return result;
  if (options_.selection.uvRange.IsLimited()) {
    if (AResult result = frequencies_.Open(); !result) return result;
  }
  return ReadLists();
}

AResult Flagger::SelectStokes(std::vector<bool>& isWanted) const {
  const AUVXStokes& stored = contents_.header().stokes;
  isWanted.assign(static_cast<size_t>(stokes_), options_.selection.stokes.empty());
  for (const std::string& name : options_.selection.stokes) {
    bool isThere = false;
    for (int i = 0; i < stokes_; ++i) {
      const bool isIt = IsSameWord(name, "PI") ? IsParallel(stored(i))
                                               : IsSameWord(name, contents_.polarisations()[static_cast<size_t>(i)]);
      if (isIt) isWanted[static_cast<size_t>(i)] = isThere = true;
    }
    if (isThere) continue;
    std::string names;
    for (const std::string& code : contents_.polarisations()) names += (names.empty() ? "" : ", ") + code;
    return AResult::Fail(from_.path() + ": no polarisation " + name + " is stored; there are " + names);
  }
  return AResult::Ok();
}

AResult Flagger::SelectValues() {
  std::vector<int> IFs, channels;
  std::vector<bool> stokes;
  if (AResult result = SettlePlaces(from_.path(), "IF", options_.selection.IFs, IFs_, IFs); !result) return result;
  AResult result = SettlePlaces(from_.path(), "channel", options_.selection.channels, channels_, channels);
  if (result) result = SelectStokes(stokes);
  if (result) PlaceMarks(IFs, channels, stokes);
  return result;
}

void Flagger::PlaceMarks(const std::vector<int>& IFs, const std::vector<int>& channels,
                         const std::vector<bool>& stokes) {
  const auto count = static_cast<size_t>(IFs_) * static_cast<size_t>(channels_) * static_cast<size_t>(stokes_);
  begin_.assign(count, kOutside);
  values_.resize(count);
  const int trimmed = static_cast<int>(std::floor(options_.trim / 100 * channels_ + 0.5));
  for (const int i : IFs) {
    for (const int channel : channels) {
      const bool isEdge = channel < trimmed || channel >= channels_ - trimmed;
      for (int s = 0; s < stokes_; ++s) {
        if (!stokes[static_cast<size_t>(s)]) continue;
        const auto place = static_cast<size_t>((i * channels_ + channel) * stokes_ + s);
        begin_[place] = HasCriterion(options_) ? kFree : MarkOf(FlagCause::Selection);
        if (options_.trim > 0 && isEdge) begin_[place] = MarkOf(FlagCause::Trim);
      }
    }
  }
}

AResult Flagger::ReadLists() {
  if (!options_.table.empty()) {
    if (AResult result = ReadTable(); !result) return result;
  }
  if (!options_.file.empty()) {
    FlagListNotes notes;
    AResult result = ReadFlagText(options_.file, contents_, fileEntries_, notes);
    if (!result) return result;
    NoteOn(options_.file, notes);
  }
  const bool needsScans = tableEntries_.NeedsSubarrays() || fileEntries_.NeedsSubarrays();
  return needsScans ? contents_.CheckScans() : AResult::Ok();
}

AResult Flagger::ReadTable() {
  const size_t colon = options_.table.find(':');
  int version = 1;
  if (colon != std::string::npos && !strToVal(options_.table.substr(colon + 1), version)) {
    return AResult::Fail(options_.table + ": no table, which is named as in FG or FG:2");
  }
  std::unique_ptr<AUVXTable> table;
  AResult result = from_.FindTable(options_.table.substr(0, colon), version, table);
  if (!result) return result;
  FlagListNotes notes;
  result = ReadFlagTable(from_.path(), contents_, *table, tableEntries_, notes);
  if (result) NoteOn("the table " + options_.table, notes);
  return result;
}

void Flagger::NoteOn(const std::string& list, const FlagListNotes& notes) {
  if (notes.empty > 0) {
    summary_.remarks.push_back(std::to_string(notes.empty) + " entries of " + list +
                               " name no time, IF, channel or polarisation of the file and flag nothing");
  }
  if (notes.unknown.empty()) return;
  std::string names;
  for (size_t i = 0; i < std::min(notes.unknown.size(), kMostNamed); ++i) {
    names += (i == 0 ? "" : ", ") + notes.unknown[i];
  }
  if (notes.unknown.size() > kMostNamed) names += " and others";
  summary_.remarks.push_back(list + " names what is not in the file: " + names);
}

AResult Flagger::Run(const std::string& to) {
  if (AResult result = Open(); !result) return result;
  AUVXWriter writer;
  if (AResult result = writer.Create(to, AUVXHeader(from_.uvx()), options_, from_.path()); !result) return result;
  KeptScans scans(from_, writer, 0);
  SendProgressText(options_.progress, options_.unflag ? "Unflagging..." : "Flagging...");
  AResult copied = AResult::Ok();
  bool isAnyTaken = false;
  AResult result = WalkRecords(from_, options_, 0, from_.uvx().count(), [&](const WalkedRecord& record) {
    std::copy_n(record.values, values_.size(), values_.data());
    AUVXGroup group = record.group;
    isTaken_ = choice_.Takes(group, record.index);
    isAnyTaken = isAnyTaken || isTaken_;
    if (isTaken_) {
      if (options_.selection.uvRange.IsLimited()) copied = frequencies_.Check(record);
      if (!copied) return false;
      MarkRecord(record);
      Turn(group, record);
    }
    Count(record.group, group, record);
    writer.SetIntegration(integrations_.Stored(record.index));
    scans.Enter(record.index);
    copied = writer.Append(group, values_.data());
    return static_cast<bool>(copied);
  });
  if (!copied) return copied;
  if (!result) return result;
  if (!isAnyTaken && from_.uvx().count() > 0) return choice_.NothingSelected(from_, options_);
  std::string command = FlagDescription().Command(options_);
  // The text of flags is given by its name alone, without the path.
  if (!options_.file.empty()) command += " --file " + options_.file.substr(options_.file.find_last_of("/\\") + 1);
  if (result = CopyTables(from_, writer, command); !result) return result;
  Remark(scans);
  return writer.Finish();
}

void Flagger::MarkRecord(const WalkedRecord& record) {
  marks_ = begin_;
  if (options_.selection.uvRange.IsLimited()) MarkDistances(record.group);
  MarkEntries(tableEntries_, record, FlagCause::Table);
  MarkEntries(fileEntries_, record, FlagCause::File);
  if (hasAmplitudes_) MarkAmplitudes();
}

// Exclude the values outside the range of uv distances, each at its own frequency.
void Flagger::MarkDistances(const AUVXGroup& group) {
  const AUVXFreqs& frequencies = frequencies_.Of(group.freqSel());
  const double seconds = std::hypot(group.u(), group.v());
  const auto stokes = static_cast<size_t>(stokes_);
  for (size_t point = 0; point * stokes < marks_.size(); ++point) {
    const double frequency = static_cast<int>(point) < frequencies.count() ? frequencies(static_cast<int>(point)) : 0;
    const bool isOut = !options_.selection.uvRange.Holds(seconds * frequency);
    for (size_t i = point * stokes; i < (point + 1) * stokes; ++i) {
      if (isOut) marks_[i] = kOutside;
    }
  }
}

void Flagger::MarkEntries(FlagEntries& entries, const WalkedRecord& record, FlagCause cause) {
  if (entries.count() == 0) return;
  const int subarray = entries.NeedsSubarrays() ? SubarrayOf(record.index) : 1;
  entries.ForEach(record.group, subarray, [&](const FlagEntry& entry) { MarkEntry(entry, MarkOf(cause)); });
}

void Flagger::MarkEntry(const FlagEntry& entry, Mark mark) {
  const int lastIF = std::min(entry.lastIF, IFs_ - 1), lastChannel = std::min(entry.lastChannel, channels_ - 1);
  for (int i = entry.firstIF; i <= lastIF; ++i) {
    for (int channel = entry.firstChannel; channel <= lastChannel; ++channel) {
      auto place = static_cast<size_t>((i * channels_ + channel) * stokes_);
      for (int s = 0; s < stokes_; ++s, ++place) {
        if ((entry.polarisations >> s & 1) && marks_[place] == kFree) marks_[place] = mark;
      }
    }
  }
}

// Amplitudes that are not numbers are flagged too: they are outside every limit.
void Flagger::MarkAmplitudes() {
  const double most = options_.clip * options_.clip, least = options_.below * options_.below;
  const bool isClipped = options_.clip < std::numeric_limits<double>::infinity();
  for (size_t i = 0; i < values_.size(); ++i) {
    if (marks_[i] != kFree) continue;
    const double re = values_[i].re, im = values_[i].im, square = re * re + im * im;
    if (isClipped && !(square <= most)) {
      marks_[i] = MarkOf(FlagCause::Clip);
    } else if (options_.below > 0 && !(square >= least)) {
      marks_[i] = MarkOf(FlagCause::Below);
    }
  }
}

int Flagger::SubarrayOf(int record) {
  const AUVXPosition& scans = contents_.scans();
  while (scan_ + 1 < scans.count() && scans(scan_).endVis <= record) ++scan_;
  return scan_ < scans.count() ? std::max(int{scans(scan_).subarray}, 1) : 1;
}

// Flag or unflag the weights of marked values, and the record if all of its values are marked.
void Flagger::Turn(AUVXGroup& group, const WalkedRecord& record) {
  bool isWhole = !marks_.empty();
  for (size_t i = 0; i < values_.size(); ++i) {
    const float weight = record.values[i].weight;
    if (!IsCause(marks_[i])) {
      isWhole = false;
    } else if (options_.unflag ? weight < 0 : weight > 0) {
      values_[i].weight = -weight;
      ++turned_;
    }
  }
  if (!options_.records || !isWhole) return;
  const int flag = options_.unflag ? 0 : group.flag | 1;
  turnedRecords_ += flag != group.flag;
  group.flag = static_cast<int8_t>(flag);
}

void Flagger::Count(const AUVXGroup& before, const AUVXGroup& after, const WalkedRecord& record) {
  FlagCounts counts;
  counts.values = std::ssize(values_);
  for (size_t i = 0; i < values_.size(); ++i) {
    const bool wasFlagged = before.flag != 0 || !(record.values[i].weight > 0);
    const bool isFlagged = after.flag != 0 || !(values_[i].weight > 0);
    counts.before += wasFlagged;
    counts.after += isFlagged;
    if (isTaken_ && IsCause(marks_[i])) counts.causes[marks_[i] - 1u] += wasFlagged != isFlagged;
  }
  const auto one = static_cast<uint8_t>(before.ant1), two = static_cast<uint8_t>(before.ant2);
  FlagCounts* places[] = {&summary_.all, &summary_.antennas[one], one == two ? nullptr : &summary_.antennas[two]};
  for (FlagCounts* place : places) {
    if (!place) continue;
    place->values += counts.values;
    place->before += counts.before;
    place->after += counts.after;
    for (size_t i = 0; i < kFlagCauses; ++i) place->causes[i] += counts.causes[i];
  }
}

void Flagger::Remark(const KeptScans& scans) {
  if (options_.unflag && turned_ + turnedRecords_ > 0) {
    std::string sentence = std::to_string(turned_) + " weights";
    if (turnedRecords_ > 0) sentence += " and " + std::to_string(turnedRecords_) + " records";
    summary_.remarks.push_back(sentence + " that the input had flagged are no longer flagged, whoever flagged them");
  }
  if (const std::string remark = scans.Remark(); !remark.empty()) summary_.remarks.push_back(remark);
}

AJobDescription DescribeFlag() {
  AJobDescriber<FlagOptions> job(
      "flag", "Flag values, so that they can be restored",
      "Without a criterion everything selected is flagged; a criterion limits that. Weights above 0 get a minus sign, "
      "all others are unchanged: --unflag with the same options restores them, but also values flagged earlier. Prints "
      "why values are flagged, one line per antenna and one for the file; a value with several causes counts for the "
      "first of them, in the order of the columns.");
  job.Input({"IN", "UVX, or UV FITS, which is imported first", "", 0, {}});
  job.Output(UVXOutputFile());
  DescribeSelection(job, {.leftOut = kStokes, .isByVisibility = true});
  job.Option(
         "stokes", [](FlagOptions & o) -> auto& { return o.selection.stokes; },
         "polarisations that are stored, as in RR,LL, or PI, the parallel hands")
      .Form("NAME[,...]")
      .Otherwise("all");
  job.Option("clip", &FlagOptions::clip, "flag values with a larger amplitude, or without any, in the unit of the file")
      .Form("MAX")
      .From(0)
      .Otherwise("none");
  job.Option("below", &FlagOptions::below, "flag values with a smaller amplitude, or without any")
      .Form("MIN")
      .From(0)
      .Otherwise("none");
  job.Option("trim", &FlagOptions::trim,
             "flag this percentage of the channels at each end of an IF, to the nearest channel")
      .Form("PERCENT")
      .Suffixes(kPercent)
      .Range(0, 50)
      .Otherwise("none");
  job.Option("table", &FlagOptions::table, "flag as a table of the file says, as in FG, or FG:2 for the second one")
      .Form("CODE[:N]")
      .Otherwise("none");
  // The HISTORY line has the name without the path: see Run.
  job.Option("file", &FlagOptions::file,
             "flag as this text says, in the form that correlators provide for the task UVFLG of AIPS (docs/flags.md)")
      .Form("FLAGS")
      .Otherwise("none")
      .KeepsResult();
  job.Option("records", &FlagOptions::records, "set the flag of a record too if all of its values are affected");
  job.Option("unflag", &FlagOptions::unflag, "unflag instead");
  job.Overwrite();
  job.IntegerColumn("antenna", "number of the antenna; empty for the file");
  job.TextColumn("name", "its name");
  job.IntegerColumn("values", "of its baselines");
  job.IntegerColumn("before", "number flagged in the input, by their weight or by their record");
  job.IntegerColumn("selection", "newly flagged by the selection alone, or unflagged");
  job.IntegerColumn("trim", "by --trim");
  job.IntegerColumn("table", "by --table");
  job.IntegerColumn("file", "by --file");
  job.IntegerColumn("clip", "by --clip");
  job.IntegerColumn("below", "by --below");
  job.IntegerColumn("after", "flagged in the output");
  job.Column("percent", "%", "percentage of the values");
  return job.Finish();
}

}  // namespace

AResult CheckFlagOptions(const FlagOptions& options) {
  if (!options.unflag && !HasCriterion(options) && IsEmpty(options.selection)) {
    return AResult::Fail("nothing says what to flag: a selection, --clip, --below, --trim, --table or --file");
  }
  if (options.clip < options.below) return AResult::Fail("--clip is less than --below, which flags everything");
  return AResult::Ok();
}

AResult FlagUVX(AUVXInput& from, const std::string& to, const FlagOptions& options, FlagSummary* summary) {
  FlagSummary unseen;
  AResult result = Flagger(from, options, summary ? *summary : unseen).Run(to);
  return result ? result : from.Settle(result);
}

const AJobDescription& FlagDescription() {
  static const AJobDescription description = DescribeFlag();
  return description;
}

}  // namespace zeltra
