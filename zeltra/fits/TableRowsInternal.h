// The bytes of table rows.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_TABLEROWSINTERNAL_H_
#define ZELTRA_FITS_TABLEROWSINTERNAL_H_

#include <vector>

#include "zeltra/fits/AFITSxtbl.h"

namespace zeltra {

/// Bytes of `bits` bits.
inline int BitBytes(int bits) {
  return (bits + 7) / 8;
}

/// Width of an element in the rows, of letter D, E, J, I, A or L; 0 for other letters, which are neither converted nor
/// stepped over, deliberately: the AIPS tables that this library reads have none of them.
int ElementBytes(char type);

/// Width of a whole field; an "X" field of bits has one, too.
int FieldBytes(AXTblFormat format);

/// Turn every number of `rowCount` rows from the byte order of FITS into the machine's, or back. A field of bits is
/// reversed as a whole.
///
/// One running offset goes over all rows, deliberately not reset at each row: the widths of the fields add up to that
/// of a row.
/// @param bytes  of the rows; fields that reach beyond stay as they are
void SwapTableRows(char* rows, int64 bytes, int rowCount, std::vector<AXTblFormat> fields);

}  // namespace zeltra

#endif  // ZELTRA_FITS_TABLEROWSINTERNAL_H_
