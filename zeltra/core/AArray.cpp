// SPDX-License-Identifier: MIT
#include "zeltra/core/AArray.h"

namespace zeltra {

template class AArray<int>;
template class AArray<short>;
template class AArray<float>;
template class AArray<double>;
template class AArray<std::complex<float>>;

}  // namespace zeltra
