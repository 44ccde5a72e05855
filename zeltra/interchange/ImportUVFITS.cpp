// SPDX-License-Identifier: MIT
#include "zeltra/interchange/ImportUVFITS.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <set>

#include "zeltra/core/Dates.h"
#include "zeltra/core/OutputFileInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/interchange/GroupReaderInternal.h"
#include "zeltra/interchange/UVFITSInputInternal.h"
#include "zeltra/interchange/UVFITSTablesInternal.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXFreqs.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXSources.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra {
namespace {

// Complex values converted at a time: what is read, swapped and checked stays in the processor's inner cache.
constexpr int kValuesPerStep = 1024;
constexpr int kMostTables = 128;
// An observation of a night may begin on the day after its date.
constexpr double kMostDaysAfterDate = 2;

std::string Number(int64 n) {
  return std::to_string(n);
}

// What the groups turn out to hold.
struct Findings {
  int64 notNumbers = 0;  // values with a real or imaginary part that is NaN or infinite
  int64 infiniteWeights = 0;
  int64 weightsNotNumbers = 0;
  int64 blanks = 0;
  int64 subarrays = 0;     // groups of another subarray than the first
  int64 withoutSetup = 0;  // groups with a setup or source number below 1
  int64 zeroTimes = 0;
  int64 noCoordinates = 0;  // groups with u, v or w that is NaN or infinite
  int64 brokenOrder = 0;    // groups that break the order time, then baseline
};

// What is remembered of the record before.
struct Predecessor {
  double time = 0;
  int baseline = 0;
  int source = -1, setup = -1;
};

// Place of a group in the file and what it is sorted by.
struct SortKey {
  double time;
  int32_t group;
  uint16_t baseline;
};

// 256 x antenna 1 + antenna 2 of a BASELINE parameter; 0 if that is no baseline. Ranges are checked before a number is
// cut to the width of its field.
int RoundedBaseline(double value) {
  const double rounded = value + 0.5;
  return rounded >= 257 && rounded < 65536 ? static_cast<int>(rounded) : 0;
}

bool IsSource(double value) {
  return value >= -32768.5 && value < 32767.5;
}

bool IsSetup(double value) {
  return value >= -128.5 && value < 127.5;
}

// The column that makes a table with this code what the code says, whatever its EXTNAME was.
const char* KeyColumn(const std::string& code) {
  if (code == "AN") return "NOSTA";
  if (code == "SU") return "ID";
  return code == "FQ" ? "FRQSEL" : nullptr;
}

int BaselineOf(const AUVXGroup& group) {
  return static_cast<uint8_t>(group.ant1) * 256 + static_cast<uint8_t>(group.ant2);
}

int IntegerAt(const char* raw, int size) {
  if (size == 2) {
    uint16_t word;
    Swap16(&word, raw, 1);
    return static_cast<int16_t>(word);
  }
  uint32_t word;
  Swap32(&word, raw, 1);
  return static_cast<int32_t>(word);
}

class Importer {
 public:
  Importer(const std::string& from, const std::string& to, const JobOptions& options, ImportSummary& summary)
      : from_(from), to_(to), options_(options), summary_(summary) {}

  // Closing a UVX file declares it whole, so an import that ends early takes the file away first.
  ~Importer() { output_.Discard(); }

  AResult Run();

 private:
  enum class Pass { Whole, OutOfOrder, Stopped };

  void SettleDate();
  AResult ReadKeys();
  AResult WriteRecords();
  Pass WritePass(AResult& result);
  bool MakeHead(const GroupParameters& parameters, AUVXGroup& group);
  AResult Unstorable(const GroupParameters& parameters, int number) const;
  bool CopyValues(GroupReader& reader, BlockWriter& writer);
  void FlagBlanks(const char* raw, AUVXComplex* values, int count);
  void CheckValues();
  void Register(const AUVXGroup& group, int record);
  AResult WriteTables();
  std::unique_ptr<AUVXTable> SetupFromAxis();
  bool IndexAgrees(AUVXTable& table);
  void RemarkOnFindings();
  void RemarkOnTables(AUVXTable* antennas, AUVXTable& sources, AUVXTable& setups);
  AResult Broken(int group, BlockWriter& writer);
  AResult Stopped() const { return AResult::Cancel(to_ + ": the import was cancelled"); }

