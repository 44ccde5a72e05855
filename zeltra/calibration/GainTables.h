// Gains in tables "SN" and "CL", as AIPS keeps them.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_GAINTABLES_H_
#define ZELTRA_CALIBRATION_GAINTABLES_H_

#include <string>
#include <vector>

#include "zeltra/calibration/AGainFileHdr.h"
#include "zeltra/core/AResult.h"
#include "zeltra/uvx/AUVXTable.h"

namespace zeltra {

/// Add the gains of a table "SN" or "CL" to the list of `gains`, whose description of the observation must be filled in
/// already: see DescribeGains.
///
/// Such a table holds s = 1 / conj(g), since AIPS turns a visibility V into V conj(s_p) s_q: the phase is that of the
/// gain, the modulus that of the correction. REAL and IMAG are divided by MGMOD. A value that is not finite, or whose
/// WEIGHT is not positive, is no solution. Columns are found by name.
/// @param remarks  gets what the user should know added to it
/// @return a failure that names what is missing, or a column that is not 0 and cannot be applied: a table is refused if
///         its gains could be applied only in part
ZELTRA_API AResult GainsOfTable(const AUVXTable& table, AGains& gains, std::vector<std::string>& remarks);

/// Make a table of gains. Rows are ordered by time, then antenna; if an IF or a hand has no gain in an interval, its
/// values are NaN with weight 0.
/// @param code  "SN", or "CL", in which the columns of the correlator model are 0
/// @return a failure if the table would be too large, or if the date of the observation is unknown
ZELTRA_API AResult TableOfGains(const AGains& gains, const std::string& code, AUVXTable& table);

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_GAINTABLES_H_
