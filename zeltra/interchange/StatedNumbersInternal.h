// Numbers that the cards of a UV FITS file state, read strictly.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_STATEDNUMBERSINTERNAL_H_
#define ZELTRA_INTERCHANGE_STATEDNUMBERSINTERNAL_H_

#include <string>

#include "zeltra/fits/AFITSbase.h"

namespace zeltra {

// The handlers of a header read text as 0, read "1,5" as 1, and clamp large counts to the range of an int. Each
// function returns the sentence that refuses the first such card, or an empty one. A blank value states nothing.

/// The cards BITPIX, NAXIS, NAXISn, PCOUNT, GCOUNT and TFIELDS.
std::string UnreadableCount(const AFITSbase& header);

/// The cards BSCALE, BZERO, PSCALn, PZEROn, BLANK and those of the axes FREQ and STOKES; scales of 0 are refused too.
/// Sets the scales of `header`: blank ones to 1, blank zeros to 0.
std::string SettleScales(AFITSmain& header);

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_STATEDNUMBERSINTERNAL_H_
