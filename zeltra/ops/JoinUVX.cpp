// SPDX-License-Identifier: MIT
#include "zeltra/ops/JoinUVX.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <set>
#include <utility>

#include "zeltra/core/Text.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/IFColumnsInternal.h"
#include "zeltra/ops/JoinedListsInternal.h"
#include "zeltra/ops/JoinedTablesInternal.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/ops/SharedOptionsInternal.h"
#include "zeltra/platform/System.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

// Inputs that stay open from when their lists are read until their records are copied.
constexpr size_t kMostKept = 16;

// The joined numbers of one input, in a table for quick look-up.
class NumberTable {
 public:
  /// @param size  of the range of numbers, half of which are negative
  NumberTable(const JoinedLists& lists, const JoinedNumbers& numbers, RowNumber kind, int size)
      : half_(size / 2), joined_(static_cast<size_t>(size)), isListed_(static_cast<size_t>(size)) {
    for (int i = 0; i < size; ++i) {
      const std::optional<int> joined = lists.NumberOf(numbers, kind, i - half_);
      isListed_[static_cast<size_t>(i)] = joined.has_value();
      joined_[static_cast<size_t>(i)] = joined.value_or(0);
    }
  }
  /// @return false if the number belongs to something else
  bool Translate(int number, int& joined) const {
    const auto place = static_cast<size_t>(number + half_);
    joined = joined_[place];
    return isListed_[place];
  }

 private:
  const int half_;
  std::vector<int> joined_;
  std::vector<bool> isListed_;
};

struct Input {
  std::string path;
  std::unique_ptr<AUVXInput> open;  // null while it is closed
  AUVXHeader header;
  JoinedNumbers numbers;
};

class Joiner {
 public:
  Joiner(const std::string& to, const JoinOptions& options, JoinSummary& summary)
      : to_(to), options_(options), summary_(summary), tables_(lists_) {}

  AResult Run(const std::vector<std::string>& from);

 private:
  AResult Open(Input& input) const;
  AResult Look(Input& input);
  AResult CheckAgreement(AUVXInput& input) const;
  AResult Differs(AUVXInput& input, const std::string& what, const std::string& own, const std::string& first) const;
  void SettleDate();
  AResult CopyInput(size_t number);
  AResult CopyRecords(AUVXInput& input, const JoinedNumbers& numbers, RecordReach& reach);
  AResult Unlisted(const std::string& path, const JoinedNumbers& numbers, const WalkedRecord& record) const;
  AResult TakeTables(AUVXInput& input, size_t number);
  double DaysAfter(const Input& input) const;
  AResult AddTables();
  AResult AddTable(const AUVXTableItem& item, bool isFirst);
  AResult AddJoined(const std::string& code);
  AUVXInput& first() { return *inputs_.front().open; }

  const std::string to_;
  const JoinOptions options_;
  JoinSummary& summary_;
  std::vector<Input> inputs_;
  JoinedLists lists_;
  JoinedTables tables_;
  std::vector<RecordReach> reaches_;
  std::string timeScale_;
  AArray<AUVXTableKeyWord> earliestKeyWords_;  // of the table "AN" of the input that begins first
  double date_ = 0;                            // of the output
  double lastTime_ = -HUGE_VAL;
  bool goesBack_ = false;
  std::set<std::string> leftOut_, added_;  // codes of tables
  AUVXWriter writer_;
};

AResult Joiner::Run(const std::vector<std::string>& from) {
  for (const std::string& path : from) {
    if (IsSameFile(path, to_)) return AResult::Fail(to_ + ": is a file that is read");
    inputs_.emplace_back();
    inputs_.back().path = path;
  }
  for (Input& input : inputs_) {
    if (AResult result = Look(input); !result) return result;
    const size_t number = static_cast<size_t>(&input - inputs_.data());
    if (number >= kMostKept) input.open.reset();
  }
  AUVXHeader header = inputs_.front().header;
  header.info.dateObs = date_;
  SettleDate();
  if (AResult result = writer_.Create(to_, header, options_, inputs_.front().path); !result) return result;
  for (size_t i = 0; i < inputs_.size(); ++i) {
    if (AResult result = CopyInput(i); !result) return result;
  }
  if (AResult result = AddTables(); !result) return result;
  summary_.remarks = tables_.Remarks();
  std::string codes;
  for (const std::string& code : leftOut_) codes += (codes.empty() ? "" : ", ") + code;
  if (!codes.empty()) summary_.remarks.push_back("tables that are kept of the first input at most: " + codes);
  if (goesBack_) {
    summary_.remarks.push_back("times go back between records; 'zeltra sort' puts them in order");
  }
  if (const std::string remark = writer_.IndexRemark(); !remark.empty()) summary_.remarks.push_back(remark);
  return writer_.Finish();
}

