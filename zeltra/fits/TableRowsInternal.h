// The bytes of table rows.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_TABLEROWSINTERNAL_H_
#define ZELTRA_FITS_TABLEROWSINTERNAL_H_

#include <vector>

#include "zeltra/fits/AFITSxtbl.h"

namespace zeltra {

/// Number of bytes that hold `bits` bits.
inline int BitBytes(int bits) {
  return (bits + 7) / 8;
}

/// Width in bytes of an element of letter D, E, J, I, A or L; 0 for other letters, which are neither converted nor
/// stepped over, since the AIPS tables that this library reads do not contain them.
int ElementBytes(char type);

/// Width in bytes of a whole field, including an "X" field of bits.
int FieldBytes(AXTblFormat format);

/// Convert every number of `rowCount` rows from the byte order of FITS to the machine's, or back. A field of bits is
/// reversed as a whole.
///
/// A single offset runs through all rows without being reset at each row, since the widths of the fields add up to that
/// of a row.
/// @param bytes  size of the rows; fields that reach beyond it are left unchanged
void SwapTableRows(char* rows, int64 bytes, int rowCount, std::vector<AXTblFormat> fields);

}  // namespace zeltra

#endif  // ZELTRA_FITS_TABLEROWSINTERNAL_H_
