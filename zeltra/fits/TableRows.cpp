// SPDX-License-Identifier: MIT
#include <algorithm>

#include "zeltra/fits/FITSBytesInternal.h"
#include "zeltra/fits/TableRowsInternal.h"

namespace zeltra {
namespace {

void SwapField(AXTblFormat format, char* field) {
  const auto count = static_cast<size_t>(format.count);
  switch (format.type) {
    case 'D':
      return Swap64(field, field, count);
    case 'E':
    case 'J':
      return Swap32(field, field, count);
    case 'I':
      return Swap16(field, field, count);
    case 'X':
      return std::reverse(field, field + BitBytes(format.count));
    default:
      return;
  }
}

}  // namespace

int ElementBytes(char type) {
  switch (type) {
    case 'D':
      return 8;
    case 'E':
    case 'J':
      return 4;
    case 'I':
      return 2;
    case 'A':
    case 'L':
      return 1;
    default:
      return 0;
  }
}

int FieldBytes(AXTblFormat format) {
  if (format.count < 1) return 0;
  return format.type == 'X' ? BitBytes(format.count) : format.count * ElementBytes(format.type);
}

void SwapTableRows(char* rows, int64 bytes, int rowCount, std::vector<AXTblFormat> fields) {
  const auto isEmpty = [](AXTblFormat format) { return FieldBytes(format) == 0; };
  fields.erase(std::remove_if(fields.begin(), fields.end(), isEmpty), fields.end());
  if (fields.empty()) return;
  int64 left = bytes;
  for (int row = 0; row < rowCount; ++row) {
    for (const AXTblFormat format : fields) {
      const int width = FieldBytes(format);
      if (width > left) return;
      SwapField(format, rows);
      rows += width;
      left -= width;
    }
  }
}

}  // namespace zeltra
