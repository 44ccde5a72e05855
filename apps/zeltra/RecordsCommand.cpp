// zeltra records: the visibility records of a UVX file as a table.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/core/Dates.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra::app {
namespace {

// A line of a text shows so many values of a record.
constexpr int kShownValues = 2;

struct Arguments : JobOptions {
  std::string path;
  TableFormat format = TableFormat::Text;
  std::optional<int> source;
  std::optional<int> setup;
  int from = 0;
  std::optional<int> count;
};

AJobDescription DescribeRecords() {
  AJobDescriber<Arguments> job("records", "Print visibility records", "A line a record, in the order of the file.");
  job.Input(UVXInputFile());
  job.Option("source", &Arguments::source, "only records of this source number").Otherwise("all");
  job.Option("freqsel", &Arguments::setup, "only records of this frequency setup").Otherwise("all");
  job.Option("from", &Arguments::from, "first record, from 0").From(0);
  job.Option("count", &Arguments::count, "number of records looked at").From(0).Otherwise("all that follow");
  job.Column("index", "", "number of the record, from 0");
  job.Column("time", "JD", "Julian date, in the time scale of the file");
  job.Column("ant1", "", "number of antenna 1");
  job.Column("ant2", "", "number of antenna 2");
  job.Column("source", "", "number of the source");
  job.Column("freqsel", "", "number of the frequency setup");
  for (const char* name : {"u", "v", "w"}) job.Column(name, "s", "antenna 1 minus antenna 2, light travel time");
  job.Column("re_IF_CHANNEL_POLARISATION", "unit of the file", "real part; all three count from 0");
  job.Column("im_IF_CHANNEL_POLARISATION", "unit of the file", "imaginary part");
  job.Column("weight_IF_CHANNEL_POLARISATION", "", "weight; not above 0: flagged");
  return job.Finish();
}

const AJobDescription& RecordsDescription() {
  static const AJobDescription description = DescribeRecords();
  return description;
}

class RecordPrinter {
 public:
  RecordPrinter(const Arguments& arguments, Session& session) : arguments_(arguments), session_(session) {}

  AResult Run();

 private:
  AResult Print();
  std::vector<PrintedColumn> Columns();
  AResult PrintRecords(TablePrinter& printer);
  bool IsWanted(const AUVXGroup& group) const;
  void PrintRecord(TablePrinter& printer, const WalkedRecord& record);
  AResult NothingMatches() const;

  const Arguments& arguments_;
  Session& session_;
  UVXInput input_;
  StandardOutput out_;
  int end_ = 0;                            // first record after the window
  int values_ = 0;                         // values of a record
  int shown_ = 0;                          // those that are printed
  std::set<std::pair<int, int>> present_;  // sources and setups of the window
};

AResult RecordPrinter::Run() {
  AResult result = input_.Open(arguments_.path, session_);
  return result ? input_.Settle(Print()) : result;
}

AResult RecordPrinter::Print() {
  AUVXFile& uvx = input_.uvx();
  const int count = uvx.count();
  if (arguments_.from > 0 && arguments_.from >= count) {
    return AResult::Fail(arguments_.path + ": there is no record " + std::to_string(arguments_.from) +
                         ", the file holds " + std::to_string(count) + ", numbered from 0");
  }
  end_ = std::min(count - arguments_.from, arguments_.count.value_or(count)) + arguments_.from;
  if (AResult result = input_.CheckRecordSize(); !result) return result;
  values_ = (uvx.recSize() - AUVXGroup::kBytes) / static_cast<int>(sizeof(AUVXComplex));
  shown_ = arguments_.format == TableFormat::Text ? std::min(values_, kShownValues) : values_;

  TablePrinter printer(out_, arguments_.format, Columns());
  if (AResult result = PrintRecords(printer); !result) return result;
  printer.Finish();
  AResult result = out_.Flush();
  if (result && shown_ < values_) {
    session_.Report("the first " + std::to_string(shown_) + " of " + std::to_string(values_) +
                    " values a record are shown, --csv prints them all");
  }
  return result;
}

std::vector<PrintedColumn> RecordPrinter::Columns() {
  std::vector<PrintedColumn> columns = PrintedColumns(RecordsDescription(), arguments_.format, 9);
  AUVXFile& uvx = input_.uvx();
  for (int value = 0; value < shown_; ++value) {
    const int point = value / uvx.stokes();
    const std::string place = "_" + std::to_string(point / uvx.channels()) + "_" +
                              std::to_string(point % uvx.channels()) + "_" + std::to_string(value % uvx.stokes());
    for (const char* part : {"re", "im", "weight"}) columns.push_back({part + place});
  }
  return columns;
}

AResult RecordPrinter::PrintRecords(TablePrinter& printer) {
  JobOptions options = session_.Options();
  options.progress = nullptr;  // the lines themselves show it
  bool any = false;
  AResult result = WalkRecords(input_, options, arguments_.from, end_, [&](const WalkedRecord& record) {
    present_.insert({record.group.sourceNo(), record.group.freqSel()});
    if (!IsWanted(record.group)) return true;
    any = true;
    PrintRecord(printer, record);
    return out_.good();
  });
  if (!result) return result;
  const bool isFiltered = arguments_.source || arguments_.setup;
  return any || !isFiltered ? AResult::Ok() : NothingMatches();
}

bool RecordPrinter::IsWanted(const AUVXGroup& group) const {
  return arguments_.source.value_or(group.sourceNo()) == group.sourceNo() &&
         arguments_.setup.value_or(group.freqSel()) == group.freqSel();
}

void RecordPrinter::PrintRecord(TablePrinter& printer, const WalkedRecord& record) {
  const AUVXGroup& group = record.group;
  printer.Integer(record.index);
  if (arguments_.format == TableFormat::Text) {
    printer.Text(DateAndTime(group.date));
  } else {
    printer.Real(group.date);
  }
  printer.Integer(static_cast<uint8_t>(group.ant1));
  printer.Integer(static_cast<uint8_t>(group.ant2));
  printer.Integer(group.sourceNo());
  printer.Integer(group.freqSel());
  printer.Real(float{group.uu});
  printer.Real(float{group.vv});
  printer.Real(float{group.ww});
  for (int i = 0; i < shown_; ++i) {
    const AUVXComplex& value = record.values[i];
    printer.Real(value.re);
    printer.Real(value.im);
    printer.Real(value.weight);
  }
  printer.EndRow();
}

AResult RecordPrinter::NothingMatches() const {
  std::string sentence = arguments_.path + ": no record of";
  if (arguments_.source) sentence += " source " + std::to_string(*arguments_.source);
  if (arguments_.setup) sentence += " frequency setup " + std::to_string(*arguments_.setup);
  sentence += "; there are ";
  constexpr size_t kMostNamed = 20;
  size_t named = 0;
  for (const auto& [source, setup] : present_) {
    if (named == kMostNamed) break;
    sentence +=
        (named++ == 0 ? "" : ", ") + ("source " + std::to_string(source)) + " in setup " + std::to_string(setup);
  }
  if (present_.empty()) sentence += "no records";
  if (present_.size() > kMostNamed) sentence += " and " + std::to_string(present_.size() - kMostNamed) + " more";
  return AResult::Fail(sentence);
}

}  // namespace

void AddRecordsCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, RecordsDescription(), {*arguments, {&arguments->path}, &arguments->format},
             [arguments, &session] { return RecordPrinter(*arguments, session).Run(); });
}

}  // namespace zeltra::app
