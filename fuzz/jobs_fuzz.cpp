// Every whole-file job that reads a UVX file, on any bytes.
// SPDX-License-Identifier: MIT
#include <cstdint>

#include "tests/support/TempFile.h"
#include "zeltra/calibration/ApplyGains.h"
#include "zeltra/calibration/ClosureFit.h"
#include "zeltra/calibration/FitUVX.h"
#include "zeltra/imaging/CleanUVX.h"
#include "zeltra/interchange/ExportUVFITS.h"
#include "zeltra/ops/AUVXFluxes.h"
#include "zeltra/ops/AverageFrequency.h"
#include "zeltra/ops/AverageUVX.h"
#include "zeltra/ops/ClosedLoops.h"
#include "zeltra/ops/ClosurePhases.h"
#include "zeltra/ops/CopyUVX.h"
#include "zeltra/ops/DeleteIFs.h"
#include "zeltra/ops/FlagUVX.h"
#include "zeltra/ops/JoinUVX.h"
#include "zeltra/ops/PlanParts.h"
#include "zeltra/ops/RecomputeUVW.h"
#include "zeltra/ops/ShiftUVX.h"
#include "zeltra/ops/SortUVX.h"
#include "zeltra/ops/SqueezeUVX.h"
#include "zeltra/ops/UnfoldUVX.h"

namespace {

using namespace zeltra;

void Combine(AUVXInput& input) {
  AverageOptions average;
  average.interval = 60;
  for (const bool complexMean : {true, false}) {
    average.complexMean = complexMean;
    (void)Average(input, average, [](AUVXGroup&, AUVXVisibility&) { return AResult::Ok(); });
  }
  ClosureOptions closure;
  for (const double interval : {-1.0, 60.0}) {
    closure.interval = interval;
    closure.amplitudes = interval < 0;
    closure.incoherent = closure.each = interval > 0;
    for (const ClosureSet set : {ClosureSet::All, ClosureSet::Independent}) {
      closure.set = set;
      (void)FormClosures(input, closure, [](const AClosure&) { return AResult::Ok(); });
    }
  }
  LoopOptions loops;
  loops.baseline = "1-2";
  std::vector<AChain> chains;
  (void)FindClosedLoops(input, loops, chains);
  (void)AUVXFluxes().Create(input, {}, {});
}

void Rewrite(AUVXInput& input, const std::string& to) {
  CopyOptions copy;
  copy.overwrite = true;
  copy.sync = false;
  (void)CopyUVX(input, to, copy, nullptr);
  copy.selection.channels = {0};
  copy.dropFlagged = true;
  (void)CopyUVX(input, to, copy, nullptr);
  AverageOptions average;
  average.overwrite = true;
  average.sync = false;
  average.interval = 60;
  (void)AverageUVX(input, to, average);
  JobOptions uvw;
  uvw.overwrite = true;
  uvw.sync = false;
  UVWDifference difference;
  (void)RecomputeUVW(input, to, uvw, difference);
  (void)ExportUVFITS(input.path(), to, uvw);
  ApplyOptions apply;
  apply.overwrite = true;
  apply.sync = false;
  for (const char* table : {"SN", "CL"}) {
    apply.gains = table;
    (void)ApplyGains(input, to, apply, nullptr);
  }
}

template <typename Options>
Options Replacing(void (*change)(Options&)) {
  Options options;
  options.overwrite = true;
  options.sync = false;
  change(options);
  return options;
}

void ChangeFrequencies(AUVXInput& input, const std::string& to) {
  (void)DeleteIFs(input, to, Replacing<DeleteIFsOptions>([](auto& o) { o.deleted = {0}; }));
  (void)AverageFrequency(input, to, Replacing<AverageFrequencyOptions>([](auto& o) {
                           o.channels = 2;
                           o.joinIFs = o.dropsRemainder = true;
                         }));
  (void)SaveAndSQ(input, to, Replacing<SqueezeOptions>([](auto& o) { o.IFs = o.channels = true; }));
  (void)UnfoldUVX(input, to, Replacing<UnfoldOptions>([](auto& o) { o.IFs = true; }));
  (void)UnfoldUVX(input, to, Replacing<UnfoldOptions>([](auto& o) { o.channels = true; }));
}

void Change(AUVXInput& input, const std::string& to) {
  FlagOptions flag;
  flag.overwrite = true;
  flag.sync = false;
  flag.trim = 10;
  flag.clip = 1;
  (void)FlagUVX(input, to, flag, nullptr);
  flag.table = "FG";
  (void)FlagUVX(input, to, flag, nullptr);
  ShiftOptions shift;
  shift.overwrite = true;
  shift.sync = false;
  shift.ra = shift.dec = 1e-8;
  shift.sources = {"1"};
  (void)ShiftUVX(input, to, shift, nullptr);
  PlanOptions plan;
  plan.interval = 60;
  std::vector<PlannedPart> parts;
  (void)PlanParts(input, plan, parts);
}

void Reorder(AUVXInput& input, const std::string& to) {
  SortOptions sort;
  sort.overwrite = true;
  sort.sync = false;
  sort.memory = 1 << 20;
  for (const char* order : {"TB", "PX"}) {
    sort.order = order;
    (void)ResortUVXFile(input, to, sort, nullptr);
  }
  JoinOptions join;
  join.overwrite = true;
  join.sync = false;
  (void)JoinUVX({input.path(), input.path()}, to, join, nullptr);
}

void FitPoint(AUVXInput& input, const std::string& model, const std::string& residual) {
  ComponentFit fit;
  (void)FitUVX(input, model, residual, Replacing<FitOptions>([](auto& o) {
                 o.model = "point";
                 o.free = ModelComponent::FreeFlux | ModelComponent::FreeX | ModelComponent::FreeY;
                 o.selection.sources = {"1"};
               }),
               fit);
}

void Picture(AUVXInput& input) {
  CleanOptions options;
  options.size = 16;
  options.iterations = 9;
  options.selection.sources = {"1"};
  options.weighting.scheme = WeightingOptions::Uniform;
  CleanImage image;
  (void)CleanUVX(input, options, image);
  ClosureFit closures;
  IntervalOptions intervals;
  (void)FitClosures(input, intervals, image.components, closures);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const test::TempFile file("uvx"), output("uvx"), model("mod");
  file.Put(std::string(reinterpret_cast<const char*>(data), size));
  AUVXInput input;
  if (!input.Open(file.path())) return 0;
  Combine(input);
  Rewrite(input, output.path());
  Reorder(input, output.path());
  ChangeFrequencies(input, output.path());
  Change(input, output.path());
  FitPoint(input, model.path(), output.path());
  Picture(input);
  return 0;
}
