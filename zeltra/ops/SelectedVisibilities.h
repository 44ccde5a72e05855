// The selected visibilities of one source.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_OPS_SELECTEDVISIBILITIES_H_
#define ZELTRA_OPS_SELECTEDVISIBILITIES_H_

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/ops/PolarisationChoice.h"
#include "zeltra/ops/RecordChoice.h"
#include "zeltra/ops/RecordWalk.h"
#include "zeltra/ops/UVXSelection.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXSources.h"

namespace zeltra {

class AUVXFreqs;

/// A visibility with its place in the u, v plane.
struct SelectedVisibility {
  const AUVXGroup* group;  ///< of the record
  int stokes;              ///< index into SelectedVisibilities::polarisations()
  double frequency;        ///< Hz, of the middle of the channel
  double width;            ///< Hz, of the channel, above 0; 0 if no frequency table gives it
  double u;                ///< wavelengths at that frequency
  double v;
  bool isFlagged;
  AUVXComplex value;
};

/// Reads the valid visibilities of one source: the flag of the record is 0, the weight is above 0, all numbers are
/// finite, and the two antennas differ; flagged ones too if they are selected. Polarisations that are formed have the
/// inverse of the variance as weight.
class ZELTRA_API SelectedVisibilities {
 public:
  using Visitor = std::function<void(const SelectedVisibility&)>;

  /// What is used if no polarisation is named: I if it is stored or can be formed, else the first one stored; or the
  /// stored parallel hands, else all that are stored.
  enum Preference { TotalIntensity, ParallelHands };

  /// @param input  an open file, which must outlive the object
  explicit SelectedVisibilities(AUVXInput& input) : input_(input), contents_(input.contents()) {}

  /// Look up the selection. @return a failure that says what there is instead, or what is wrong with the index
  /// @param leftOut  conditions that the job checks itself, a sum of RecordChoice::LeftOut
  AResult Select(const UVXSelection& selection, Preference preference, unsigned leftOut = RecordChoice::Nothing);

  /// Visit all visibilities in file order: all polarisations at a frequency, then the next frequency, then the next
  /// record. May be called again.
  /// @param step   name shown by the progress control, which runs from 0 to 100
  /// @return a failure if the job was cancelled or a record cannot be read
  AResult ForEach(const JobOptions& options, const char* step, const Visitor& visit);

  /// Divide the records of the selected scans into at most `most` parts of at least `bytes` each, which are about
  /// equal. They depend on the file and the selection only.
  std::vector<RecordStretch> Divide(int64 bytes, int most) const;
  /// Visit those of one part. Threads may visit different parts at the same time.
  AResult ForEachOf(RecordStretch part, const JobOptions& options, const Visitor& visit);

  /// Visit the means over intervals of `interval` seconds, or over each time stamp if that is negative, in time order;
  /// see Average. Stored values are averaged first, then polarisations are formed.
  AResult ForEachMean(const JobOptions& options, double interval, const Visitor& visit);

  /// Find the antenna with the most visibilities, among those that the file lists.
  /// @param antenna  its number; -1 if there is no visibility
  AResult FindBusiestAntenna(const JobOptions& options, int& antenna);

  /// A failure that says why there is nothing to visit.
  /// @param remedy  what to do if all visibilities are flagged; may be empty
  AResult NothingValid(const JobOptions& options, const std::string& remedy = {});

  const AUVXContents& contents() const { return contents_; }
  /// The name of the file, for messages.
  const std::string& path() const { return input_.path(); }
  /// The source; only its number is set if the file has no source table.
  const AUVXSourceItem& source() const { return source_; }
  const std::vector<PolarisationChoice>& polarisations() const { return polarisations_; }
  /// As in "RR, LL".
  std::string PolarisationNames() const;
  /// The unit of the values, empty if the file does not name one.
  std::string unit() const;

 private:
  struct Setup;

  AResult SelectSource();
  AResult SelectStokes(const std::vector<std::string>& wanted, Preference preference);
  AResult SelectFrequencies(const UVXSelection& selection);
  std::vector<double> WidthsOf(int setup) const;
  void LookUp(int number, std::optional<Setup>& setup) const;
  void Visit(const WalkedRecord& record, const Setup& setup, const Visitor& visit) const;

  AUVXInput& input_;
  const AUVXContents& contents_;
  RecordChoice choice_;
  ARange uvRange_;
  bool takesFlagged_ = false;
  UVXSelection records_;  // all values of the source's records
  AUVXSourceItem source_;
  std::vector<PolarisationChoice> polarisations_;
  std::vector<int> IFs_, channels_;
};

}  // namespace zeltra

#endif  // ZELTRA_OPS_SELECTEDVISIBILITIES_H_
