// The sums over visibilities whose transforms are images, part by part.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_IMAGING_IMAGEPARTSINTERNAL_H_
#define ZELTRA_IMAGING_IMAGEPARTSINTERNAL_H_

#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "zeltra/calibration/ComponentModel.h"
#include "zeltra/image/BeamShape.h"
#include "zeltra/image/UVGridInternal.h"
#include "zeltra/imaging/GriddingWeights.h"
#include "zeltra/imaging/ImageUVX.h"
#include "zeltra/ops/SelectedVisibilities.h"

namespace zeltra {

/// What is to be added up over all visibilities of an image.
struct ImageTask {
  enum Kind : std::int32_t {
    Baselines,  ///< only ImageCounts::longest
    Density,    ///< weights, square by square
    Sky,        ///< the visibilities less those of the model, the beam, and all counts
    Model,      ///< minus the visibilities of the model, without the beam
    WideBeam    ///< the beam of an image twice as wide
  };

  Kind kind = Baselines;
  double cell = 0;  ///< size of a pixel, radians
  ComponentModel model;
};

struct ImageCounts {
  BeamSums beam;
  int64 visibilities = 0;  ///< that lie on the grid
  int64 beyond = 0;        ///< that do not
  double chi2 = 0;         ///< sum of w |value|^2
  double longest = -1;     ///< distance from the origin of the u, v plane, wavelengths; -1 without visibilities
  double farthest = 0;     ///< along u or v, including those beyond
  double largestW = 0;     ///< wavelengths
  double lowest = HUGE_VAL, highest = 0;  ///< edges of the channels, Hz

  /// @param weight  the one that it is gridded with
  void Add(const SelectedVisibility& visibility, double weight);
  void Add(const ImageCounts& other);
};

struct ImageSums {
  ImageCounts counts;
  GriddingWeights density;
  UVGrid grid;

  /// @return 0 if there is no memory
  int Create(const ImageTask& task, const ImageOptions& options);
  /// Make all sums 0.
  void Clear();
  void Add(const ImageSums& other);
  /// Bytes that Create takes.
  static int64 Bytes(const ImageTask& task, const ImageOptions& options);
  /// Write the sums. @return non-zero once all is written
  int Store(AFile& f) const;
  /// Read sums of the same task. @return 0 if there are none
  int Load(AFile& f);
};

/// Runs tasks over the visibilities of a source.
///
/// Records are divided into parts by their size and that of the sums. The sums over parts are added in pairs, the
/// results again in pairs and so on, whether one thread, several threads or other processes make them, so that results
/// are the same, bit by bit.
///
/// Order of calls:
///   Open     once
///   Weigh    once there is a cell, before any task after Baselines
///   Run      one task after another
class ImageParts {
 public:
  /// @param options  the size, the selection and the weighting must be valid
  ImageParts(AUVXInput& from, const ImageOptions& options) : from_(from), options_(options), data_(from) {}

  AResult Open() { return data_.Select(options_.selection, SelectedVisibilities::TotalIntensity); }
  SelectedVisibilities& data() { return data_; }
  /// How many parts a task has.
  int Count(const ImageTask& task) const { return static_cast<int>(Parts(task).size()); }
  /// The least memory for the sums of a task, bytes.
  int64 Bytes(const ImageTask& task) const;
  /// Tell how much memory the job takes besides the sums: threads take no more than what is left.
  void SetHeld(int64 bytes) { held_ = bytes; }
  AResult Weigh(double cell);
  GriddingWeights& weights() { return weights_; }

  /// @param step   name shown by the progress control
  /// @param quiet  whether none is shown
  AResult Run(const ImageTask& task, const char* step, ImageSums& sums, bool quiet = false);
  /// Do one part, from 0.
  AResult RunPart(const ImageTask& task, int part, const JobOptions& options, ImageSums& sums);

 private:
  class Worker;
  struct Shared;

  std::vector<RecordStretch> Parts(const ImageTask& task) const;
  int MostThreads(const ImageTask& task, int parts) const;
  AResult RunStretch(const ImageTask& task, RecordStretch part, const JobOptions& options, ImageSums& sums);
  AResult RunHere(const ImageTask& task, const std::vector<RecordStretch>& parts, const JobOptions& options,
                  ImageSums& sums);
  AResult RunElsewhere(const ImageTask& task, int parts, ImageSums& sums);
  AResult Gather(const ImageTask& task, const std::string& name, int parts, ImageSums& sums);
  AResult NoMemory() const;

  AUVXInput& from_;
  const ImageOptions options_;
  SelectedVisibilities data_;
  GriddingWeights weights_;
  int64 held_ = 0;
  int tasks_ = 0;  // run elsewhere
};

/// "an image of 512 x 512 pixels".
std::string ImageSizeText(const ImageOptions& options);
/// The most memory that an image may take, bytes; 0: unknown.
double MostMemory(const ImageOptions& options);

}  // namespace zeltra

#endif  // ZELTRA_IMAGING_IMAGEPARTSINTERNAL_H_
