// What the columns of an "FQ" table hold.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXFQTBLINTERNAL_H_
#define ZELTRA_UVX_AUVXFQTBLINTERNAL_H_

#include <string>

namespace zeltra {

enum class FqColumn {
  Other,
  Start,      ///< frequency of an IF beside that of the header
  Delta,      ///< channel increment
  Id,         ///< number of the setup
  Bandwidth,  ///< of a whole IF
};

/// What a column of this name holds: known parts of names tell it, since writers vary the rest. Of several columns of a
/// kind the last one counts.
FqColumn FqColumnOf(const std::string& name);

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXFQTBLINTERNAL_H_
