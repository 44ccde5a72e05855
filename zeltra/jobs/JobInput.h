// What the runners of jobs share: opening inputs, reporting outputs, columns of tables.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_JOBS_JOBINPUT_H_
#define ZELTRA_JOBS_JOBINPUT_H_

#include <string>
#include <vector>

#include "zeltra/jobs/JobHost.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/PolarisationChoice.h"
#include "zeltra/ops/UVXSelection.h"
#include "zeltra/uvx/AUVXComplex.h"

namespace zeltra {

/// Open the file of visibilities that a job reads, with a note for each remark of its import.
/// @param options  progress and cancel flag of the import
ZELTRA_API AResult OpenInput(AUVXInput& input, const std::string& path, const JobOptions& options, AJobHost& host);
/// The same, with a note for each number in a selection that is also a name.
ZELTRA_API AResult OpenInput(AUVXInput& input, const std::string& path, const UVXSelection& selection,
                             const JobOptions& options, AJobHost& host);

ZELTRA_API void NoteAll(const std::vector<std::string>& remarks, AJobHost& host);

/// Note which sources a table mixes, if it has several and none was chosen.
void NoteSources(AUVXInput& input, const UVXSelection& chosen, AJobHost& host);

/// Report that a file of visibilities has been made, with records, sources, tables and bytes.
/// @param made  the UVX file, or the one that it was made from
/// @param what  how the records were treated, as in ", sorted by time"; may be empty
/// @param of    the total that the records are part of, as in " of 12"; may be empty
ZELTRA_API void ReportVisibilities(AJobHost& host, const std::string& path, AUVXInput& made,
                                   const std::string& what = {}, const std::string& of = {});
/// The same for a UVX file at `path`.
ZELTRA_API void ReportUVX(AJobHost& host, const std::string& path, const std::string& what = {},
                          const std::string& of = {});

/// Finish a table about an output that already has its name. A program that reads no more of the table does not undo
/// that output, so the job is done.
AResult FinishSummary(ATableSink& table);

/// Append the columns of the first `shown` values: re_1_1_RR, im_1_1_RR, weight_1_1_RR and so on, IFs and channels from
/// 1. Values have the unit of the input.
void AppendValueColumns(AUVXInput& input, const ValuesChoice& values, int shown, std::vector<AJobColumn>& columns);
/// Deliver the cells of a value.
void DeliverValue(ATableSink& table, const AUVXComplex& value);

}  // namespace zeltra

#endif  // ZELTRA_JOBS_JOBINPUT_H_
