// Model visibilities for the records of a file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_VISIBILITYMODEL_H_
#define ZELTRA_CALIBRATION_VISIBILITYMODEL_H_

#include <complex>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "zeltra/calibration/ComponentModel.h"
#include "zeltra/calibration/ModelPrediction.h"
#include "zeltra/core/AResult.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/PolarisationChoice.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {

/// @return a failure if a polarisation is neither I, PI nor a parallel hand: components of another polarisation would
///         enter the hands in another way
ZELTRA_API AResult CheckModelled(const std::string& path, const std::vector<PolarisationChoice>& polarisations);

/// The model of a file's visibilities: components of Stokes I, which look the same in both parallel hands, or the
/// visibilities of another file with the same records.
class ZELTRA_API VisibilityModel {
 public:
  /// @param data  the file being modelled, which must outlive the object
  explicit VisibilityModel(AUVXInput& data) : data_(data) {}
  VisibilityModel(const VisibilityModel&) = delete;
  VisibilityModel& operator=(const VisibilityModel&) = delete;

  /// @param name  a UVX or UV FITS file, or what ComponentModel::Open accepts
  AResult Open(const std::string& name, const JobOptions& options = {});
  /// Take components.
  AResult Use(const ComponentModel& components);
  /// Whether the model is another file.
  bool isFile() const { return file_ != nullptr; }
  const ComponentModel& components() const { return components_; }
  /// @return a failure if another file could not be read, or if its records differ
  AResult Check() const;

  /// Gives the model record by record, one for each thread.
  class ZELTRA_API Reader {
   public:
    explicit Reader(VisibilityModel& model);
    ~Reader();

    /// Read the model of a record.
    /// @return false if the other file does not have that record; VisibilityModel::Check then says why
    bool Take(const AUVXGroup& group, int record);
    /// The visibility at a frequency point (IF x channels + channel) of a stored polarisation.
    /// @return false if there is none because the other file has it flagged
    bool At(int point, int stokes, std::complex<double>& value) const;

   private:
    struct Buffer;
    bool TakeRead(const AUVXGroup& group, int record);
    void Predict(const AUVXGroup& group);

    VisibilityModel& model_;
    std::unique_ptr<Buffer> buffer_;
  };

 private:
  AResult OpenFile(const std::string& name, const JobOptions& options);
  AResult CompareFrequencies();
  AResult OpenFrequencies();

  AUVXInput& data_;
  ComponentModel components_;
  std::unique_ptr<ModelPrediction> prediction_;
  std::map<int, std::vector<double>> frequencies_;  // frequencies of each setup, Hz, [point]
  std::unique_ptr<AUVXInput> file_;
  struct Mismatch;
  std::shared_ptr<Mismatch> mismatch_;
};

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_VISIBILITYMODEL_H_
