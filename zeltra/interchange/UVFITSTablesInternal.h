// Tables of a UV FITS file as tables of a UVX file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_UVFITSTABLESINTERNAL_H_
#define ZELTRA_INTERCHANGE_UVFITSTABLESINTERNAL_H_

#include <memory>
#include <string>
#include <vector>

#include "zeltra/fits/AFITS.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// Convert one extension. Bare formats get their repeat count, columns of types or lengths that tables cannot hold are
/// dropped, text ends at its first zero byte, all keywords of the header are kept and stay with their columns, FITS-IDI
/// names become AIPS names.
/// @param remarks  receives a sentence for each thing that is changed or left out
/// @return null for an extension that cannot be a table (an image, an ASCII table, rows that contradict its columns or
/// cannot be read)
std::unique_ptr<AUVXTable> ConvertTable(AFITSxtbl& extension, std::vector<std::string>& remarks);

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_UVFITSTABLESINTERNAL_H_
