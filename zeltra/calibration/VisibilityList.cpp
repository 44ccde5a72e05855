// SPDX-License-Identifier: MIT
#include "zeltra/calibration/VisibilityList.h"

#include <algorithm>
#include <new>

#include "zeltra/calibration/ModelPrediction.h"
#include "zeltra/core/PartRunnerInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/platform/System.h"

namespace zeltra {
namespace {

// Visibilities in a part of the work: even with one component, the work on a part takes longer than handing it out.
constexpr size_t kPart = 4096;

// Subtracts a model from the visibilities of one part after another.
class Subtractor : public PartWorker {
 public:
  Subtractor(const ModelPrediction& model, VisibilityList& list) : model_(model), list_(list), values_(kPart) {}

  AResult Run(int part, PartOutput& output) override {
    const size_t first = static_cast<size_t>(part) * kPart, count = std::min(kPart, list_.size() - first);
    model_.Predict(&list_.u[first], &list_.v[first], &list_.frequency[first], static_cast<int>(count), values_.data());
    for (size_t i = 0; i < count; ++i) list_.value[first + i] -= values_[i];
    output.Count(static_cast<int64>(count));
    return AResult::Ok();
  }

 private:
  const ModelPrediction& model_;
  VisibilityList& list_;
  std::vector<std::complex<double>> values_;
};

}  // namespace

void VisibilityList::Add(const SelectedVisibility& visibility) {
  u.push_back(visibility.u);
  v.push_back(visibility.v);
  frequency.push_back(visibility.frequency);
  value.emplace_back(visibility.value.re, visibility.value.im);
  weight.push_back(visibility.value.weight);
}

AResult VisibilityList::Read(SelectedVisibilities& data, const JobOptions& options, double memory) {
  const double most = memory > 0 ? memory : static_cast<double>(FreeMemory()) / 2;
  *this = {};
  bool isTooMuch = false;
  AResult result = AResult::Ok();
  try {
    result = data.ForEach(options, "Reading visibilities...", [&](const SelectedVisibility& visibility) {
      // A vector that grows holds its old elements as well until they are copied.
      isTooMuch |= most > 0 && static_cast<double>(size()) * 3 * kBytes >= most;
      if (!isTooMuch) Add(visibility);
    });
  } catch (const std::bad_alloc&) {
    isTooMuch = true;
  }
  if (!result) return result;
  if (isTooMuch) {
    *this = {};
    return AResult::Fail(
        data.path() +
        ": its visibilities do not fit into the memory that may be used; zeltra average or a selection "
        "makes fewer");
  }
  return size() > 0 ? AResult::Ok() : data.NothingValid(options);
}

AResult VisibilityList::Subtract(const ComponentModel& model, const JobOptions& options) {
  if (model.components().empty() || size() == 0) return AResult::Ok();
  const ModelPrediction prediction(model);
  PartJob job;
  job.name = "the model";
  job.parts = static_cast<int>((size() + kPart - 1) / kPart);
  job.work = static_cast<int64>(size());
  job.worker = [&] { return std::make_unique<Subtractor>(prediction, *this); };
  job.take = [](const std::vector<char>&) { return AResult::Ok(); };
  return RunParts(job, options);
}

double VisibilityList::Chi2() const {
  double sum = 0;
  for (size_t i = 0; i < size(); ++i) sum += weight[i] * std::norm(value[i]);
  return sum;
}

}  // namespace zeltra
