// Numbers that the cards of a UV FITS file state, read strictly.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_STATEDNUMBERSINTERNAL_H_
#define ZELTRA_INTERCHANGE_STATEDNUMBERSINTERNAL_H_

#include <string>

#include "zeltra/fits/AFITSbase.h"

namespace zeltra {

// The handlers of a header read text as 0, of "1,5" the 1, and hold large counts at the limit of an int. Each function
// gives the sentence that refuses the first such card, empty if there is none. A blank value states nothing.

/// The cards BITPIX, NAXIS, NAXISn, PCOUNT, GCOUNT and TFIELDS.
std::string UnreadableCount(const AFITSbase& header);

/// The cards BSCALE, BZERO, PSCALn, PZEROn, BLANK and those of the axes FREQ and STOKES; also refuses scales of 0. Sets
/// the scales of `header`, blank ones to 1 and blank zeros to 0.
std::string SettleScales(AFITSmain& header);

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_STATEDNUMBERSINTERNAL_H_
