/*
 * Only compiled, not run: the header in strict C, and a use of what it declares.
 * SPDX-License-Identifier: MIT
 */
#include "zeltra/c/zeltra_c.h"

int UseOfEveryFunction(const zeltra_callbacks* callbacks);

int UseOfEveryFunction(const zeltra_callbacks* callbacks) {
  const char* const* jobs = zeltra_jobs();
  return zeltra_version() && zeltra_job_json(jobs[0]) ? zeltra_run(jobs[0], jobs, jobs, jobs, callbacks, 0, 0, 0) : 0;
}
