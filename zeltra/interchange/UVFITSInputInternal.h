// A UV FITS file, checked and prepared for reading.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_INTERCHANGE_UVFITSINPUTINTERNAL_H_
#define ZELTRA_INTERCHANGE_UVFITSINPUTINTERNAL_H_

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/AResult.h"
#include "zeltra/fits/AFITS.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXHeaderCards.h"

namespace zeltra {

/// Opens a random-groups file, refuses what cannot be stored, and prepares its headers so that the classes that read
/// groups see only what they understand: parameters that share a first letter with a known one are masked, u, v, w are
/// scaled to seconds.
class UVFITSInput {
 public:
  /// receives a sentence for each thing that is doubtful or left out
  AResult Open(std::unique_ptr<AInputFile> file, std::vector<std::string>& remarks);

  AFITS& fits() { return *fits_; }
  const AInputFile& file() const { return *file_; }
  /// The UVX header for the file; its ranges are empty.
  const AUVXHeader& header() const { return header_; }
  /// The cards of the header that an export would not write by itself.
  const AUVXHeaderCards& cards() const { return cards_; }
  int groups() const { return fits_->main()->gcount(); }
  /// Bytes of a group before its visibilities.
  int parameterBytes() const { return parameterBytes_; }
  /// Whether the file has ANTENNA1 and ANTENNA2 instead of BASELINE.
  bool hasAntennas() const { return hasAntennas_; }
  /// Complex values in a group.
  int values() const { return values_; }
  /// The raw value that means "no value" in integer data; meaningful when hasBlank().
  int blank() const { return blank_; }
  bool hasBlank() const { return hasBlank_; }
  /// Whether the history claims the order time, then baseline.
  bool claimsTimeBaseline() const { return claimsTimeBaseline_; }

  /// A sentence about this file.
  AResult Refuse(const std::string& sentence) const { return AResult::Fail(file_->name() + ": " + sentence); }

 private:
  AResult ReadHeaders();
  /// The value of a card of the primary header.
  std::optional<std::string> Find(const std::string& key) const;
  bool ClaimsGroups() const;
  bool IsImage() const;
  AResult CheckFormat() const;
  AResult CheckAxes(std::vector<std::string>& remarks);
  AResult CheckIsLastFile(const AFITSbase& unit) const;
  AResult CheckExtent(std::vector<std::string>& remarks);
  AResult PrepareParameters(std::vector<std::string>& remarks);
  void PrepareHeader(std::vector<std::string>& remarks);
  void KeepCards(std::vector<std::string>& remarks);
  void ReadHistory(const std::string& line);
  void RemarkOnHistory(std::vector<std::string>& remarks);

  std::unique_ptr<AFITS> fits_;
  AInputFile* file_ = nullptr;  // owned by `fits_`
  AUVXHeaderCards cards_;
  std::string sortOrder_, weightScale_;  // from the history
  AUVXHeader header_;
  int parameterBytes_ = 0;
  int values_ = 0;
  int blank_ = 0;
  bool hasAntennas_ = false;
  bool hasBlank_ = false;
  bool claimsTimeBaseline_ = false;
};

}  // namespace zeltra

#endif  // ZELTRA_INTERCHANGE_UVFITSINPUTINTERNAL_H_
