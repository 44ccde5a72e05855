// SPDX-License-Identifier: MIT
#include "apps/zeltra/IntervalArguments.h"

#include "apps/zeltra/UVXInput.h"
#include "zeltra/core/Dates.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/RecordChoice.h"

namespace zeltra::app {

void NoteSources(UVXInput& input, const UVXSelection& chosen, Session& session) {
  if (!chosen.sources.empty()) return;
  RecordChoice choice;
  if (!choice.Open(input, chosen) || choice.sources().size() < 2) return;
  session.Note("the table has lines of several sources, --source chooses one: " +
               input.contents().SourceList(choice.sources()));
}

void PrintTime(TablePrinter& printer, TableFormat format, double julianDate) {
  if (format == TableFormat::Text) {
    printer.Text(DateAndTime(julianDate));
  } else {
    printer.Real(julianDate);
  }
}

}  // namespace zeltra::app