AResult Joiner::Open(Input& input) const {
  if (options_.open) return options_.open(input.path, input.open);
  input.open = std::make_unique<AUVXInput>();
  return input.open->Open(input.path, options_);
}

AResult Joiner::Look(Input& input) {
  if (IsCancelled(options_)) return AResult::Cancel(input.path + ": cancelled");
  if (AResult result = Open(input); !result) return result;
  AUVXInput& open = *input.open;
  if (AResult result = open.CheckTables(); !result) return open.Settle(result);
  input.header = open.contents().header();
  if (&input == &inputs_.front()) timeScale_ = open.contents().timeScale();
  if (AResult result = CheckAgreement(open); !result) return open.Settle(result);
  const double date = input.header.info.dateObs;
  if (date > 0 && (date_ == 0 || date < date_)) {
    date_ = date;
    const std::unique_ptr<AUVXTable> antennas = open.Table("AN");
    earliestKeyWords_ = antennas ? antennas->keywords() : AArray<AUVXTableKeyWord>();
  }
  return open.Settle(lists_.Add(open, input.numbers));
}

AResult Joiner::Differs(AUVXInput& input, const std::string& what, const std::string& own,
                        const std::string& first) const {
  return AResult::Fail(input.path() + ": " + what + " " + own + ", and " + inputs_.front().path + " " + first);
}

AResult Joiner::CheckAgreement(AUVXInput& input) const {
  const AUVXHeader& own = input.contents().header();
  const AUVXHeader& first = inputs_.front().header;
  const auto names = [](const AUVXHeader& header) {
    std::string list;
    for (int i = 0; i < header.stokes.count(); ++i) {
      list += (i == 0 ? "" : ", ") + AStokesItem(i, header.stokes(i)).asShortString();
    }
    return list.empty() ? std::string("none") : list;
  };
  const auto unit = [](const AUVXHeader& header) {
    return Trimmed(FieldText(header.info.bunit, sizeof header.info.bunit));
  };
  const auto differ = [&](const char* what, auto a, auto b) {
    return Differs(input, what, std::to_string(a), std::to_string(b));
  };
  if (names(own) != names(first)) return Differs(input, "has the polarisations", names(own), names(first));
  const int ownIFs = std::max(int{own.IFs}, 1), firstIFs = std::max(int{first.IFs}, 1);
  if (ownIFs != firstIFs) return differ("has IFs:", ownIFs, firstIFs);
  if (own.channels != first.channels) return differ("has channels:", int{own.channels}, int{first.channels});
  if (unit(own) != unit(first)) return Differs(input, "has the unit", unit(own), unit(first));
  const double ownEpoch = own.info.epoch, firstEpoch = first.info.epoch;
  if (!(ownEpoch == firstEpoch)) {
    return Differs(input, "has the equinox", ReadableNumber(ownEpoch), ReadableNumber(firstEpoch));
  }
  const std::string scale = input.contents().timeScale();
  if (scale != timeScale_) return Differs(input, "has times in", scale, timeScale_);
  return AResult::Ok();
}

// If another input begins before the first one, the antenna table gets the keywords that depend on its date.
void Joiner::SettleDate() {
  AUVXTable* antennas = lists_.Table("AN");
  if (!antennas || date_ == inputs_.front().header.info.dateObs) return;
  const std::set<std::string> ofDate = {"RDATE", "GSTIA0", "DEGPDY", "POLARX", "POLARY", "UT1UTC", "DATUTC"};
  for (int i = 0; i < earliestKeyWords_.count(); ++i) {
    const AUVXTableKeyWord& word = earliestKeyWords_(i);
    if (ofDate.contains(word.Key())) SetKeyWord(*antennas, word.Key(), word.Value());
  }
}

