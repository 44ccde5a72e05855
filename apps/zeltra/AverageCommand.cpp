// zeltra average: time averages, as a table or as a UVX file.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/IntervalArguments.h"
#include "apps/zeltra/UVXInput.h"
#include "apps/zeltra/ValueColumns.h"
#include "zeltra/ops/AverageUVX.h"

namespace zeltra::app {
namespace {

// How many values of an average a line of text shows.
constexpr int kShownValues = 2;
// How many values of an average fit in a table, with three columns each.
constexpr int kMostValues = 1 << 18;

struct Arguments {
  std::string path;
  std::string output;
  TableFormat format = TableFormat::Text;
  AverageOptions options;
};

std::vector<PrintedColumn> Columns(const ValuesChoice& values, int shown, TableFormat format) {
  std::vector<PrintedColumn> columns = PrintedColumns(AverageDescription(), format, 3);
  AppendValueColumns(values, shown, columns);
  return columns;
}

void PrintAverage(TablePrinter& printer, TableFormat format, const AUVXGroup& group, const AUVXVisibility& values,
                  int shown) {
  PrintTime(printer, format, group.date);
  printer.Integer(static_cast<uint8_t>(group.ant1));
  printer.Integer(static_cast<uint8_t>(group.ant2));
  for (int i = 0; i < shown; ++i) PrintValue(printer, values.lpArray()[i]);
  printer.EndRow();
}

AResult PrintAverages(UVXInput& input, const Arguments& arguments, Session& session) {
  ValuesChoice averaged;
  if (AResult result = FindAveragedValues(input, arguments.options, averaged); !result) return result;
  const int64 values = averaged.count();
  if (values > kMostValues) {
    return AResult::Fail(arguments.path + ": averages of " + std::to_string(values) +
                         " values do not fit in a table, -o writes a UVX file");
  }
  const int all = static_cast<int>(values);
  const int shown = arguments.format == TableFormat::Text ? std::min(all, kShownValues) : all;
  NoteSources(input, arguments.options.selection, session);
  bool isValid = false;
  StandardOutput out;
  TablePrinter printer(out, arguments.format, Columns(averaged, shown, arguments.format));
  AResult result = Average(input, arguments.options, [&](AUVXGroup& group, AUVXVisibility& average) {
    PrintAverage(printer, arguments.format, group, average, shown);
    const AUVXComplex* first = average.lpArray();
    isValid = isValid || std::any_of(first, first + all, [](const AUVXComplex& value) { return value.weight > 0; });
    return out.good() ? AResult::Ok() : out.Flush();
  });
  if (!result) return result;
  printer.Finish();
  result = out.Flush();
  if (result && shown < all) {
    session.Report("the first " + std::to_string(shown) + " of " + std::to_string(all) +
                   " values are shown, --csv prints all");
  }
  if (result && !isValid) session.Note("all weights are 0 or negative");
  return result;
}

// Note polarisations that UV FITS cannot store, as its codes are evenly spaced.
void NoteNoAxis(UVXInput& input, const AverageOptions& options, Session& session) {
  ValuesChoice values;
  if (!FindAveragedValues(input, options, values)) return;
  const auto code = [&](size_t i) { return values.polarisations[i].mix.GetStokesID(); };
  for (size_t i = 2; i < values.polarisations.size(); ++i) {
    if (code(i) - code(i - 1) == code(1) - code(0)) continue;
    session.Note("a UV FITS file cannot hold these polarisations together, so the output cannot be exported as it is");
    return;
  }
}

AResult AverageIntoFile(UVXInput& input, const Arguments& arguments, Session& session) {
  NoteNoAxis(input, arguments.options, session);
  CopySummary summary;
  AResult result = AverageUVX(input, arguments.output, arguments.options, &summary);
  for (const std::string& remark : summary.remarks) session.Note(remark);
  return result;
}

std::string OutputName(const Arguments& arguments) {
  const std::optional<PartShare>& share = arguments.options.share;
  return share ? share->FileName(arguments.output) : arguments.output;
}

AResult RunAverage(Arguments& arguments, Session& session) {
  if (arguments.options.share && arguments.output.empty()) throw CLI::RequiredError("-o, with --part,");
  // The lists of the input are freed before those of the output are read: either may have millions of scans.
  {
    UVXInput input;
    if (AResult result = input.Open(arguments.path, arguments.options.selection, session); !result) return result;
    if (arguments.output.empty()) return input.Settle(PrintAverages(input, arguments, session));
    if (AResult result = AverageIntoFile(input, arguments, session); !result) return result;
  }
  ReportUVX(session, OutputName(arguments));
  return AResult::Ok();
}

}  // namespace

void AddAverageCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, AverageDescription(),
             {arguments->options, {&arguments->path, &arguments->output}, &arguments->format},
             [arguments, &session] { return RunAverage(*arguments, session); });
}

}  // namespace zeltra::app
