// SPDX-License-Identifier: MIT
#include "zeltra/calibration/ModelFile.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/CopiedTablesInternal.h"
#include "zeltra/ops/KeptScansInternal.h"
#include "zeltra/ops/RecordWalk.h"

namespace zeltra {
namespace {

bool IsModelled(int code) {
  return code == 1 || code == -1 || code == -2 || code == -5 || code == -6;
}

class ModelWriter {
 public:
  ModelWriter(AUVXInput& from, VisibilityModel& model, ModelUse use, int source, AUVXWriter& to)
      : model_(model),
        use_(use),
        source_(source),
        to_(to),
        kept_(from, to, 0),
        integrations_(from.contents().integrations()) {
    const AUVXStokes& stokes = from.contents().header().stokes;
    for (int i = 0; i < stokes.count(); ++i) isModelled_.push_back(IsModelled(stokes(i)));
    points_ = std::max<int>(from.uvx().IFs(), 1) * from.uvx().channels();
    values_.resize(static_cast<size_t>(points_) * isModelled_.size());
  }

  AResult Write(const WalkedRecord& record);

 private:
  void Change(AUVXComplex& value, int point, int stokes) const;

  VisibilityModel& model_;
  VisibilityModel::Reader reader_{model_};
  const ModelUse use_;
  const int source_;
  AUVXWriter& to_;
  KeptScans kept_;
  AUVXIntegrationCursor integrations_;
  std::vector<bool> isModelled_;  // of each polarisation
  int points_;
  std::vector<AUVXComplex> values_;
};

AResult ModelWriter::Write(const WalkedRecord& record) {
  std::copy_n(record.values, values_.size(), values_.begin());
  if (source_ < 0 || record.group.sourceNo() == source_) {
    if (!reader_.Take(record.group, record.index)) return model_.Check();
    AUVXComplex* value = values_.data();
    for (int point = 0; point < points_; ++point) {
      for (size_t s = 0; s < isModelled_.size(); ++s) Change(*value++, point, static_cast<int>(s));
    }
  }
  to_.SetIntegration(integrations_.Stored(record.index));
  kept_.Enter(record.index);
  return to_.Append(record.group, values_.data());
}

void ModelWriter::Change(AUVXComplex& value, int point, int stokes) const {
  std::complex<double> model;
  const bool isModelled = isModelled_[static_cast<size_t>(stokes)];
  if (isModelled && !reader_.At(point, stokes, model) && value.weight > 0) value.weight = -value.weight;
  if (use_ == ModelUse::Subtract) model = std::complex<double>(value.re, value.im) - model;
  value.re = static_cast<float>(model.real());
  value.im = static_cast<float>(model.imag());
}

}  // namespace

AResult WriteModelFile(AUVXInput& from, VisibilityModel& model, ModelUse use, int source, const std::string& command,
                       const JobOptions& options, AUVXWriter& to) {
  if (AResult result = from.CheckTables(); !result) return result;
  if (AResult result = from.CheckRecordSize(); !result) return result;
  SendProgressText(options.progress, "Writing visibilities...");
  ModelWriter writer(from, model, use, source, to);
  AResult written = AResult::Ok();
  AResult result = WalkRecords(from, options, 0, from.uvx().count(), [&](const WalkedRecord& record) {
    written = writer.Write(record);
    return static_cast<bool>(written);
  });
  if (AResult check = model.Check(); !check) return check;
  if (!written) return written;
  return result ? CopyTables(from, to, command) : result;
}

}  // namespace zeltra
