// SPDX-License-Identifier: MIT
#include "zeltra/interchange/ImportUVFITS.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

#include "zeltra/core/BlockReaderInternal.h"
#include "zeltra/core/Dates.h"
#include "zeltra/core/SortUnlessCancelledInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/interchange/GroupReaderInternal.h"
#include "zeltra/interchange/InputKindInternal.h"
#include "zeltra/interchange/SubarraysInternal.h"
#include "zeltra/interchange/UVFITSInputInternal.h"
#include "zeltra/interchange/UVFITSTablesInternal.h"
#include "zeltra/uvx/AUVXAntenns.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXFreqs.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXSources.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

// A night's observation may begin on the day after its date.
constexpr double kMostDaysAfterDate = 2;
constexpr int kSetups = 128;
constexpr int kLargestVersion = 10000;

std::string Number(int64 n) {
  return std::to_string(n);
}

// What is found in the groups.
struct Findings {
  int64 blanks = 0;
  int64 withoutSetup = 0;  // groups with a setup, source or subarray number below 1
  int64 zeroTimes = 0;
  int64 noCoordinates = 0;    // groups with u, v or w that is NaN or infinite
  bool setups[kSetups] = {};  // setup numbers that occur
  int64 brokenOrder = 0;      // groups that break the order time, then baseline
};

// What is remembered of the previous record.
struct Predecessor {
  double time = 0;
  int baseline = 0;
};

// Where a group is in the file, and what it is sorted by.
struct SortKey {
  double time;
  int32_t group;
  uint16_t baseline;
  uint8_t subarray;
};

// Ranges are checked before a number is narrowed to its field.
bool IsSource(double value) {
  return value >= -32768.5 && value < 32767.5;
}

bool IsSetup(double value) {
  return value >= -128.5 && value < 127.5;
}

// The column that a table must have to be what its code says, whatever its EXTNAME was.
const char* KeyColumn(const std::string& code) {
  if (code == "AN") return "NOSTA";
  if (code == "SU") return "ID";
  return code == "FQ" ? "FRQSEL" : nullptr;
}

// Columns without which the table cannot serve its purpose.
std::vector<const char*> ExpectedColumns(const std::string& code) {
  if (code == "AN") return {"STABXYZ"};
  return code == "FQ" ? std::vector<const char*>{"IF FREQ", "CH WIDTH"} : std::vector<const char*>();
}

// EXTVER, or 1 if it is absent (FITS standard 4.0, section 4.4.2.6).
int VersionOf(const AFITSxtbl& extension) {
  ParseFITSstr card;
  const double version = extension.FindCard("EXTVER", card) ? ParseNumber(card.strPar()) : 1;
  return version >= 1 && version <= kLargestVersion ? static_cast<int>(version) : 0;
}

