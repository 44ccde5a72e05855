// Functions shared by the commands over time intervals.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_INTERVALARGUMENTS_H_
#define ZELTRA_APPS_INTERVALARGUMENTS_H_

#include "apps/zeltra/Command.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra::app {

class UVXInput;

/// Note which sources a table mixes, if it has several and none was chosen.
void NoteSources(UVXInput& input, const UVXSelection& chosen, Session& session);

/// Print a Julian date; in text, as a date and a time of day.
void PrintTime(TablePrinter& printer, TableFormat format, double julianDate);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_INTERVALARGUMENTS_H_
