// The job records: the visibility records of a UVX file as a table.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <optional>
#include <utility>

#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/RecordChoice.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/ops/SharedOptionsInternal.h"

namespace zeltra {
namespace {

// How many values of a record a line of text shows.
constexpr int kShownValues = 2;

struct RecordsOptions : JobOptions {
  UVXSelection selection;
  int from = 1;
  std::optional<int> count;
};

AJobDescription DescribeRecords() {
  AJobDescriber<RecordsOptions> job("records", "Print visibility records", "One line per record, in file order.");
  job.Input(UVXInputFile());
  DescribeSelection(job);
  job.Option("from", &RecordsOptions::from, "first record to consider, counted from 1").From(1);
  job.Option("count", &RecordsOptions::count, "number of records to consider")
      .From(0)
      .Otherwise("all up to the last one");
  job.IntegerColumn("index", "number of the record, from 1");
  job.Column("time", "JD", "Julian date, in the time scale of the file");
  job.IntegerColumn("ant1", "number of antenna 1");
  job.IntegerColumn("ant2", "number of antenna 2");
  job.IntegerColumn("source", "number of the source");
  job.IntegerColumn("freqsel", "number of the frequency setup");
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

class RecordLister {
 public:
  RecordLister(const RecordsOptions& options, AJobHost& host) : options_(options), host_(host) {}

  AResult Run(const std::string& path);

 private:
  AResult Deliver();
  AResult LookUp();
  AResult DeliverRecords(ATableSink& table);
  void DeliverRecord(ATableSink& table, const WalkedRecord& record);
  void DeliverValues(ATableSink& table, const AUVXComplex* values) const;

  const RecordsOptions& options_;
  AJobHost& host_;
  AUVXInput input_;
  RecordChoice choice_;
  ValuesChoice values_;
  int first_ = 0, end_ = 0;  // of the window
  int shown_ = 0;            // values of a record that are delivered
};

AResult RecordLister::Run(const std::string& path) {
  AResult result = OpenInput(input_, path, options_.selection, options_, host_);
  return result ? input_.Settle(Deliver()) : result;
}

AResult RecordLister::Deliver() {
  if (AResult result = LookUp(); !result) return result;
  const int all = static_cast<int>(values_.count());
  shown_ = host_.IsForPeople() ? std::min(all, kShownValues) : all;
  std::vector<AJobColumn> columns = RecordsDescription().columns;
  columns.resize(9);
  AppendValueColumns(input_, values_, shown_, columns);
  ATableSink& table = host_.BeginTable(std::move(columns));
  if (AResult result = DeliverRecords(table); !result) return result;
  AResult result = table.Finish();
  if (result && shown_ < all) {
    host_.Report("the first " + std::to_string(shown_) + " of " + std::to_string(all) +
                 " values per record are shown, --csv prints all");
  }
  return result;
}

AResult RecordLister::LookUp() {
  const int count = input_.uvx().count();
  first_ = options_.from - 1;
  if (first_ > 0 && first_ >= count) {
    return AResult::Fail(input_.path() + ": there is no record " + std::to_string(options_.from) + ", the file holds " +
                         std::to_string(count) + ", numbered from 1");
  }
  end_ = std::min(count - first_, options_.count.value_or(count)) + first_;
  if (AResult result = input_.CheckRecordSize(); !result) return result;
  if (AResult result = input_.contents().FindValues(options_.selection, values_); !result) return result;
  return choice_.Open(input_, options_.selection);
}

AResult RecordLister::DeliverRecords(ATableSink& table) {
  JobOptions options = options_;
  options.progress = nullptr;  // the lines show it
  bool any = false;
  AResult result = WalkRecords(input_, options, first_, end_, [&](const WalkedRecord& record) {
    if (!choice_.Takes(record.group, record.index)) return true;
    any = true;
    DeliverRecord(table, record);
    return table.good();
  });
  if (!result || any || first_ >= end_) return result;
  if (first_ > 0 || end_ < input_.uvx().count()) {
    return AResult::Fail(input_.path() + ": no record from " + std::to_string(first_ + 1) + " to " +
                         std::to_string(end_) + " is selected");
  }
  return choice_.NothingSelected(input_, options);
}

void RecordLister::DeliverRecord(ATableSink& table, const WalkedRecord& record) {
  const AUVXGroup& group = record.group;
  table.Integer(int64{record.index} + 1);
  table.Time(group.date);
  table.Integer(static_cast<uint8_t>(group.ant1));
  table.Integer(static_cast<uint8_t>(group.ant2));
  table.Integer(group.sourceNo());
  table.Integer(group.freqSel());
  table.Real(float{group.uu});
  table.Real(float{group.vv});
  table.Real(float{group.ww});
  DeliverValues(table, record.values);
  table.EndRow();
}

void RecordLister::DeliverValues(ATableSink& table, const AUVXComplex* values) const {
  const int channels = input_.uvx().channels(), stokes = input_.uvx().stokes();
  int delivered = 0;
  for (const int i : values_.IFs) {
    for (const int channel : values_.channels) {
      const AUVXComplex* point = values + (int64{i} * channels + channel) * stokes;
      for (const PolarisationChoice& polarisation : values_.polarisations) {
        if (delivered++ >= shown_) return;
        const AStokesMix& mix = polarisation.mix;
        DeliverValue(table, mix.id == 0 ? point[mix.item1.index] : polarisation.Value(point, stokes, true));
      }
    }
  }
}

AResult RunRecords(const AJobFiles& files, RecordsOptions& options, AJobHost& host) {
  return RecordLister(options, host).Run(files.from());
}

}  // namespace

AJob RecordsJob() {
  return JobOf<RecordsOptions, RunRecords>(RecordsDescription, true);
}

}  // namespace zeltra