// Go by the name, so that large tables are not read before they are needed.
bool MayHoldAntennas(const std::string& name) {
  return name.find(" AN") != std::string::npos || name == "ARRAY_GEOMETRY";
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

// The numbers of a list of antennas or sources, ascending: a search of the list for each number of the data may take
// minutes.
template <typename List>
std::vector<int> SortedIds(const List& list) {
  std::vector<int> ids;
  for (const auto& item : list) ids.push_back(item.id);
  std::sort(ids.begin(), ids.end());
  return ids;
}

class Importer {
 public:
  Importer(const std::string& to, const ImportOptions& options, ImportSummary& summary)
      : to_(to), options_(options), summary_(summary) {}

  AResult Run(std::unique_ptr<AInputFile> from);

 private:
  enum class Pass { Whole, OutOfOrder, OtherSubarray, Stopped };

  AResult Import();
  void DateFromFirstGroup();
  template <typename Take>
  AResult ForEachGroup(const Take& take);
  AResult ReadKeys();
  AResult Survey();
  AResult JoinArrays();
  AResult WriteRecords();
  Pass WritePass(AResult& result);
  Pass WriteGroup(GroupReader& reader, int number, AResult& result);
  bool IsSelected(const GroupParameters& parameters) const;
  bool MakeHead(const GroupParameters& parameters, AUVXGroup& group);
  AResult Unstorable(const GroupParameters& parameters, int number) const;
  bool CopyValues(GroupReader& reader, int number, AResult& result);
  void FlagBlanks(const char* raw, AUVXComplex* values, int count);
  AResult WriteTables();
  std::unique_ptr<AUVXTable> SetupFromAxis();
  bool IndexAgrees(AUVXTable& table);
  bool IsInTheList(AFITSxtbl& extension);
  void RemarkOnFindings();
  void RemarkOnTables(AUVXTable* antennas, AUVXTable& sources, AUVXTable& setups);
  void RemarkOnDelays(const AUVXTable& table);
  AResult Broken(int group) const { return input_.Refuse("cannot be read in group " + Number(group + 1)); }
  AResult Stopped() const { return AResult::Cancel(to_ + ": the import was cancelled"); }

  const std::string to_;
  const ImportOptions options_;
  ImportSummary& summary_;
  UVFITSInput input_;
  AUVXWriter writer_;
  Findings findings_;
  std::vector<SortKey> keys_;  // empty while the groups are in time order
  Subarrays subarrays_;
  bool isSurveyed_ = false;   // the subarrays are known; the first one needs no survey
  bool isDateTaken_ = false;  // the observation date is that of the first group
  bool plainFloats_ = false;  // values are copied unchanged
  Predecessor before_;
};

AResult Importer::Run(std::unique_ptr<AInputFile> from) {
  SendProgressRange(options_.progress);
  SendProgressText(options_.progress, "Reading file informatiom...");
  AResult result = input_.Open(std::move(from), summary_.remarks);
  if (result) result = Import();
  return result ? result : input_.file().Settle(result);
}

AResult Importer::Import() {
  AFITSmain& main = *input_.fits().main();
  plainFloats_ = main.valueBytes() == -4 && main.bscale() == 1 && main.bzero() == 0;
  if (AResult result = writer_.Create(to_, input_.header(), options_, input_.file().name()); !result) return result;
  writer_.SetScanGap(options_.scanGap);
  DateFromFirstGroup();
  if (AResult result = WriteRecords(); !result) return result;
  RemarkOnFindings();
  if (AResult result = WriteTables(); !result) return result;
  summary_.records = writer_.records();
  AResult result = input_.file().Check();
  return result ? writer_.Finish() : result;
}

// Read group by group in the order of the file, or in time order if that differs. Most files have no further subarrays
// and need no sorting; either is done when a group turns out to need it.
AResult Importer::WriteRecords() {
  AResult result = options_.subarray > 0 ? Survey() : AResult::Ok();
  while (result) {
    const Pass pass = WritePass(result);
    if (pass == Pass::Whole || pass == Pass::Stopped) break;
    result = pass == Pass::OtherSubarray ? Survey() : ReadKeys();
    if (result) result = writer_.Rewind();
  }
  keys_ = {};
  return result;
}

// Most files are in time order, so the first pass writes at once and gives up at the first group that goes back in
// time.
Importer::Pass Importer::WritePass(AResult& result) {
  findings_ = Findings();
  SendProgressText(options_.progress, "Writing data into output file...");
  GroupReader reader(input_.fits());
  const int groups = keys_.empty() ? input_.groups() : static_cast<int>(keys_.size());
  int lastPercent = -1;
  for (int i = 0; i < groups; ++i) {
    if (IsCancelled(options_)) {
      result = Stopped();
      return Pass::Stopped;
    }
    const int number = keys_.empty() ? i : keys_[static_cast<size_t>(i)].group;
    if (const Pass pass = WriteGroup(reader, number, result); pass != Pass::Whole) return pass;
    SendProgress(options_.progress, i + 1, groups, lastPercent);
  }
  return Pass::Whole;
}

/// set only on failure, to save time: there are many groups
Importer::Pass Importer::WriteGroup(GroupReader& reader, int number, AResult& result) {
  const GroupParameters* parameters = reader.Parameters(number);
  if (parameters && parameters->subarray > 1 && !isSurveyed_) return Pass::OtherSubarray;
  if (parameters && !IsSelected(*parameters)) return Pass::Whole;
  AUVXGroup* group = parameters ? writer_.BeginRecord() : nullptr;
  if (!group) {
    result = parameters ? writer_.Why() : Broken(number);
    return Pass::Stopped;
  }
  if (!MakeHead(*parameters, *group)) {
    result = Unstorable(*parameters, number);
    return Pass::Stopped;
  }
  writer_.SetIntegration(static_cast<float>(parameters->integration));
  if (subarrays_.EndScans()) writer_.SetSubarray(static_cast<int>(parameters->subarray));
  const int baseline = BaselineOf(*group);
  if (writer_.records() > 0) {
    if (group->date < before_.time) return Pass::OutOfOrder;
    findings_.brokenOrder += group->date == before_.time && baseline < before_.baseline;
  }
  before_ = {group->date, baseline};
  return CopyValues(reader, number, result) ? Pass::Whole : Pass::Stopped;
}

template <typename Take>
AResult Importer::ForEachGroup(const Take& take) {
  const int groups = input_.groups();
  GroupReader reader(input_.fits());
  int lastPercent = -1;
  for (int i = 0; i < groups; ++i) {
    if (IsCancelled(options_)) return Stopped();
    const GroupParameters* parameters = reader.Parameters(i);
    if (!parameters) return Broken(i);
    if (!take(*parameters, i)) return Unstorable(*parameters, i);
    SendProgress(options_.progress, i + 1, groups, lastPercent);
  }
  return AResult::Ok();
}

AResult Importer::ReadKeys() {
  SendProgressText(options_.progress, "Sorting data...");
  summary_.sorted = true;
  keys_.clear();
  keys_.reserve(static_cast<size_t>(input_.groups()));
  AResult result = ForEachGroup([this](const GroupParameters& parameters, int number) {
    if (!IsSelected(parameters)) return true;
    AUVXGroup group;
    if (!MakeHead(parameters, group)) return false;
    const auto subarray = static_cast<uint8_t>(std::max(parameters.subarray, 1.0));
    keys_.push_back({group.date, number, static_cast<uint16_t>(BaselineOf(group)), subarray});
    return true;
  });
  if (!result) return result;
  const bool isSorted =
      SortUnlessCancelled(keys_.begin(), keys_.end(), options_, [](const SortKey& a, const SortKey& b) {
        if (a.time != b.time) return a.time < b.time;
        if (a.subarray != b.subarray) return a.subarray < b.subarray;
        return a.baseline != b.baseline ? a.baseline < b.baseline : a.group < b.group;
      });
  if (!isSorted) return Stopped();
  if (isDateTaken_) writer_.header().info.dateObs = MidnightBefore(keys_.front().time);
  return AResult::Ok();
}

// Find out which subarrays there are, and merge their antennas into one list.
AResult Importer::Survey() {
  SendProgressText(options_.progress, "Reading subarrays...");
  isSurveyed_ = true;
  summary_.sorted = false;
  keys_.clear();
  AResult result = ForEachGroup([this](const GroupParameters& parameters, int) {
    if (!(parameters.subarray <= Subarrays::kMost)) return false;
    subarrays_.Count(static_cast<int>(std::max(parameters.subarray, 1.0)), parameters.date);
    return true;
  });
  if (!result) return result;
  if (options_.subarray > 0 && (options_.subarray > Subarrays::kMost || !subarrays_.Has(options_.subarray))) {
    std::string numbers;
    for (const int number : subarrays_.Present()) numbers.append(numbers.empty() ? "" : ", ").append(Number(number));
    return input_.Refuse("no group is of subarray " + Number(options_.subarray) + "; there are " + numbers);
  }
  if (result = JoinArrays(); !result) {
    return input_.Refuse(result.message() + "; zeltra import --subarray N imports a single one");
  }
  const double dateObs = isDateTaken_ ? 0 : writer_.header().info.dateObs;
  subarrays_.Finish(dateObs, options_.subarray, summary_.remarks);
  return AResult::Ok();
}

AResult Importer::JoinArrays() {
  std::vector<std::string> unused;  // WriteTables converts these again and keeps the remarks
  for (const int subarray : subarrays_.Present()) {
    if (options_.subarray > 0 && subarray != options_.subarray) continue;
    for (int i = 0; i < input_.fits().tables().count(); ++i) {
      AFITSxtbl& extension = *input_.fits().tables()(i);
      if (VersionOf(extension) != subarray || !MayHoldAntennas(extension.extname())) continue;
      const std::unique_ptr<AUVXTable> table = ConvertTable(extension, unused);
      if (!table || table->Code() != "AN" || table->FindColumn("NOSTA") < 0) continue;
      if (AResult result = subarrays_.AddArray(subarray, *table, summary_.remarks); !result) return result;
      break;
    }
  }
  return AResult::Ok();
}

bool Importer::IsSelected(const GroupParameters& parameters) const {
  return options_.subarray == 0 || std::max(parameters.subarray, 1.0) == options_.subarray;
}

/// @return false for a group that cannot be stored: see Unstorable
bool Importer::MakeHead(const GroupParameters& parameters, AUVXGroup& group) {
  group.flag = parameters.flag;
  group.uu = parameters.u;
  group.vv = parameters.v;
  group.ww = parameters.w;
  group.date = parameters.date;
  if (parameters.date == 0) [[unlikely]]
    ++findings_.zeroTimes;
  if (!std::isfinite(double{parameters.u} + parameters.v + parameters.w)) [[unlikely]]
    ++findings_.noCoordinates;

  const bool hasSubarray = parameters.subarray <= Subarrays::kMost;
  const int subarray = hasSubarray ? static_cast<int>(std::max(parameters.subarray, 1.0)) : 1;
  const int first = subarrays_.NumberOf(subarray, parameters.antennas >> 8);
  const int second = subarrays_.NumberOf(subarray, parameters.antennas & 0xFF);
  group.ant1 = static_cast<int8_t>(first);
  group.ant2 = static_cast<int8_t>(second);
  group.date -= subarrays_.DaysAhead(subarray);

  const bool storable = std::isfinite(parameters.date) && first != 0 && second != 0 && hasSubarray &&
                        IsSource(parameters.source) && IsSetup(parameters.freqSel);
  if (!storable) return false;
  // Numbers below 1 stand for "any".
  const int source = static_cast<int>(parameters.source + 0.5), setup = static_cast<int>(parameters.freqSel + 0.5);
  if (source < 1 || setup < 1 || parameters.subarray < 1) [[unlikely]]
    ++findings_.withoutSetup;
  group.source = static_cast<int16_t>(std::max(source, 1));
  group.frqsel = static_cast<int8_t>(std::max(setup, 1));
  findings_.setups[group.frqsel] = true;
  return true;
}

// Why MakeHead rejects a group.
AResult Importer::Unstorable(const GroupParameters& parameters, int number) const {
  std::string what = " has FREQSEL " + valToStr(parameters.freqSel) + ", beyond 8 bits";
  if (!IsSource(parameters.source)) what = " has SOURCE " + valToStr(parameters.source) + ", beyond 16 bits";
  if (!(parameters.subarray <= Subarrays::kMost)) {
    what = " has SUBARRAY " + valToStr(parameters.subarray) + ", beyond " + Number(Subarrays::kMost);
  } else if (parameters.antennas != 0 && isSurveyed_) {
    what = " has an antenna that is not in the table AN of subarray " + valToStr(parameters.subarray);
  }
  if (parameters.antennas == 0) {
    what = " has BASELINE " + valToStr(parameters.baseline) +
           ", which is not 256 x antenna 1 + antenna 2 with antennas 1 to 255";
    if (input_.hasAntennas()) {
      what = " has ANTENNA1 " + valToStr(parameters.antenna1) + " and ANTENNA2 " + valToStr(parameters.antenna2) +
             "; the antenna numbers of a UVX file are 1 to 255";
    }
  }
  if (!std::isfinite(parameters.date)) what = " has a time that is not a number";
  return input_.Refuse("group " + Number(number + 1) + what);
}

// Convert the values of a group in steps that stay in the processor's inner cache, however large the group is.
bool Importer::CopyValues(GroupReader& reader, int number, AResult& result) {
  const int valueBytes = 3 * std::abs(input_.fits().main()->valueBytes());
  for (int left = input_.values(); left > 0;) {
    const int count = std::min(left, AUVXWriter::kMostReserved);
    const char* raw = reader.NextValues(count * valueBytes);
    AUVXComplex* values = raw ? writer_.Reserve(count) : nullptr;
    if (!values) {
      result = raw ? writer_.Why() : Broken(number);
      return false;
    }
    if (plainFloats_) {
      Swap32(values, raw, 3 * static_cast<size_t>(count));
    } else {
      DecodeFITSValues(input_.fits(), raw, values, count);
      if (input_.hasBlank()) FlagBlanks(raw, values, count);
    }
    left -= count;
  }
  return true;
}

// A blank weight or value has no meaning: the value becomes NaN and its weight 0.
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

// Take the observation date from the first group if the header has none.
void Importer::DateFromFirstGroup() {
  BlockReader reader(*input_.fits().file());
  reader.Seek(input_.fits().main()->dataStart());
  char* parameters = reader.Next(input_.parameterBytes());
  if (!parameters) return;
  AUVXGroup first;
  first.load(input_.fits(), parameters);
  const double date = MidnightBefore(first.date);
  AUVXInfoHeader& info = writer_.header().info;
  if (info.dateObs == 0) {
    info.dateObs = std::isfinite(date) ? date : 0;
    isDateTaken_ = true;
    summary_.remarks.push_back("DATE-OBS cannot be read: the date of the first group is taken");
  } else if (const double days = first.date - info.dateObs; std::fabs(days) > kMostDaysAfterDate) {
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
    for (const char* column : ExpectedColumns(code)) {
      if (table->FindColumn(column) >= 0) continue;
      summary_.remarks.push_back("the table " + code + " has no column " + column + ": zeros stand in its place");
    }
    if (code == "BL" || code == "HD" || code == "IT") {
      // This code belongs to a table that is made anew. The list of baselines comes back here after an export.
      const std::string& name = input_.fits().tables()(i)->extname();
      if (name != "ZELTRA BL") {
        summary_.remarks.push_back("table \"" + name + "\" is left out: a UVX file has another table " + code);
      }
      continue;
    }
    if (code == "AN" && subarrays_.HasTable()) {
      if (!IsInTheList(*input_.fits().tables()(i))) continue;
      *table = subarrays_.table();
      if (antennas) continue;
    } else if (subarrays_.IsMerged() && code != "NX") {
      subarrays_.Renumber(*table);
    } else if (options_.subarray > 0 && code != "NX") {
      // In the rows of other subarrays, the same numbers mean other antennas.
      KeepSubarray(*table, options_.subarray);
    }
    if (code == "SN" || code == "CL") RemarkOnDelays(*table);
    if (code == "NX") {
      if (indexed) summary_.remarks.push_back("an index table after the first one is left out");
      if (indexed || !IndexAgrees(*table)) continue;
      indexed = true;
    }
    for (auto [name, first] : {std::pair{"AN", &antennas}, {"SU", &sources}, {"FQ", &setups}}) {
      if (code == name && !*first) *first = table.get();
    }
    tables.push_back(std::move(table));
  }
  if (!indexed) {
    tables.emplace_back();  // the writer's
    writer_.index();
    if (const std::string remark = writer_.IndexRemark(); !remark.empty()) summary_.remarks.push_back(remark);
  }
  if (!setups) setups = tables.emplace_back(SetupFromAxis()).get();
  if (!antennas) {
    AUVXBaseLines baseLines = writer_.baseLines();
    tables.emplace_back(AUVXAntenns(baseLines).ToUVXTable());
    summary_.remarks.push_back("there is no table \"AN\": antennas have no names and no positions");
  }
  // Freed so that extensions that have the name of a source table, but are not one, are not read again.
  input_.fits().tables().Free();
  if (!sources) sources = tables.emplace_back(AUVXSources(input_.fits()).ToUVXTable()).get();
  RemarkOnTables(antennas, *sources, *setups);
  for (const auto& table : tables) {
    if (AResult result = table ? writer_.AddTable(*table) : writer_.AddIndex(); !result) return result;
  }
  if (AResult result = writer_.AddBaseLines(); !result) return result;
  summary_.tables = static_cast<int>(tables.size()) + 2 + writer_.integrations().IsKnown();
  return writer_.AddProvenance(input_.cards(), ImportDescription().Command(options_));
}

// Delays of gains count from the reference pixel of the frequency axis. In a UVX file that is the first channel.
void Importer::RemarkOnDelays(const AUVXTable& table) {
  AFITSmain& main = *input_.fits().main();
  const double pixel = main.axes()(2, main.FindAxis("FREQ") - 1);
  bool hasDelays = false;
  for (int i = 0; i < table.columnCount() && pixel != 1; ++i) {
    if (!table.columns()(i).Name().starts_with("DELAY")) continue;
    for (int row = 0; row < table.rows(); ++row) hasDelays |= std::fabs(table.Number(row, i)) > 0;
  }
  if (!hasDelays) return;
  summary_.remarks.push_back("the delays of the table " + table.Code() + " count from channel " + valToStr(pixel) +
                             " and are taken to count from channel 1: where they are applied, phases are off by what "
                             "they are in between");
}

// The one setup of a file without a frequency table: every IF begins at freq0, and channels are spaced as on the FREQ
// axis. Two channels determine it, however many there are.
std::unique_ptr<AUVXTable> Importer::SetupFromAxis() {
  const AUVXHeader& header = input_.header();
  AFITSmain& main = *input_.fits().main();
  const double width = main.axes()(1, main.FindAxis("FREQ") - 1);
  const int ifs = std::max(int{header.IFs}, 1), channels = header.channels;
  if (ifs > 1) summary_.remarks.push_back("there is no table \"FQ\": all IFs are taken to have the same frequencies");
  AUVXFreqs freqs(2, ifs);
  for (int i = 0; i < ifs; ++i) {
    freqs(0, i) = header.freq0;
    freqs(1, i) = header.freq0 + width;
  }
  std::unique_ptr<AUVXTable> table(freqs.ToUVXTable(header.freq0));
  const int bandwidth = table->FindColumn("TOTAL BANDWIDTH");
  for (int i = 0; i < ifs; ++i) table->SetNumber(0, bandwidth, i, std::fabs(width) * channels);
  return table;
}

// Whether an index table of the file names a scan for every record, and the right one.
bool Importer::IndexAgrees(AUVXTable& table) {
  const bool isWhole = options_.subarray == 0 && !subarrays_.IsSetBack();
  if (summary_.sorted || !isWhole || options_.scanGap > 0) return false;
  const AUVXPosition index(writer_.index());
  const AUVXPosition given(table);
  const auto isOf = [&](int run, const AUVXPositionItem& scan) {
    return run < index.count() && scan.sourceId == index(run).sourceId && scan.freqId == index(run).freqId &&
           (!subarrays_.EndScans() || scan.subarray == index(run).subarray);
  };
  int next = 1, run = 0;
  bool agrees = true;
  for (int i = 0; i < given.count() && agrees; ++i) {
    const AUVXPositionItem& scan = given(i);
    while (run < index.count() && index(run).endVis < scan.startVis) ++run;
    agrees = scan.startVis == next && scan.endVis >= scan.startVis && isOf(run, scan);
    // A scan may contain gaps that would end one of our own.
    while (agrees && index(run).endVis < scan.endVis) agrees = isOf(++run, scan);
    next = agrees ? scan.endVis + 1 : next;
  }
  agrees = agrees && next == writer_.records() + 1;
  if (!agrees) summary_.remarks.push_back("the index table does not describe the groups and is built anew");
  return agrees;
}

// Whether the antenna table of an extension was merged into the common list.
bool Importer::IsInTheList(AFITSxtbl& extension) {
  const int version = VersionOf(extension);
  const bool isWanted = options_.subarray == 0 || version == options_.subarray;
  const bool isIn = version >= 1 && version <= Subarrays::kMost && subarrays_.Has(version) && isWanted;
  if (!isIn && isWanted) {
    summary_.remarks.push_back("the table AN of subarray " + Number(version) + " is left out: no group is of it");
  }
  return isIn;
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
  const AUVXWriter::OddValues odd = writer_.oddValues();
  remark(odd.notNumbers, "values have a part that is not a finite number");
  remark(odd.infiniteWeights, "weights are infinite");
  remark(odd.weightsNotNumbers, "weights are not numbers; such values count as valid");
  remark(findings_.blanks, "blank values are flagged");
  remark(findings_.withoutSetup, "groups have a source, setup or subarray number below 1, taken as 1");
  remark(findings_.zeroTimes, "groups have the time 0");
  remark(findings_.noCoordinates, "groups have u, v or w that is not a finite number");
  if (writer_.integrations().IsGivenUp()) {
    summary_.remarks.push_back("the integration times (INTTIM) are left out, since they change more than " +
                               Number(AUVXIntegrations::kMostRuns) + " times");
  }
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
    const std::vector<int> ids = SortedIds(AUVXAntenns(*antennas));
    const std::unique_ptr<AArray<int>> map(writer_.baseLines().getTlscMap());
    for (const int id : *map) {
      if (!std::binary_search(ids.begin(), ids.end(), id)) missing("antenna " + Number(id), "AN");
    }
  }
  const std::vector<int> ids = SortedIds(AUVXSources(sources));
  const std::unique_ptr<AArray<short>> map(writer_.baseLines().getSourceMap());
  for (const int id : *map) {
    if (!std::binary_search(ids.begin(), ids.end(), id)) missing("source " + Number(id), "SU");
  }
  const int column = setups.FindColumn("FRQSEL");
  bool given[kSetups] = {};
  for (int row = 0; row < setups.rows(); ++row) {
    const double number = setups.Number(row, column);
    if (number >= 0 && number < kSetups && number == std::floor(number)) given[static_cast<int>(number)] = true;
  }
  for (int setup = 0; setup < kSetups; ++setup) {
    if (findings_.setups[setup] && !given[setup]) missing("setup " + Number(setup), "FQ");
  }
}

}  // namespace

AResult ImportUVFITS(const std::string& from, const std::string& to, const ImportOptions& options,
                     ImportSummary* summary) {
  if (const std::string sentence = WhyNoInput(from); !sentence.empty()) return AResult::Fail(from + ": " + sentence);
  auto file = std::make_unique<AInputFile>();
  AResult result = file->Open(from);
  return result ? ImportUVFITS(std::move(file), to, options, summary) : result;
}

AResult ImportUVFITS(std::unique_ptr<AInputFile> from, const std::string& to, const ImportOptions& options,
                     ImportSummary* summary) {
  ImportSummary unused;
  return Importer(to, options, summary ? *summary : unused).Run(std::move(from));
}

}  // namespace zeltra
