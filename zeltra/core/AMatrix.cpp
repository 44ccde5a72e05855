// SPDX-License-Identifier: MIT
#include "zeltra/core/AMatrix.h"

namespace zeltra {

template class AMatrix<float>;
template class AMatrix<double>;
template class AMatrix<short>;
template class AMatrix<std::complex<float>>;
template class AMatrix<std::complex<double>>;

}  // namespace zeltra
