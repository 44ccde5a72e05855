// The file of visibilities that a command reads.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_UVXINPUT_H_
#define ZELTRA_APPS_UVXINPUT_H_

#include <string>

#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra::app {

class Session;

/// UVX, or UV FITS, which is imported first.
class UVXInput : public AUVXInput {
 public:
  /// Open the file, showing the progress in the session and a note for each remark of the import.
  AResult Open(const std::string& path, Session& session);
  /// The same, with a note for each number in a selection that is also a name.
  AResult Open(const std::string& path, const UVXSelection& selection, Session& session);
};

/// Report that a file of visibilities has been made, with records, sources, tables and bytes.
/// @param made  the UVX file, or the one that it was made from
/// @param what  how the records were treated, as in ", sorted by time"; may be empty
/// @param of    the total that the records are part of, as in " of 12"; may be empty
void ReportVisibilities(Session& session, const std::string& path, AUVXInput& made, const std::string& what = {},
                        const std::string& of = {});
/// The same for a UVX file at `path`.
void ReportUVX(Session& session, const std::string& path, const std::string& what = {}, const std::string& of = {});

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_UVXINPUT_H_
