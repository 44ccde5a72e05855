// The arguments of a job as texts.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_JOBS_JOBARGUMENTS_H_
#define ZELTRA_JOBS_JOBARGUMENTS_H_

#include <string>
#include <vector>

#include "zeltra/jobs/JobHost.h"

namespace zeltra {

/// Arguments as a host gives them.
struct AJobTexts {
  std::vector<std::string> inputs;   ///< in the order of the description
  std::vector<std::string> outputs;  ///< those that are given by position, in that order
  std::vector<std::string> options;  ///< "NAME=VALUE", or "NAME" for a flag; also outputs that are named by an option
};

/// Read arguments by a description, as the command line does.
/// @param options  of the description's own type
/// @return AResult::Misused, with a sentence that names the argument which is wrong or missing
ZELTRA_API AResult ReadArguments(const AJobDescription& description, const AJobTexts& texts, AJobFiles& files,
                                 JobOptions& options);

}  // namespace zeltra

#endif  // ZELTRA_JOBS_JOBARGUMENTS_H_
