// SPDX-License-Identifier: MIT
#include "apps/zeltra/IntervalArguments.h"

#include "apps/zeltra/UVXInput.h"
#include "zeltra/core/Dates.h"
#include "zeltra/ops/AUVXContents.h"

namespace zeltra::app {
namespace {

void AddTimeOption(CLI::App& command, const char* name, std::optional<ATime>& time, const char* description) {
  command
      .add_option_function<std::string>(
          name,
          [name, &time](const std::string& text) {
            if (AResult result = strToTime(text, time.emplace()); !result) {
              throw CLI::ValidationError(name, result.message());
            }
          },
          description)
      ->type_name("TIME");
}

}  // namespace

void AddTimeOptions(CLI::App& command, std::optional<ATime>& start, std::optional<ATime>& stop) {
  AddTimeOption(command, "--start", start, "UTC, a Julian date or like 2020-03-20T07:30:00: no earlier records");
  AddTimeOption(command, "--stop", stop, "UTC: no later records");
}

void AddIntervalOptions(CLI::App& command, IntervalOptions& options) {
  command.add_option("--source", options.source, "number or name of the source")->type_name("N|NAME");
  command.add_option("--freqsel", options.freqSel, "number of the frequency setup")->type_name("N");
  command
      .add_option("--interval", options.interval,
                  "length of the intervals, which begin at --start, or at multiples of the length since 0 h of the "
                  "observation date; -1 makes an interval of every time stamp")
      ->type_name("SECONDS")
      ->required()
      ->check([](const std::string& text) {
        double seconds = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, seconds);
        const bool isPossible = seconds == -1 || (seconds >= 1e-3 && seconds <= 1e9);
        return isNumber && isPossible ? std::string() : text + " is neither -1 nor from 0.001 to 1e9";
      });
  AddTimeOptions(command, options.start, options.stop);
  command
      .add_option_function<std::string>(
          "--mode", [&options](const std::string& mode) { options.complexMean = mode == "complex"; },
          "average real and imaginary parts (the default), or amplitudes and unwrapped phases")
      ->check(CLI::IsMember({"complex", "amphase"}));
}

void NoteSources(UVXInput& input, const std::string& chosen, Session& session) {
  if (!chosen.empty()) return;
  const AUVXContents contents(input);
  const std::vector<int> numbers = contents.SourceNumbers();
  if (numbers.size() < 2) return;
  session.Note("lines of several sources follow each other, --source chooses one: " + contents.SourceList(numbers));
}

void PrintTime(TablePrinter& printer, TableFormat format, double julianDate) {
  if (format == TableFormat::Text) {
    printer.Text(DateAndTime(julianDate));
  } else {
    printer.Real(julianDate);
  }
}

}  // namespace zeltra::app
