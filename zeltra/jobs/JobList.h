// All jobs, by name.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_JOBS_JOBLIST_H_
#define ZELTRA_JOBS_JOBLIST_H_

#include <span>
#include <string_view>

#include "zeltra/jobs/JobHost.h"

namespace zeltra {

/// Every job, in the order in which they are listed for people.
ZELTRA_API std::span<const AJob> Jobs();

/// @return null if there is no such job
ZELTRA_API const AJob* FindJob(std::string_view name);

}  // namespace zeltra

#endif  // ZELTRA_JOBS_JOBLIST_H_
