// Imports a UV FITS file into a measurement set by casacore: the file, then the set to make.
// SPDX-License-Identifier: MIT
#include <casacore/msfits/MSFits/MSFitsInput.h>

int main(int, char** names) {
  casacore::MSFitsInput(names[2], names[1]).readFitsFile();
}
