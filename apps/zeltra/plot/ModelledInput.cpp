// SPDX-License-Identifier: MIT
#include "apps/zeltra/plot/ModelledInput.h"

#include <memory>

#include "zeltra/calibration/VisibilityModel.h"
#include "zeltra/platform/System.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra::app {

ModelledInput::~ModelledInput() {
  if (temporary_.empty()) return;
  input_.file().Close();
  RemoveFile(temporary_);
}

AResult ModelledInput::Open(AUVXInput& from, const std::string& model, ModelUse use, const JobOptions& options) {
  temporary_ = TemporaryNameFor(TemporaryFolder() + "/zeltra.uvx");
  if (AResult result = Write(from, model, use, options); !result) return result;
  auto file = std::make_unique<AInputFile>();
  AResult result = file->Open(temporary_, from.path());
  // Where open files can be removed, nothing is left behind whatever happens.
  if (RemoveFile(temporary_)) temporary_.clear();
  return result ? input_.Open(std::move(file), options) : result;
}

AResult ModelledInput::Write(AUVXInput& from, const std::string& model, ModelUse use, const JobOptions& options) const {
  JobOptions unsynced = options;
  unsynced.sync = false;
  VisibilityModel visibilities(from);
  if (AResult result = visibilities.Open(model, options); !result) return result;
  AUVXWriter writer;
  if (AResult result = writer.Create(temporary_, AUVXHeader(from.uvx()), unsynced, from.path()); !result) return result;
  AResult result = WriteModelFile(from, visibilities, use, -1, "", options, writer);
  return result ? writer.Finish() : result;
}

}  // namespace zeltra::app