AResult Joiner::CopyInput(size_t number) {
  Input& input = inputs_[number];
  if (!input.open) {
    if (AResult result = Open(input); !result) return result;
    const AUVXHeader header(input.open->uvx());
    if (std::memcmp(&header, &input.header, sizeof header) != 0) {
      return AResult::Fail(input.path + ": was changed while it was read");
    }
  }
  AUVXInput& open = *input.open;
  reaches_.emplace_back();
  SendProgressText(options_.progress, "Joining...");
  AResult result = CopyRecords(open, input.numbers, reaches_.back());
  if (result) result = TakeTables(open, number);
  result = open.Settle(result);
  if (number > 0) input.open.reset();
  return result;
}

AResult Joiner::CopyRecords(AUVXInput& input, const JoinedNumbers& numbers, RecordReach& reach) {
  const NumberTable sources(lists_, numbers, RowNumber::Source, 1 << 16);
  const NumberTable antennas(lists_, numbers, RowNumber::Antenna, 1 << 9);
  const NumberTable setups(lists_, numbers, RowNumber::Setup, 1 << 8);
  AUVXIntegrationCursor integrations(input.contents().integrations());
  AResult copied = AResult::Ok();
  AResult result = WalkRecords(input, options_, 0, input.uvx().count(), [&](const WalkedRecord& record) {
    AUVXGroup group = record.group;
    int source = 0, setup = 0, first = 0, second = 0;
    if (!sources.Translate(group.sourceNo(), source) || !setups.Translate(group.freqSel(), setup) ||
        !antennas.Translate(static_cast<std::uint8_t>(group.ant1), first) ||
        !antennas.Translate(static_cast<std::uint8_t>(group.ant2), second)) {
      copied = Unlisted(input.path(), numbers, record);
      return false;
    }
    group.source = static_cast<std::int16_t>(source);
    group.frqsel = static_cast<std::int8_t>(setup);
    group.ant1 = static_cast<std::int8_t>(first);
    group.ant2 = static_cast<std::int8_t>(second);
    if (reach.sources.empty() || !reach.sources.contains(source)) reach.sources.insert(source);
    reach.setups.insert(setup);
    const double time = group.uvTime();
    reach.first = std::min(reach.first, time - date_);
    reach.last = std::max(reach.last, time - date_);
    goesBack_ = goesBack_ || time < lastTime_;
    if (!std::isnan(time)) lastTime_ = time;
    writer_.SetIntegration(integrations.Stored(record.index));
    copied = writer_.Append(group, record.values);
    return static_cast<bool>(copied);
  });
  return copied ? result : copied;
}

// Name the number of a record that has no counterpart in the joined lists.
AResult Joiner::Unlisted(const std::string& path, const JoinedNumbers& numbers, const WalkedRecord& record) const {
  const std::pair<RowNumber, int> all[] = {{RowNumber::Source, record.group.sourceNo()},
                                           {RowNumber::Setup, record.group.freqSel()},
                                           {RowNumber::Antenna, static_cast<std::uint8_t>(record.group.ant1)},
                                           {RowNumber::Antenna, static_cast<std::uint8_t>(record.group.ant2)}};
  const auto* unlisted = std::find_if(std::begin(all), std::end(all) - 1, [&](const auto& each) {
    return !lists_.NumberOf(numbers, each.first, each.second);
  });
  return AResult::Fail(path + ": record " + std::to_string(record.index + 1) + " is of " +
                       lists_.ReasonOf(numbers, unlisted->first, unlisted->second));
}

// Days from the observation date of the output to that of an input; NaN if one of them is unknown.
double Joiner::DaysAfter(const Input& input) const {
  const double date = input.header.info.dateObs;
  return date == date_ ? 0 : date > 0 ? date - date_ : std::nan("");
}

AResult Joiner::TakeTables(AUVXInput& input, size_t number) {
  const AUVXTableHeader directory(input.uvx());
  for (int i = 0; i < directory.count(); ++i) {
    AUVXTable code;
    code.SetID(int{directory(i).ID});
    const bool isFirst = directory.HasTable(code.Code()) == i;
    if (isFirst && RowNumbers::IsKnown(code.Code())) {
      const std::unique_ptr<AUVXTable> table = input.Table(directory(i));
      if (!table) return AResult::Fail(input.path() + ": a table cannot be read any more");
      tables_.Take(static_cast<int>(number), *table, inputs_[number].numbers, DaysAfter(inputs_[number]));
      continue;
    }
    const std::set<std::string> made = {"AN", "SU", "FQ", "NX", "BL"};
    const bool isMade = AUVXTable::IsProvenance(directory(i).ID) || (isFirst && made.contains(code.Code()));
    if (number > 0 && !isMade) leftOut_.insert(code.Code());
  }
  return AResult::Ok();
}

