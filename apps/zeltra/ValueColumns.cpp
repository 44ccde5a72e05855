// SPDX-License-Identifier: MIT
#include "apps/zeltra/ValueColumns.h"

#include <string>

namespace zeltra::app {

void AppendValueColumns(const ValuesChoice& values, int shown, std::vector<PrintedColumn>& columns) {
  int value = 0;
  for (const int i : values.IFs) {
    for (const int channel : values.channels) {
      for (const PolarisationChoice& polarisation : values.polarisations) {
        if (value++ >= shown) return;
        for (std::string name : {"re", "im", "weight"}) {
          for (const int place : {i, channel}) name.append("_").append(std::to_string(place + 1));
          columns.push_back({name.append("_").append(polarisation.name)});
        }
      }
    }
  }
}

void PrintValue(TablePrinter& printer, const AUVXComplex& value) {
  printer.Real(value.re);
  printer.Real(value.im);
  printer.Real(value.weight);
}

}  // namespace zeltra::app
