// The file of visibilities that a command reads.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_UVXINPUT_H_
#define ZELTRA_APPS_UVXINPUT_H_

#include <string>

#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/UVXSelection.h"

namespace zeltra::app {

class Session;

/// UVX, or UV FITS that is imported first.
class UVXInput : public AUVXInput {
 public:
  /// Open the file, with the progress of the session and a note of each thing that the import remarks.
  AResult Open(const std::string& path, Session& session);
  /// The same with a note of each number of a selection that is a name too.
  AResult Open(const std::string& path, const UVXSelection& selection, Session& session);
};

/// Tell that a file of visibilities is made, with records, sources, tables and bytes.
/// @param made  the UVX file, or that which it is made from
/// @param what  how the records were treated, as in ", sorted by time"; may be empty
/// @param of    what the records are a part of, as in " of 12"; may be empty
void ReportVisibilities(Session& session, const std::string& path, AUVXInput& made, const std::string& what = {},
                        const std::string& of = {});
/// The same of a UVX file that has its name.
void ReportUVX(Session& session, const std::string& path, const std::string& what = {}, const std::string& of = {});

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_UVXINPUT_H_
