// SPDX-License-Identifier: MIT
#include "apps/zeltra/IntervalArguments.h"

#include "apps/zeltra/UVXInput.h"
#include "zeltra/core/Dates.h"
#include "zeltra/ops/AUVXContents.h"

namespace zeltra::app {
void NoteSources(UVXInput& input, const UVXSelection& chosen, Session& session) {
  if (!chosen.sources.empty()) return;
  const AUVXContents& contents = input.contents();
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
