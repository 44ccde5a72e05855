// What the commands over time intervals share.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_INTERVALARGUMENTS_H_
#define ZELTRA_APPS_INTERVALARGUMENTS_H_

#include <optional>
#include <string>

#include "apps/zeltra/Command.h"
#include "zeltra/ops/IntervalOptions.h"

namespace zeltra::app {

class UVXInput;

/// Add --start and --stop, which take a Julian date or ISO 8601 text.
void AddTimeOptions(CLI::App& command, std::optional<ATime>& start, std::optional<ATime>& stop);

/// Add --source, --freqsel, --interval, --start, --stop and --mode.
void AddIntervalOptions(CLI::App& command, IntervalOptions& options);

/// Tell which sources a table mixes, where none was chosen and there are several.
void NoteSources(UVXInput& input, const std::string& chosen, Session& session);

/// Print a Julian date: as a date and a time of day in a text.
void PrintTime(TablePrinter& printer, TableFormat format, double julianDate);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_INTERVALARGUMENTS_H_
