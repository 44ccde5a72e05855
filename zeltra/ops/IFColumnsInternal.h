// Finds columns of tables that are about IFs.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_IFCOLUMNSINTERNAL_H_
#define ZELTRA_OPS_IFCOLUMNSINTERNAL_H_

#include <string>
#include <vector>

#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// Whether the columns of a table fill its rows; otherwise the place of the bytes for an IF is uncertain.
bool FillsRows(const AUVXTable& table);

/// How many elements a column has for each of several IFs; those for the first IF come first. 0 if it is not about IFs;
/// if there is only one IF, no column is. In known tables the known columns count, in others those whose lengths are
/// multiples of the number of IFs.
int ElementsOfIF(const AUVXTable& table, int column, int IFs);
/// Whether any column is about IFs.
bool HasColumnsOfIFs(const AUVXTable& table, int IFs);
/// Whether the columns about IFs are known, not guessed from their lengths.
bool HasKnownColumnsOfIFs(const AUVXTable& table);
/// Whether the table is about channels, the number of which differs from that of the records.
bool IsAboutChannels(const AUVXTable& table);

/// Make a table that keeps only the elements for the IFs in `kept` in columns about IFs.
/// @param count  the new value of the keyword NO_IF
AUVXTable KeepIFs(const AUVXTable& table, int IFs, const std::vector<int>& kept, int count);
/// Set a keyword if it exists.
void SetKeyWord(AUVXTable& table, const std::string& key, const std::string& value);

}  // namespace zeltra

#endif  // ZELTRA_OPS_IFCOLUMNSINTERNAL_H_
