// The meaning of the columns of an "FQ" table.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXFQTBLINTERNAL_H_
#define ZELTRA_UVX_AUVXFQTBLINTERNAL_H_

#include <string>

namespace zeltra {

enum class FqColumn {
  Other,
  Start,      ///< frequency of an IF relative to that of the header
  Delta,      ///< channel increment
  Id,         ///< number of the setup
  Bandwidth,  ///< of a whole IF
};

/// The meaning of a column with this name, recognised by known parts of names, since writers vary the rest. If several
/// columns have the same meaning, the last one counts.
FqColumn FqColumnOf(const std::string& name);

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXFQTBLINTERNAL_H_
