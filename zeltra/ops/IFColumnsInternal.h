// Which columns of tables are about IFs.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_IFCOLUMNSINTERNAL_H_
#define ZELTRA_OPS_IFCOLUMNSINTERNAL_H_

#include <string>
#include <vector>

#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// Whether the columns of a table fill its rows: otherwise it is open where the bytes of an IF are.
bool FillsRows(const AUVXTable& table);

/// Elements that a column has for each of several IFs: all of them for the first IF come first. 0 if it is not about
/// IFs, as no column is where there is one IF. Known columns of known tables count, and of other tables those whose
/// lengths are multiples of the number of IFs.
int ElementsOfIF(const AUVXTable& table, int column, int IFs);
/// Whether any column is about IFs.
bool HasColumnsOfIFs(const AUVXTable& table, int IFs);
/// Whether the columns about IFs are known for what they are, not guessed by their lengths.
bool HasKnownColumnsOfIFs(const AUVXTable& table);
/// Whether the table is about channels, of which it has another number than the records.
bool IsAboutChannels(const AUVXTable& table);

/// Make a table that keeps of each column about IFs the elements of those in `kept`.
/// @param count  what the keyword NO_IF says then
AUVXTable KeepIFs(const AUVXTable& table, int IFs, const std::vector<int>& kept, int count);
/// Set a keyword, if there is one.
void SetKeyWord(AUVXTable& table, const std::string& key, const std::string& value);

}  // namespace zeltra

#endif  // ZELTRA_OPS_IFCOLUMNSINTERNAL_H_
