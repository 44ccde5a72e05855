// The visibilities of a model as a file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_APPS_PLOT_MODELLEDINPUT_H_
#define ZELTRA_APPS_PLOT_MODELLEDINPUT_H_

#include <string>

#include "zeltra/calibration/ModelFile.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXInput.h"

namespace zeltra::app {

/// A temporary file with the records of another, whose visibilities are those of a model, or what a model leaves of
/// them. Plots then select and average both files in the same way.
class ModelledInput {
 public:
  ModelledInput() = default;
  ModelledInput(const ModelledInput&) = delete;
  ModelledInput& operator=(const ModelledInput&) = delete;
  ~ModelledInput();

  /// @param model  as VisibilityModel::Open accepts it
  AResult Open(AUVXInput& from, const std::string& model, ModelUse use, const JobOptions& options);
  AUVXInput& input() { return input_; }

 private:
  AResult Write(AUVXInput& from, const std::string& model, ModelUse use, const JobOptions& options) const;

  std::string temporary_;  // where the file still has its name
  AUVXInput input_;
};

}  // namespace zeltra::app

#endif  // ZELTRA_APPS_PLOT_MODELLEDINPUT_H_