AResult Joiner::AddTables() {
  const AUVXTableHeader directory(first().uvx());
  for (int i = 0; i < directory.count(); ++i) {
    AUVXTable code;
    code.SetID(int{directory(i).ID});
    if (AUVXTable::IsProvenance(directory(i).ID)) continue;
    AResult result = AddTable(directory(i), directory.HasTable(code.Code()) == i);
    if (!result) return result;
  }
  std::vector<std::string> others = tables_.Codes();
  others.insert(others.begin(), {"FQ", "AN", "SU", "NX", "BL"});
  for (const std::string& code : others) {
    if (AResult result = AddJoined(code); !result) return result;
  }
  AResult result = writer_.AddProvenance(first().contents().cards(), JoinDescription().Command(options_));
  return result ? first().Check() : result;
}

// Add a table of the first input, or the joined one in its place.
AResult Joiner::AddTable(const AUVXTableItem& item, bool isFirst) {
  const std::unique_ptr<AUVXTable> table = first().Table(item);
  if (!table) return AResult::Fail(first().path() + ": a table cannot be read any more");
  const std::string code = table->Code();
  const std::set<std::string> lists = {"FQ", "AN", "SU", "NX", "BL"};
  if (isFirst && (lists.contains(code) || RowNumbers::IsKnown(code))) return AddJoined(code);
  const double days = DaysAfter(inputs_.front());
  if (days == 0) return writer_.AddTable(*table);
  const std::optional<RowNumbers> columns = RowNumbers::IsKnown(code) ? RowNumbers::Of(*table) : std::nullopt;
  if (std::isnan(days) || (!columns && table->FindColumn("TIME") >= 0)) {
    leftOut_.insert(code);
    return AResult::Ok();
  }
  for (int row = 0; columns && row < table->rows(); ++row) {
    columns->Change(
        *table, row, [](RowNumber, int number) { return number; }, days);
  }
  return writer_.AddTable(*table);
}

// Add a table that is made from all inputs, once.
AResult Joiner::AddJoined(const std::string& code) {
  if (!added_.insert(code).second) return AResult::Ok();
  if (code == "NX") return writer_.AddIndex();
  if (code == "BL") return writer_.AddBaseLines();
  if (!RowNumbers::IsKnown(code)) {
    AUVXTable* list = lists_.Table(code);
    return list ? writer_.AddTable(*list) : AResult::Ok();
  }
  AUVXTable table;
  return tables_.Make(code, reaches_, table) ? writer_.AddTable(table) : AResult::Ok();
}

AJobDescription DescribeJoin() {
  AJobDescriber<JoinOptions> job(
      "join", "Join UVX files, or the parts of an output",
      "Records follow each other in the order of the inputs, which agree in polarisations, IFs, channels and unit. The "
      "same sources (by name, within 1 mas), antennas (by name, within 1 m) and setups (within 1 kHz) get one number; "
      "others keep theirs where they are free. Tables of flags and of calibration are joined, other tables are those "
      "of "
      "the first input. Times stay as they are. Lists of scans and baselines are made anew.\n\n"
      "With --parts, OUT.uvx is named alone: it is made of OUT.uvx.1-of-N to OUT.uvx.N-of-N, as zeltra average --part "
      "K/N "
      "-o OUT.uvx writes them, byte for byte as zeltra average -o OUT.uvx. The parts stay. Files of another run, of "
      "another input or with other options are refused.");
  AJobFile in = {"IN", "UVX, or UV FITS, which is imported first; several of them", "", 0, {}};
  in.isList = true;
  job.Input(in);
  job.Output(UVXOutputFile());
  job.Option("parts", &JoinOptions::parts, "join the parts of OUT.uvx, whose own names are not given").KeepsResult();
  job.Overwrite();
  return job.Finish();
}

}  // namespace

AResult JoinUVX(const std::vector<std::string>& from, const std::string& to, const JoinOptions& options,
                JoinSummary* summary) {
  if (from.empty()) return AResult::Fail(to + ": there is nothing to join");
  JoinSummary unseen;
  return Joiner(to, options, summary ? *summary : unseen).Run(from);
}

const AJobDescription& JoinDescription() {
  static const AJobDescription description = DescribeJoin();
  return description;
}

}  // namespace zeltra
