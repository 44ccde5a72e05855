// Imports a UV FITS file into a Measurement Set with casacore. Arguments: the file, then the set to make.
// SPDX-License-Identifier: MIT
#include <casacore/msfits/MSFits/MSFitsInput.h>

int main(int, char** names) {
  casacore::MSFitsInput(names[2], names[1]).readFitsFile();
}
