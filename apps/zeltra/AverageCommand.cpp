// zeltra average: time averages, as a table or as a UVX file.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/IntervalArguments.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/ops/AverageUVX.h"

namespace zeltra::app {
namespace {

// A line of a text shows so many values of an average.
constexpr int kShownValues = 2;
// A table has room for an average of so many values, three columns each.
constexpr int kMostValues = 1 << 18;

struct Arguments {
  std::string path;
  std::string output;
  TableFormat format = TableFormat::Text;
  AverageOptions options;
};

std::vector<PrintedColumn> Columns(const AUVXFile& uvx, int polarisations, int shown, TableFormat format) {
  std::vector<PrintedColumn> columns = PrintedColumns(AverageDescription(), format, 3);
  for (int value = 0; value < shown; ++value) {
    const int point = value / polarisations;
    const std::string place = "_" + std::to_string(point / uvx.channels()) + "_" +
                              std::to_string(point % uvx.channels()) + "_" + std::to_string(value % polarisations);
    for (const char* part : {"re", "im", "weight"}) columns.push_back({part + place});
  }
  return columns;
}

void PrintAverage(TablePrinter& printer, TableFormat format, const AUVXGroup& group, const AUVXVisibility& values,
                  int shown) {
  PrintTime(printer, format, group.date);
  printer.Integer(static_cast<uint8_t>(group.ant1));
  printer.Integer(static_cast<uint8_t>(group.ant2));
  for (int i = 0; i < shown; ++i) {
    const AUVXComplex& value = values.lpArray()[i];
    printer.Real(value.re);
    printer.Real(value.im);
    printer.Real(value.weight);
  }
  printer.EndRow();
}

AResult PrintAverages(UVXInput& input, const Arguments& arguments, Session& session) {
  AArray<AStokesMix> mix;
  if (AResult result = AveragedPolarisations(input, arguments.options.mix, mix); !result) return result;
  AUVXFile& uvx = input.uvx();
  const int64 values = int64{std::max(uvx.IFs(), 1)} * uvx.channels() * mix.count();
  if (values > kMostValues) {
    return AResult::Fail(arguments.path + ": averages of " + std::to_string(values) +
                         " values do not fit a table, -o writes a UVX file");
  }
  const int all = static_cast<int>(values);
  const int shown = arguments.format == TableFormat::Text ? std::min(all, kShownValues) : all;
  NoteSources(input, arguments.options.selection, session);
  StandardOutput out;
  TablePrinter printer(out, arguments.format, Columns(uvx, mix.count(), shown, arguments.format));
  AResult result = Average(input, arguments.options, [&](AUVXGroup& group, AUVXVisibility& average) {
    PrintAverage(printer, arguments.format, group, average, shown);
    return out.good() ? AResult::Ok() : out.Flush();
  });
  if (!result) return result;
  printer.Finish();
  result = out.Flush();
  if (result && shown < all) {
    session.Report("the first " + std::to_string(shown) + " of " + std::to_string(all) +
                   " values are shown, --csv prints them all");
  }
  if (result && arguments.options.mix != AverageMix::Stored) {
    std::string names;
    for (int i = 0; i < mix.count(); ++i) names += (i == 0 ? "" : ", ") + std::to_string(i) + " " + mix(i).asString();
    session.Report("polarisations: " + names);
  }
  return result;
}

AResult RunAverage(Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.path, session); !result) return result;
  if (arguments.output.empty()) return input.Settle(PrintAverages(input, arguments, session));
  return AverageUVX(input, arguments.output, arguments.options);
}

}  // namespace

void AddAverageCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, AverageDescription(),
             {arguments->options, {&arguments->path, &arguments->output}, &arguments->format},
             [arguments, &session] { return RunAverage(*arguments, session); });
}

}  // namespace zeltra::app
