// zeltra records: the visibility records of a UVX file as a table.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/IntervalArguments.h"
#include "apps/zeltra/UVXInput.h"
#include "apps/zeltra/ValueColumns.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/RecordChoice.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra::app {
namespace {

// How many values of a record a line of text shows.
constexpr int kShownValues = 2;

struct Arguments : JobOptions {
  std::string path;
  TableFormat format = TableFormat::Text;
  UVXSelection selection;
  int from = 1;
  std::optional<int> count;
};

AJobDescription DescribeRecords() {
  AJobDescriber<Arguments> job("records", "Print visibility records", "One line per record, in file order.");
  job.Input(UVXInputFile());
  DescribeSelection(job);
  job.Option("from", &Arguments::from, "first record to consider, counted from 1").From(1);
  job.Option("count", &Arguments::count, "number of records to consider").From(0).Otherwise("all up to the last one");
  job.Column("index", "", "number of the record, from 1");
  job.Column("time", "JD", "Julian date, in the time scale of the file");
  job.Column("ant1", "", "number of antenna 1");
  job.Column("ant2", "", "number of antenna 2");
  job.Column("source", "", "number of the source");
  job.Column("freqsel", "", "number of the frequency setup");
  for (const char* name : {"u", "v", "w"}) job.Column(name, "s", "antenna 1 minus antenna 2, light travel time");
  job.Column("re_IF_CHANNEL_POLARISATION", "unit of the file",
             "real part, as in re_1_1_RR; IFs and channels count from 1");
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
  AResult LookUp();
  AResult PrintRecords(TablePrinter& printer);
  void PrintRecord(TablePrinter& printer, const WalkedRecord& record);
  void PrintValues(TablePrinter& printer, const AUVXComplex* values) const;

  const Arguments& arguments_;
  Session& session_;
  UVXInput input_;
  StandardOutput out_;
  RecordChoice choice_;
  ValuesChoice values_;
  int first_ = 0, end_ = 0;  // of the window
  int shown_ = 0;            // values of a record that are printed
};

AResult RecordPrinter::Run() {
  AResult result = input_.Open(arguments_.path, arguments_.selection, session_);
  return result ? input_.Settle(Print()) : result;
}

AResult RecordPrinter::Print() {
  if (AResult result = LookUp(); !result) return result;
  const int all = static_cast<int>(values_.count());
  shown_ = arguments_.format == TableFormat::Text ? std::min(all, kShownValues) : all;
  std::vector<PrintedColumn> columns = PrintedColumns(RecordsDescription(), arguments_.format, 9);
  AppendValueColumns(values_, shown_, columns);
  TablePrinter printer(out_, arguments_.format, std::move(columns));
  if (AResult result = PrintRecords(printer); !result) return result;
  printer.Finish();
  AResult result = out_.Flush();
  if (result && shown_ < all) {
    session_.Report("the first " + std::to_string(shown_) + " of " + std::to_string(all) +
                    " values per record are shown, --csv prints all");
  }
  return result;
}

AResult RecordPrinter::LookUp() {
  const int count = input_.uvx().count();
  first_ = arguments_.from - 1;
  if (first_ > 0 && first_ >= count) {
    return AResult::Fail(arguments_.path + ": there is no record " + std::to_string(arguments_.from) +
                         ", the file holds " + std::to_string(count) + ", numbered from 1");
  }
  end_ = std::min(count - first_, arguments_.count.value_or(count)) + first_;
  if (AResult result = input_.CheckRecordSize(); !result) return result;
  if (AResult result = input_.contents().FindValues(arguments_.selection, values_); !result) return result;
  return choice_.Open(input_, arguments_.selection);
}

AResult RecordPrinter::PrintRecords(TablePrinter& printer) {
  JobOptions options = session_.Options();
  options.progress = nullptr;  // the lines show it
  bool any = false;
  AResult result = WalkRecords(input_, options, first_, end_, [&](const WalkedRecord& record) {
    if (!choice_.Takes(record.group, record.index)) return true;
    any = true;
    PrintRecord(printer, record);
    return out_.good();
  });
  if (!result || any || first_ >= end_) return result;
  if (first_ > 0 || end_ < input_.uvx().count()) {
    return AResult::Fail(arguments_.path + ": no record from " + std::to_string(first_ + 1) + " to " +
                         std::to_string(end_) + " is selected");
  }
  return choice_.NothingSelected(input_, options);
}

void RecordPrinter::PrintRecord(TablePrinter& printer, const WalkedRecord& record) {
  const AUVXGroup& group = record.group;
  printer.Integer(int64{record.index} + 1);
  PrintTime(printer, arguments_.format, group.date);
  printer.Integer(static_cast<uint8_t>(group.ant1));
  printer.Integer(static_cast<uint8_t>(group.ant2));
  printer.Integer(group.sourceNo());
  printer.Integer(group.freqSel());
  printer.Real(float{group.uu});
  printer.Real(float{group.vv});
  printer.Real(float{group.ww});
  PrintValues(printer, record.values);
  printer.EndRow();
}

void RecordPrinter::PrintValues(TablePrinter& printer, const AUVXComplex* values) const {
  const int channels = input_.uvx().channels(), stokes = input_.uvx().stokes();
  int printed = 0;
  for (const int i : values_.IFs) {
    for (const int channel : values_.channels) {
      const AUVXComplex* point = values + (int64{i} * channels + channel) * stokes;
      for (const PolarisationChoice& polarisation : values_.polarisations) {
        if (printed++ >= shown_) return;
        const AStokesMix& mix = polarisation.mix;
        PrintValue(printer, mix.id == 0 ? point[mix.item1.index] : polarisation.Value(point, stokes, true));
      }
    }
  }
}

}  // namespace

void AddRecordsCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, RecordsDescription(), {*arguments, {&arguments->path}, &arguments->format},
             [arguments, &session] { return RecordPrinter(*arguments, session).Run(); });
}

}  // namespace zeltra::app
