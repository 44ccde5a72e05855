// The visibilities of a source in memory.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CALIBRATION_VISIBILITYLIST_H_
#define ZELTRA_CALIBRATION_VISIBILITYLIST_H_

#include <complex>
#include <string>
#include <vector>

#include "zeltra/calibration/ComponentModel.h"
#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/SelectedVisibilities.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

/// Visibilities of one polarisation, column by column, for jobs that go over them again and again, as fits do. They
/// take kBytes each.
struct ZELTRA_API VisibilityList {
  static constexpr int64 kBytes = 3 * sizeof(double) + sizeof(std::complex<double>) + sizeof(double);

  /// Wavelengths at `frequency`, position of antenna 1 minus position of antenna 2.
  std::vector<double> u, v;
  std::vector<double> frequency;            ///< Hz, of the middle of the channel
  std::vector<std::complex<double>> value;  ///< Jy, or whatever the unit of the file is
  std::vector<double> weight;               ///< 1 / sigma^2 of the real and of the imaginary part

  size_t size() const { return u.size(); }
  void Add(const SelectedVisibility& visibility);

  /// Read all that is selected, in file order.
  /// @param data    selected already, with one polarisation
  /// @param memory  the most memory to use, bytes; 0: half of what is free
  /// @return a failure also if there is nothing, or too much for the memory
  AResult Read(SelectedVisibilities& data, const JobOptions& options, double memory = 0);

  /// Subtract the visibilities of a model. The bits are the same for any number of threads.
  /// @return a failure if the job was cancelled
  AResult Subtract(const ComponentModel& model, const JobOptions& options);

  /// The sum of weight |value|^2 over all of them.
  double Chi2() const;
};

}  // namespace zeltra

#endif  // ZELTRA_CALIBRATION_VISIBILITYLIST_H_
