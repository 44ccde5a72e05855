// SPDX-License-Identifier: MIT
#include "zeltra/calibration/FitUVX.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "zeltra/calibration/ModelFile.h"
#include "zeltra/calibration/VisibilityList.h"
#include "zeltra/calibration/VisibilityModel.h"
#include "zeltra/core/OutputFilesInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/uvx/AUVXWriter.h"

namespace zeltra {
namespace {

constexpr int kErrorDigits = 3;

std::string ErrorText(const std::string& name, double error, const std::string& unit) {
  if (error == 0) return {};
  return ", " + name + " " + (std::isfinite(error) ? RoundedNumber(error, kErrorDigits) + unit : "not determined");
}

class Fitter {
 public:
  Fitter(AUVXInput& from, const FitOptions& options, ComponentFit& fit)
      : from_(from), options_(options), fit_(fit), data_(from) {}

  AResult Run(const std::string& to, const std::string& residual);

 private:
  AResult FitSource(bool isSubtracted);
  AResult WriteResidual(AUVXWriter& writer);

  AUVXInput& from_;
  const FitOptions& options_;
  ComponentFit& fit_;
  SelectedVisibilities data_;
};

AResult Fitter::Run(const std::string& to, const std::string& residual) {
  if (options_.selection.stokes.size() > 1) {
    return AResult::Fail(from_.path() + ": components are fitted to a single polarisation");
  }
  if (!residual.empty() && IsOneName(to, residual)) return AResult::Fail(residual + ": named twice");
  OutputFiles outputs(from_.path(), options_);
  OutputFile* text = nullptr;
  AUVXWriter writer;
  if (AResult result = outputs.Create(to, text); !result) return result;
  if (!residual.empty()) {
    if (AResult result = writer.Create(residual, AUVXHeader(from_.uvx()), options_, from_.path()); !result)
      return result;
  }
  if (AResult result = FitSource(!residual.empty()); !result) return result;
  const std::string lines = ModelText(fit_);
  if (!WriteWhole(text->file(), lines.data(), static_cast<int64>(lines.size()))) return text->WriteError();
  if (!residual.empty()) {
    if (AResult result = WriteResidual(writer); !result) return result;
    if (AResult result = writer.Finish(outputs); !result) return result;
  }
  if (AResult result = from_.Check(); !result) return result;
  return outputs.Commit();
}

// @param isSubtracted  whether the components will also be subtracted from the file
AResult Fitter::FitSource(bool isSubtracted) {
  if (AResult result = data_.Select(options_.selection, SelectedVisibilities::TotalIntensity); !result) return result;
  if (AResult result = CheckModelled(from_.path(), data_.polarisations()); isSubtracted && !result) return result;
  ComponentModel start;
  if (AResult result = OpenStart(options_, start); !result) return result;
  VisibilityList list;
  if (AResult result = list.Read(data_, options_); !result) return result;
  AResult result = FitComponents(list, start, options_, fit_);
  return result.code() == AResult::Failed ? AResult::Fail(from_.path() + ": " + result.message()) : result;
}

// Options that select the same of any source, and nothing else.
FitOptions SelectionOf(const FitOptions& options) {
  FitOptions selected;
  selected.selection = options.selection;
  selected.selection.sources.clear();
  return selected;
}

AResult Fitter::WriteResidual(AUVXWriter& writer) {
  VisibilityModel model(from_);
  if (AResult result = model.Use(fit_.model); !result) return result;
  const int source = data_.source().id;
  if (from_.contents().SourceNumbers().size() > 1) {
    fit_.remarks.push_back("the residuals of source " + from_.contents().SourceList({source}) +
                           " stand beside the unchanged records of the other sources");
  }
  if (FitDescription().Command(SelectionOf(options_)) != FitDescription().Command(FitOptions())) {
    fit_.remarks.push_back(
        "the components are subtracted from all records of the source, also those that are not "
        "selected");
  }
  return WriteModelFile(from_, model, ModelUse::Subtract, source, FitDescription().Command(options_), options_, writer);
}

}  // namespace

AResult OpenStart(const FitOptions& options, ComponentModel& model) {
  if (AResult result = model.Open(options.model); !result) return result;
  int count = 0;
  for (ModelComponent& c : model.components()) {
    if (options.free) c.free = *options.free;
    count += std::popcount(FreeNumbers(c));
    if (count <= kMostFreeNumbers) continue;
    return AResult::Fail(options.model + ": more than " + std::to_string(kMostFreeNumbers) +
                         " numbers are free to be fitted, which is more than a fit takes");
  }
  if (count > 0) return AResult::Ok();
  return AResult::Fail(options.model +
                       ": no number is free to be fitted: a v after it marks one in the file, and --free frees numbers "
                       "of all components");
}

std::string ModelText(const ComponentFit& fit) {
  std::string text = fit.model.Text();
  for (size_t i = 0; i < fit.errors.size(); ++i) {
    const ComponentErrors& e = fit.errors[i];
    const std::string errors =
        ErrorText("flux", e.flux, " Jy") + ErrorText("x", e.x / kRadiansPerMas, " mas") +
        ErrorText("y", e.y / kRadiansPerMas, " mas") + ErrorText("major axis", e.major / kRadiansPerMas, " mas") +
        ErrorText("ratio", e.ratio, "") + ErrorText("angle", e.angle * kDegreesPerRadian, " deg");
    if (!errors.empty()) text += "! Errors of component " + std::to_string(i + 1) + ": " + errors.substr(2) + "\n";
  }
  return text;
}

AResult FitUVX(AUVXInput& from, const std::string& to, const std::string& residual, const FitOptions& options,
               ComponentFit& fit) {
  return from.Settle(Fitter(from, options, fit).Run(to, residual));
}

}  // namespace zeltra
