// zeltra uvw: a UVX file with its u, v, w recomputed.
// SPDX-License-Identifier: MIT
#include <cstdio>
#include <memory>

#include "apps/zeltra/Command.h"
#include "apps/zeltra/UVXInput.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/RecomputeUVW.h"

namespace zeltra::app {
namespace {

struct Arguments {
  std::string from;
  std::string to;
  JobOptions options;
};

AResult PrintDifference(const UVWDifference& difference) {
  StandardOutput out;
  TablePrinter printer(out, TableFormat::Text, {{"", true}, {"max / s"}, {"rms / s"}, {"max / m"}, {"rms / m"}});
  for (int i = 0; i < 3; ++i) {
    printer.Text(std::string(1, "uvw"[i]));
    for (const double unit : {1.0, kSpeedOfLight}) {
      for (const double seconds : {difference.largest[i], difference.rms[i]}) {
        char text[32];
        std::snprintf(text, sizeof text, "%.4g", seconds * unit);
        printer.Text(text);
      }
    }
    printer.EndRow();
  }
  printer.Finish();
  return out.Flush();
}

AResult Recompute(Arguments& arguments, Session& session) {
  UVXInput input;
  if (AResult result = input.Open(arguments.from, session); !result) return result;
  UVWDifference difference;
  AResult result = RecomputeUVW(input, arguments.to, arguments.options, difference);
  if (!result) return result;
  session.Report(arguments.to + ": " + difference.frame.Text() + "; new minus old coordinates of " +
                 std::to_string(difference.records) + " records, " + RoundedNumber(100 * difference.relative, 2) +
                 " % of their root mean square");
  return PrintDifference(difference);
}

}  // namespace

void AddUVWCommand(CLI::App& app, Session& session) {
  auto arguments = std::make_shared<Arguments>();
  AddCommand(app, session, UVWDescription(), {arguments->options, {&arguments->from, &arguments->to}},
             [arguments, &session] { return Recompute(*arguments, session); });
}

}  // namespace zeltra::app