  const std::string from_, to_;
  const JobOptions options_;
  ImportSummary& summary_;
  UVFITSInput input_;
  OutputFile output_;
  AUVXFile uvx_;
  AUVXHeader header_;
  Findings findings_;
  std::vector<SortKey> keys_;  // empty while the groups are in time order
  AUVXPosition index_;
  AUVXBaseLines baseLines_;
  bool isDateTaken_ = false;  // the observation date is that of the first group
  bool plainFloats_ = false;  // values are copied as they are
  AUVXComplex step_[kValuesPerStep];
  int unchecked_ = 0;  // values of step_ that have been written and not checked
  Predecessor before_;
  std::vector<uint8_t> seen_;  // per pair of antenna bytes of the source before: 1 flagged, 2 unflagged
};

AResult Importer::Run() {
  SendProgressRange(options_.progress);
  SendProgressText(options_.progress, "Reading file informatiom...");
  if (AResult result = input_.Open(from_, summary_.remarks); !result) return result;
  header_ = input_.header();
  AFITSmain& main = *input_.fits().main();
  plainFloats_ = main.valueBytes() == -4 && main.bscale() == 1 && main.bzero() == 0;
  SettleDate();
  if (AResult result = output_.Create(to_, options_.overwrite, from_); !result) return result;
  if (!uvx_.Attach(&output_.file(), 1, 0) || !uvx_.Write(header_)) return output_.WriteError();
  if (AResult result = WriteRecords(); !result) return result;
  RemarkOnFindings();
  header_.info.count = input_.groups();
  if (!uvx_.Write(header_)) return output_.WriteError();
  if (AResult result = WriteTables(); !result) return result;
  if (!output_.file().good()) return output_.WriteError();
  uvx_.Close();
  summary_.records = header_.info.count;
  return output_.Commit();
}

// Group by group in the order of the file, or in time order where that differs.
AResult Importer::WriteRecords() {
  AResult result = AResult::Ok();
  Pass pass = WritePass(result);
  if (pass == Pass::OutOfOrder) {
    if (result = ReadKeys(); !result) return result;
    summary_.sorted = true;
    if (isDateTaken_) header_.info.dateObs = MidnightBefore(keys_.front().time);
    pass = WritePass(result);
  }
  return result;
}

// Most files are in time order, so the first pass writes at once and gives up at the first group that goes back in
// time.
Importer::Pass Importer::WritePass(AResult& result) {
  findings_ = Findings();
  index_ = AUVXPosition();
  baseLines_ = AUVXBaseLines();
  before_ = Predecessor();
  header_.range.init();
  unchecked_ = 0;
  if (!uvx_.SeekUVGroup(0)) {
    result = output_.WriteError();
    return Pass::Stopped;
  }
  SendProgressText(options_.progress, "Writing data into output file...");
  GroupReader reader(input_.fits());
  BlockWriter writer(output_.file());
  const int groups = input_.groups();
  int lastPercent = -1;
  for (int i = 0; i < groups; ++i) {
    if (IsCancelled(options_)) {
      result = Stopped();
      return Pass::Stopped;
    }
    const int number = keys_.empty() ? i : keys_[static_cast<size_t>(i)].group;
    const GroupParameters* parameters = reader.Parameters(number);
    char* record = writer.Reserve(sizeof(AUVXGroup));
    if (!parameters || !record) {
      result = Broken(number, writer);
      return Pass::Stopped;
    }
    // Made in its place: a copy would wait for each of its fields to arrive in memory.
    AUVXGroup& group = *new (record) AUVXGroup;
    if (!MakeHead(*parameters, group)) {
      result = Unstorable(*parameters, number);
      return Pass::Stopped;
    }
    if (i > 0 && group.date < before_.time) return Pass::OutOfOrder;
    group.check(header_.range);
    Register(group, i);
    if (!CopyValues(reader, writer)) {
      result = Broken(number, writer);
      return Pass::Stopped;
    }
    SendProgress(options_.progress, i + 1, groups, lastPercent);
  }
  CheckValues();
  if (!writer.Flush()) result = output_.WriteError();
  return result ? Pass::Whole : Pass::Stopped;
}

// The failure of a group that could not be read, or whose record could not be written.
AResult Importer::Broken(int group, BlockWriter& writer) {
  return writer.Flush() ? input_.Refuse("cannot be read in group " + Number(group + 1)) : output_.WriteError();
}

AResult Importer::ReadKeys() {
  SendProgressText(options_.progress, "Sorting data...");
  const int groups = input_.groups();
  keys_.reserve(static_cast<size_t>(groups));
  GroupReader reader(input_.fits());
  int lastPercent = -1;
  for (int i = 0; i < groups; ++i) {
    if (IsCancelled(options_)) return Stopped();
    const GroupParameters* parameters = reader.Parameters(i);
    if (!parameters) return input_.Refuse("cannot be read in group " + Number(i + 1));
    AUVXGroup group;
    if (!MakeHead(*parameters, group)) return Unstorable(*parameters, i);
    keys_.push_back({group.date, i, static_cast<uint16_t>(BaselineOf(group))});
    SendProgress(options_.progress, i + 1, groups, lastPercent);
  }
  std::sort(keys_.begin(), keys_.end(), [](const SortKey& a, const SortKey& b) {
    if (a.time != b.time) return a.time < b.time;
    return a.baseline != b.baseline ? a.baseline < b.baseline : a.group < b.group;
  });
  return AResult::Ok();
}

/// @return false for a group that cannot be stored: see Unstorable
bool Importer::MakeHead(const GroupParameters& parameters, AUVXGroup& group) {
  group.flag = parameters.flag;
  group.uu = parameters.u;
  group.vv = parameters.v;
  group.ww = parameters.w;
  group.date = parameters.date;
  findings_.zeroTimes += parameters.date == 0;
  findings_.noCoordinates += !std::isfinite(double{parameters.u} + parameters.v + parameters.w);

  // The fraction of a baseline tells the subarray.
  const int antennas = RoundedBaseline(parameters.baseline);
  findings_.subarrays += std::fabs(parameters.baseline - antennas) > 0.005;
  group.ant1 = static_cast<int8_t>(antennas >> 8);
  group.ant2 = static_cast<int8_t>(antennas & 0xFF);

  const bool storable = std::isfinite(parameters.date) && (antennas & 0xFF) != 0 && IsSource(parameters.source) &&
                        IsSetup(parameters.freqSel);
  if (!storable) return false;
  // Numbers below 1 stand for "any".
  const int source = static_cast<int>(parameters.source + 0.5), setup = static_cast<int>(parameters.freqSel + 0.5);
  findings_.withoutSetup += source < 1 || setup < 1;
  group.source = static_cast<int16_t>(std::max(source, 1));
  group.frqsel = static_cast<int8_t>(std::max(setup, 1));
  return true;
}

// Why MakeHead turns a group down.
AResult Importer::Unstorable(const GroupParameters& parameters, int number) const {
  std::string what = " has FREQSEL " + valToStr(parameters.freqSel) + ", beyond 8 bits";
  if (!IsSource(parameters.source)) what = " has SOURCE " + valToStr(parameters.source) + ", beyond 16 bits";
  if ((RoundedBaseline(parameters.baseline) & 0xFF) == 0) {
    what = " has BASELINE " + valToStr(parameters.baseline) +
           ", which is not 256 x antenna 1 + antenna 2 with antennas 1 to 255";
  }
  if (!std::isfinite(parameters.date)) what = " has a time that is not a number";
  return input_.Refuse("group " + Number(number + 1) + what);
}

// Convert the values of one group in steps that stay in the cache, however large a group is. Values of several groups
// are checked together, since a check of few values costs as much as one of many.
bool Importer::CopyValues(GroupReader& reader, BlockWriter& writer) {
  const int valueBytes = 3 * std::abs(input_.fits().main()->valueBytes());
  for (int left = input_.values(); left > 0;) {
    if (unchecked_ == kValuesPerStep) CheckValues();
    const int count = std::min(left, kValuesPerStep - unchecked_);
    const char* raw = reader.TakeValues(count * valueBytes);
    char* to = raw ? writer.Reserve(count * static_cast<int>(sizeof(AUVXComplex))) : nullptr;
    if (!to) return false;
    AUVXComplex* values = step_ + unchecked_;
    if (plainFloats_) {
      Swap32(values, raw, 3 * static_cast<size_t>(count));
    } else {
      DecodeFITSValues(input_.fits(), raw, values, count);
      if (input_.hasBlank()) FlagBlanks(raw, values, count);
    }
    std::memcpy(to, values, static_cast<size_t>(count) * sizeof(AUVXComplex));
    unchecked_ += count;
    left -= count;
  }
  return true;
}

// A blank weight or value has no meaning: the value becomes no number and its weight none.
void Importer::FlagBlanks(const char* raw, AUVXComplex* values, int count) {
  const int size = input_.fits().main()->valueBytes();
  for (int i = 0; i < count; ++i) {
    bool blank = false;
    for (int k = 0; k < 3; ++k) blank |= IntegerAt(raw + (3 * i + k) * size, size) == input_.blank();
    if (!blank) continue;
    ++findings_.blanks;
    values[i].re = values[i].im = std::numeric_limits<float>::quiet_NaN();
    values[i].weight = 0;
  }
}

// Widen the ranges by the values that wait in the step, and count those that are no finite numbers.
void Importer::CheckValues() {
  const bool finite = CheckRange(step_, unchecked_, header_.range);
  for (int i = 0; !finite && i < unchecked_; ++i) {
    findings_.notNumbers += !std::isfinite(step_[i].re) || !std::isfinite(step_[i].im);
    findings_.infiniteWeights += std::isinf(step_[i].weight);
    findings_.weightsNotNumbers += std::isnan(step_[i].weight);
  }
  unchecked_ = 0;
}

// Extend the index, in seconds since 0 h of the observation date, and the list of baselines.
void Importer::Register(const AUVXGroup& group, int record) {
  const int baseline = BaselineOf(group);
  const bool sameTime = group.date == before_.time;
  findings_.brokenOrder += sameTime && baseline < before_.baseline;
  if (sameTime && group.source == before_.source && group.frqsel == before_.setup) {
    // Of the baselines of one time each lets the scan go on, and only the first can make it longer.
    index_(index_.count() - 1).endVis = record + 1;
  } else {
    AUVXGroup inSeconds = group;
    inSeconds.date = (group.date - header_.info.dateObs) * kSecondsPerDay;
    index_.CheckUVGroup(inSeconds, record);
  }

  if (group.source != before_.source) seen_.assign(65536, 0);
  before_ = {group.date, baseline, group.source, group.frqsel};
  const uint8_t state = group.flag & 1 ? 1 : 2;
  uint8_t& seen = seen_[static_cast<size_t>(baseline)];
  if (seen >= state) return;
  seen = state;
  baseLines_.checkBase(AUVXBaseLineItem(group));
}

// The observation date, from the first group where the header does not give it.
void Importer::SettleDate() {
  BlockReader reader(*input_.fits().file());
  reader.Seek(input_.fits().main()->dataStart());
  char* parameters = reader.Take(input_.parameterBytes());
  if (!parameters) return;
  AUVXGroup first;
  first.load(input_.fits(), parameters);
  const double date = MidnightBefore(first.date);
  if (header_.info.dateObs == 0) {
    header_.info.dateObs = std::isfinite(date) ? date : 0;
    isDateTaken_ = true;
    summary_.remarks.push_back("DATE-OBS cannot be read: the date of the first group is taken");
  } else if (const double days = first.date - header_.info.dateObs; std::fabs(days) > kMostDaysAfterDate) {
    summary_.remarks.push_back("DATE-OBS lies " + valToStr(std::round(std::fabs(days))) + " days " +
                               (days > 0 ? "before" : "after") + " the first group");
  }
}

AResult Importer::WriteTables() {
  std::vector<std::unique_ptr<AUVXTable>> tables;
  AUVXTable *antennas = nullptr, *sources = nullptr, *setups = nullptr;
  bool indexed = false;
  for (int i = 0; i < input_.fits().tables().count(); ++i) {
    if (IsCancelled(options_)) return Stopped();
    std::unique_ptr<AUVXTable> table = ConvertTable(*input_.fits().tables()(i), summary_.remarks);
    if (!table) continue;
    const std::string code = table->Code();
    if (const char* column = KeyColumn(code); column && table->FindColumn(column) < 0) {
      summary_.remarks.push_back("table \"" + input_.fits().tables()(i)->extname() +
                                 "\" is left out: it has no column " + column);
      continue;
    }
    if (code == "BL") {
      // The code is that of the list of baselines, which is made anew. An export of it comes back here.
      const std::string& name = input_.fits().tables()(i)->extname();
      if (name != "ZELTRA BL")
        summary_.remarks.push_back("table \"" + name + "\" is left out: its place is that of the baseline list");
      continue;
    }
    if (code == "NX") {
      if (indexed) summary_.remarks.push_back("an index table behind the first one is left out");
      if (indexed || !IndexAgrees(*table)) continue;
      indexed = true;
    }
    for (auto [name, first] : {std::pair{"AN", &antennas}, {"SU", &sources}, {"FQ", &setups}}) {
      if (code == name && !*first) *first = table.get();
    }
    tables.push_back(std::move(table));
  }
  if (!indexed) tables.emplace_back(index_.ToUVXTable());
  if (!setups) setups = tables.emplace_back(SetupFromAxis()).get();
  if (!antennas) {
    tables.emplace_back(AUVXAntenns(baseLines_).ToUVXTable());
    summary_.remarks.push_back("there is no table \"AN\": antennas have no names and no positions");
  }
  // Extensions that have the name of a source table and are none are not looked into again.
  input_.fits().tables().Free();
  if (!sources) sources = tables.emplace_back(AUVXSources(input_.fits()).ToUVXTable()).get();
  RemarkOnTables(antennas, *sources, *setups);
  tables.emplace_back(baseLines_.ToUVXTable());

  if (tables.size() > kMostTables) {
    const size_t lost = tables.size() - kMostTables;
    return input_.Refuse("holds " + Number(static_cast<int64>(lost)) + " tables more than a UVX file has place for");
  }
  for (const auto& table : tables) uvx_.AddTable(*table);
  summary_.tables = static_cast<int>(tables.size());
  return AResult::Ok();
}

// The one setup of a file without a frequency table: every IF begins at freq0, channels as the FREQ axis tells. Two
// channels determine it, however many there are.
std::unique_ptr<AUVXTable> Importer::SetupFromAxis() {
  AFITSmain& main = *input_.fits().main();
  const double width = main.axes()(1, main.FindAxis("FREQ") - 1);
  const int ifs = std::max(int{header_.IFs}, 1), channels = header_.channels;
  if (ifs > 1) summary_.remarks.push_back("there is no table \"FQ\": all IFs are taken to have the same frequencies");
  AUVXFreqs freqs(2, ifs);
  for (int i = 0; i < ifs; ++i) {
    freqs(0, i) = header_.freq0;
    freqs(1, i) = header_.freq0 + width;
  }
  std::unique_ptr<AUVXTable> table(freqs.ToUVXTable(header_.freq0));
  const int bandwidth = table->FindColumn("TOTAL BANDWIDTH");
  for (int i = 0; i < ifs; ++i) table->SetNumber(0, bandwidth, i, std::fabs(width) * channels);
  return table;
}

// Whether an index table of the file says of every record which scan holds it, and the truth.
bool Importer::IndexAgrees(AUVXTable& table) {
  if (summary_.sorted) return false;
  AUVXPosition given(table);
  int next = 1, run = 0;
  bool agrees = true;
  for (int i = 0; i < given.count() && agrees; ++i) {
    const AUVXPositionItem& scan = given(i);
    while (run < index_.count() && index_(run).endVis < scan.startVis) ++run;
    agrees = scan.startVis == next && scan.endVis >= scan.startVis && run < index_.count() &&
             scan.endVis <= index_(run).endVis && scan.sourceId == index_(run).sourceId &&
             scan.freqId == index_(run).freqId;
    next = agrees ? scan.endVis + 1 : next;
  }
  agrees = agrees && next == header_.info.count + 1;
  if (!agrees) summary_.remarks.push_back("the index table does not describe the groups and is built anew");
  return agrees;
}

void Importer::RemarkOnFindings() {
  const auto remark = [this](int64 count, const char* what) {
    if (count > 0) summary_.remarks.push_back(Number(count) + " " + what);
  };
  if (summary_.sorted) summary_.remarks.push_back("the groups were not in time order and have been sorted");
  if (input_.claimsTimeBaseline()) {
    remark(findings_.brokenOrder, "groups break the order time, then baseline, that the history claims");
    if (summary_.sorted) summary_.remarks.push_back("the history claims the order time, then baseline");
  }
  remark(findings_.notNumbers, "values have a part that is not a finite number");
  remark(findings_.infiniteWeights, "weights are infinite");
  remark(findings_.weightsNotNumbers, "weights are not numbers; such values count as valid");
  remark(findings_.blanks, "blank values are flagged");
  remark(findings_.subarrays, "groups belong to another subarray than the first, which a UVX file has no place for");
  remark(findings_.withoutSetup, "groups have a source or setup number below 1, taken as 1");
  remark(findings_.zeroTimes, "groups have the time 0");
  remark(findings_.noCoordinates, "groups have u, v or w that is not a finite number");
}

void Importer::RemarkOnTables(AUVXTable* antennas, AUVXTable& sources, AUVXTable& setups) {
  const auto missing = [this](const std::string& what, const char* table) {
    summary_.remarks.push_back(what + " occurs in the data and not in the table \"" + table + "\"");
  };
  if (antennas) {
    bool handed = false;
    for (int i = 0; i < antennas->keywords().count(); ++i) {
      const AUVXTableKeyWord& word = antennas->keywords()(i);
      const std::string key = FieldText(word.key, sizeof word.key), value = FieldText(word.value, sizeof word.value);
      handed |=
          (key == "XYZHAND" && (value == "RIGHT" || value == "LEFT")) || (key == "FRAME" && value == "GEOCENTRIC");
    }
    if (!handed) summary_.remarks.push_back("the handedness of the antenna positions is unknown");
    AUVXAntenns list(*antennas);
    std::unique_ptr<AArray<int>> map(baseLines_.getTlscMap());
    for (int i = 0; i < map->count(); ++i) {
      if (list.IndexForID((*map)(i)) < 0) missing("antenna " + Number((*map)(i)), "AN");
    }
  }
  AUVXSources sourceList(sources);
  std::unique_ptr<AArray<short>> map(baseLines_.getSourceMap());
  for (int i = 0; i < map->count(); ++i) {
    if (sourceList.IndexForID((*map)(i)) < 0) missing("source " + Number((*map)(i)), "SU");
  }
  std::set<int> used;
  for (int i = 0; i < index_.count(); ++i) used.insert(index_(i).freqId);
  const int column = setups.FindColumn("FRQSEL");
  for (const int setup : used) {
    bool given = false;
    for (int row = 0; row < setups.rows() && !given; ++row) given = setups.Number(row, column) == setup;
    if (!given) missing("setup " + Number(setup), "FQ");
  }
}

}  // namespace

AResult ImportUVFITS(const std::string& from, const std::string& to, const JobOptions& options,
                     ImportSummary* summary) {
  ImportSummary unused;
  // The importer holds a step of values, too much for a stack of unknown size.
  return std::make_unique<Importer>(from, to, options, summary ? *summary : unused)->Run();
}

}  // namespace zeltra
