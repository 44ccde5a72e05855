// The description of a job as JSON.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_C_JOBJSONINTERNAL_H_
#define ZELTRA_C_JOBJSONINTERNAL_H_

#include <string>

#include "zeltra/core/JobDescription.h"

namespace zeltra {

/// As zeltra_job_json promises.
std::string JobAsJSON(const AJobDescription& job);

}  // namespace zeltra

#endif  // ZELTRA_C_JOBJSONINTERNAL_H_
