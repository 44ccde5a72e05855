// The job average: time averages, as a table or as a UVX file.
// SPDX-License-Identifier: MIT
#include <algorithm>

#include "zeltra/jobs/JobInput.h"
#include "zeltra/jobs/JobsInternal.h"
#include "zeltra/ops/AverageUVX.h"

namespace zeltra {
namespace {

// How many values of an average a line of text shows.
constexpr int kShownValues = 2;
// How many values of an average fit in a table, with three columns each.
constexpr int kMostValues = 1 << 18;

std::vector<AJobColumn> Columns(AUVXInput& input, const ValuesChoice& values, int shown) {
  std::vector<AJobColumn> columns = AverageDescription().columns;
  columns.resize(3);
  AppendValueColumns(input, values, shown, columns);
  return columns;
}

void DeliverAverage(ATableSink& table, const AUVXGroup& group, const AUVXVisibility& values, int shown) {
  table.Time(group.date);
  table.Integer(static_cast<uint8_t>(group.ant1));
  table.Integer(static_cast<uint8_t>(group.ant2));
  for (int i = 0; i < shown; ++i) DeliverValue(table, values.lpArray()[i]);
  table.EndRow();
}

AResult DeliverAverages(AUVXInput& input, const AverageOptions& options, AJobHost& host) {
  ValuesChoice averaged;
  if (AResult result = FindAveragedValues(input, options, averaged); !result) return result;
  const int64 values = averaged.count();
  if (values > kMostValues) {
    return AResult::Fail(input.path() + ": averages of " + std::to_string(values) +
                         " values do not fit in a table, -o writes a UVX file");
  }
  const int all = static_cast<int>(values);
  const int shown = host.IsForPeople() ? std::min(all, kShownValues) : all;
  NoteSources(input, options.selection, host);
  bool isValid = false;
  ATableSink& table = host.BeginTable(Columns(input, averaged, shown));
  AResult result = Average(input, options, [&](AUVXGroup& group, AUVXVisibility& average) {
    DeliverAverage(table, group, average, shown);
    const AUVXComplex* first = average.lpArray();
    isValid = isValid || std::any_of(first, first + all, [](const AUVXComplex& value) { return value.weight > 0; });
    return table.good() ? AResult::Ok() : table.Finish();
  });
  if (!result) return result;
  result = table.Finish();
  if (result && shown < all) {
    host.Report("the first " + std::to_string(shown) + " of " + std::to_string(all) +
                " values are shown, --csv prints all");
  }
  if (result && !isValid) host.Note("all weights are 0 or negative");
  return result;
}

// Note polarisations that UV FITS cannot store, as its codes must be evenly spaced.
void NoteNoAxis(AUVXInput& input, const AverageOptions& options, AJobHost& host) {
  ValuesChoice values;
  if (!FindAveragedValues(input, options, values)) return;
  const auto code = [&](size_t i) { return values.polarisations[i].mix.GetStokesID(); };
  for (size_t i = 2; i < values.polarisations.size(); ++i) {
    if (code(i) - code(i - 1) == code(1) - code(0)) continue;
    host.Note("a UV FITS file cannot hold these polarisations together, so the output cannot be exported as it is");
    return;
  }
}

AResult AverageIntoFile(AUVXInput& input, const std::string& to, const AverageOptions& options, AJobHost& host) {
  NoteNoAxis(input, options, host);
  CopySummary summary;
  AResult result = AverageUVX(input, to, options, &summary);
  NoteAll(summary.remarks, host);
  return result;
}

AResult RunAverage(const AJobFiles& files, AverageOptions& options, AJobHost& host) {
  const std::string& to = files.to();
  if (options.share && to.empty()) return AResult::Misuse("-o, with --part, is required");
  // The lists of the input are freed before those of the output are read: either may have millions of scans.
  {
    AUVXInput input;
    if (AResult result = OpenInput(input, files.from(), options.selection, options, host); !result) return result;
    if (to.empty()) return input.Settle(DeliverAverages(input, options, host));
    if (AResult result = AverageIntoFile(input, to, options, host); !result) return result;
  }
  ReportUVX(host, options.share ? options.share->FileName(to) : to);
  return AResult::Ok();
}

}  // namespace

AJob AverageJob() {
  return JobOf<AverageOptions, RunAverage>(AverageDescription, true);
}

}  // namespace zeltra
