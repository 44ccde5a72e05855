// The columns for the values of a record.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_VALUECOLUMNS_H_
#define ZELTRA_APPS_VALUECOLUMNS_H_

#include <vector>

#include "apps/zeltra/TablePrinter.h"
#include "zeltra/ops/PolarisationChoice.h"
#include "zeltra/uvx/AUVXComplex.h"

namespace zeltra::app {

/// Append the columns of the first `shown` values: re_1_1_RR, im_1_1_RR, weight_1_1_RR and so on, IFs and channels from
/// 1.
void AppendValueColumns(const ValuesChoice& values, int shown, std::vector<PrintedColumn>& columns);

/// Print the cells of a value.
void PrintValue(TablePrinter& printer, const AUVXComplex& value);

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_VALUECOLUMNS_H_
