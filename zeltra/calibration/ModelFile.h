// Files whose visibilities are those of a model, or what a model leaves of others.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_MODELFILE_H_
#define ZELTRA_CALIBRATION_MODELFILE_H_

#include <string>

#include "zeltra/calibration/VisibilityModel.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {

/// What becomes of a visibility.
enum class ModelUse {
  Subtract,  ///< V - M
  Replace,   ///< M
};

/// Write the records and tables of a file with the visibilities of a model in them: in the parallel hands and in Stokes
/// I. All other polarisations stay as they are, or become 0 where they are replaced. Weights and flags stay, but values
/// that the model does not have are flagged.
/// @param model    opened for `from`
/// @param source   the number of the source whose records change; -1: all
/// @param command  see AJobDescription::Command
/// @param to       created; the caller finishes it
ZELTRA_API AResult WriteModelFile(AUVXInput& from, VisibilityModel& model, ModelUse use, int source,
                                  const std::string& command, const JobOptions& options, AUVXWriter& to);

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_MODELFILE_H_
