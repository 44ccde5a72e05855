// What the commands over time intervals share.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_INTERVALARGUMENTS_H_
#define ZELTRA_APPS_INTERVALARGUMENTS_H_

#include "apps/zeltra/Command.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra::app {

class UVXInput;

/// Tell which sources a table mixes, where none was chosen and there are several.
void NoteSources(UVXInput& input, const UVXSelection& chosen, Session& session);

/// Print a Julian date: as a date and a time of day in a text.
void PrintTime(TablePrinter& printer, TableFormat format, double julianDate);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_INTERVALARGUMENTS_H_
