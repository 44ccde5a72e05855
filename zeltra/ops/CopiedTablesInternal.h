// The tables of a file go into another one whose records are made from its own.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_COPIEDTABLESINTERNAL_H_
#define ZELTRA_OPS_COPIEDTABLESINTERNAL_H_

#include <functional>
#include <string>

#include "zeltra/ops/AUVXInput.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {

/// Add the tables of `from` to `to` in their order. Index and baseline list are those of the records of `to`, each in
/// its place, or at the end where `from` has none. Header cards and integration times come last.
/// @param command  the command that made `to` from `from`: see AJobDescription::Command
/// @param change   may change every other table before it is added; returns whether it is added at all
AResult CopyTables(AUVXInput& from, AUVXWriter& to, const std::string& command,
                   const std::function<bool(AUVXTable&)>& change = {});
/// The same with header cards that are not those of `from` any more.
AResult CopyTables(AUVXInput& from, AUVXWriter& to, const AUVXHeaderCards& cards, const std::string& command,
                   const std::function<bool(AUVXTable&)>& change);

/// Take out the rows of antennas and sources that have no records. Rows of all sources, number 0, stay; so does
/// a list of sources where records are of source 0.
void DropUnusedRows(AUVXTable& table, const AUVXBaseLines& baseLines);

}  // namespace zeltra

#endif  // ZELTRA_OPS_COPIEDTABLESINTERNAL_H_
