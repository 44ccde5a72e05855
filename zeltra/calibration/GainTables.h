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

/// Take the gains of a table "SN" or "CL" into the list of `gains`, which describe their observation: see
/// DescribeGains.
///
/// What such a table holds is s = 1 / conj(g), since V conj(s_p) s_q is what AIPS makes of a visibility V: the phase of
/// the gain and the modulus of the correction. REAL and IMAG are divided by MGMOD. A value that is not finite or has no
/// positive WEIGHT is none. Columns are found by name.
/// @param remarks  grow by what a person should know
/// @return a failure that names what is missing, and a column that is not 0 and cannot be applied: a table whose gains
///         are right for a part alone is refused
ZELTRA_API AResult GainsOfTable(const AUVXTable& table, AGains& gains, std::vector<std::string>& remarks);

/// Make a table of gains. Rows go by time, then antenna; an interval that the gain of an IF or a hand lacks is NaN with
/// weight 0.
/// @param code  "SN", or "CL" with the columns of the correlator's model at 0
/// @return a failure if the table would be too large, or if the date of the observation is not known
ZELTRA_API AResult TableOfGains(const AGains& gains, const std::string& code, AUVXTable& table);

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_GAINTABLES_H_
