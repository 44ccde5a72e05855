// Rows of the index tables that this library writes.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXPOSITIONINTERNAL_H_
#define ZELTRA_UVX_AUVXPOSITIONINTERNAL_H_

#include <cstdint>

#include "zeltra/core/Units.h"
#include "zeltra/uvx/AUVXPosition.h"

namespace zeltra {

/// A row of the table that AUVXPosition::ToUVXTable makes. There may be millions, so rows are written whole rather than
/// value by value.
struct IndexRow {
  float time, interval;  // days
  int32_t source, subarray, start, end, setup;

  IndexRow() = default;
  explicit IndexRow(const AUVXPositionItem& scan)
      : time(static_cast<float>(scan.start / kSecondsPerDay + scan.duration / (2 * kSecondsPerDay))),
        interval(static_cast<float>(scan.duration / kSecondsPerDay)),
        source(scan.sourceId),
        subarray(scan.subarray),
        start(scan.startVis),
        end(scan.endVis),
        setup(scan.freqId) {}
};
static_assert(sizeof(IndexRow) == 28);

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXPOSITIONINTERNAL_H_
