// zeltra average: time averages, as a table or as a UVX file.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <map>
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
  bool force = false;
  TableFormat format = TableFormat::Text;
  AverageOptions options;
};

std::vector<PrintedColumn> Columns(const AUVXFile& uvx, int polarisations, int shown, TableFormat format) {
  std::vector<PrintedColumn> columns = {{"time", format == TableFormat::Text}, {"ant1"}, {"ant2"}};
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
  NoteSources(input, arguments.options.source, session);
  StandardOutput out;
  TablePrinter printer(out, arguments.format, Columns(uvx, mix.count(), shown, arguments.format));
  AResult result = Average(input, arguments.options, [&](AUVXGroup& group, AUVXVisibility& average) {
    PrintAverage(printer, arguments.format, group, average, shown);
    return AResult::Ok();
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
  static_cast<JobOptions&>(arguments.options) = session.Options(arguments.force);
  if (arguments.output.empty()) return PrintAverages(input, arguments, session);
  return AverageUVX(input, arguments.output, arguments.options);
}

}  // namespace

void AddAverageCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App& command = *app.add_subcommand(
      "average",
      "Average visibilities in time: a line an interval and baseline, with the mean Julian date of the\n"
      "interval, the antennas, and the values as re_IF_CHANNEL_POLARISATION, im_..., weight_..., numbered from 0");
  command.add_option("FILE", arguments->path, "UVX, or UV FITS, which is imported first")->required();
  AddIntervalOptions(command, arguments->options);
  const std::map<std::string, AverageMix> mixes = {
      {"all", AverageMix::All}, {"rl", AverageMix::Parallel}, {"cross", AverageMix::Cross}};
  command
      .add_option("--mix", arguments->options.mix,
                  "average combinations of polarisations: all that can be formed, the parallel hands (rl) or the cross "
                  "hands")
      ->transform(CLI::CheckedTransformer(mixes).description("all|rl|cross"));
  AddFormatOptions(command, arguments->format);
  CLI::Option* output =
      command.add_option("-o,--output", arguments->output, "write a UVX file with the tables of FILE instead");
  output->excludes(command.get_option("--csv"))->excludes(command.get_option("--json"));
  command.add_flag("-f,--force", arguments->force, "replace the output if it exists")->needs(output);
  session.OnRun(command, [arguments, &session] { return RunAverage(*arguments, session); });
}

}  // namespace zeltra::app
