// Headers of a FITS file: the common base, and the primary header.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_AFITSBASE_H_
#define ZELTRA_FITS_AFITSBASE_H_

#include <string>
#include <string_view>
#include <vector>

#include "zeltra/core/AFile.h"
#include "zeltra/core/AMatrix.h"
#include "zeltra/fits/FITSCards.h"
#include "zeltra/fits/ParseFITSstr.h"

namespace zeltra {

/// One header with the position of its data.
///
/// ReadHeader() reads card after card and calls Dispatch(), which calls the handler for the card's keyword. A derived
/// class overrides Dispatch() and passes keywords that it does not know to its base.
///
/// Arrays have no more than 999 elements, since no keyword has a larger index. Cards with an index beyond an array,
/// or before the count that sizes it, are ignored.
class ZELTRA_API AFITSbase {
 public:
  /// @param file  not owned; must outlive the header
  explicit AFITSbase(AFile* file);
  AFITSbase(const AFITSbase&) = delete;
  AFITSbase& operator=(const AFITSbase&) = delete;
  virtual ~AFITSbase();

  /// Call the handler for the keyword with this hash, if there is one. @return 1
  virtual int Dispatch(int hash);

  // Handlers: each processes the current card and returns 1. Those of this library change nothing while no header is
  // being read.
  virtual int BITPIX();
  virtual int NAXIS();
  virtual int PCOUNT();
  virtual int GCOUNT();
  virtual int PSCALE();
  virtual int PZERO();
  virtual int PTYPE();
  virtual int HISTORY();
  virtual int NULLKEY();
  virtual int END();

  /// Read a header from the current file position; the file is then positioned after the END card.
  /// @return 0 if the file ends before END, or if the data could not be addressed: counts that are negative, above 999
  ///         axes or table fields, or above the cards that the header's blocks have room for; negative lengths; a group
  ///         that is too large for an int
  int ReadHeader();

  /// Move the file to the next header. @return 1 if there is data, 0 at the end of the file
  int SeekToNext();

  AFile* file() const { return file_; }
  int naxis() const { return naxis_; }
  /// NAXISn of an axis counted from 1; 0 if there is no such axis.
  int AxisLength(int axis) const;
  /// PCOUNT: the number of random parameters; in an extension, the bytes after its table.
  int pcount() const { return pcount_; }
  /// GCOUNT: the number of groups, 0 if there is no such card.
  int gcount() const { return gcount_; }
  /// Bytes of one group: its random parameters and its data array; in an extension, bytes of its data: NAXIS1 x NAXIS2
  /// of a table, and the PCOUNT bytes after them.
  int groupBytes() const { return groupBytes_; }
  /// BITPIX / 8: negative for floating-point values.
  int valueBytes() const { return valueBytes_; }

  /// Number of random parameters that have the values below: min(PCOUNT, 999), or none in an extension. The index i
  /// counts from 0 and is not checked.
  int Parameters() const { return static_cast<int>(ptype_.size()); }
  double& pscal(int i) { return pscal_[static_cast<size_t>(i)]; }  ///< PSCALn, 1 if there was no such card
  double& pzero(int i) { return pzero_[static_cast<size_t>(i)]; }  ///< PZEROn, 0 if there was no such card
  std::string& ptype(int i) { return ptype_[static_cast<size_t>(i)]; }

  // The cards as they stand in the file, including HISTORY and COMMENT, from the first one to END. There are none until
  // a header has been read to its END, nor for a header longer than kFITSMostHeaderBytes.
  int CardCount() const { return static_cast<int>(cards_.size() / kFITSCard); }
  /// A card counted from 0: 80 characters, valid until the next ReadHeader().
  std::string_view CardText(int i) const;
  /// Parse the last card whose keyword, including its index, is `key`. @return false if there is none
  bool FindCard(const std::string& key, ParseFITSstr& card) const;

  int64 headerStart() const { return headerStart_; }  ///< file position of the first card
  int64 headerEnd() const { return headerEnd_; }      ///< file position after the END card
  int64 dataStart() const { return dataStart_; }      ///< file position of the data
  int64 nextHeader() const { return nextHeader_; }    ///< file position after the data; -1 until a header has been read

 protected:
  /// @param isExtension  whether NAXIS1 = 0 means that there are no data, which it does not with random groups
  AFITSbase(AFile* file, bool isExtension);
  /// The card being handled.
  const ParseFITSstr& card() const { return card_; }
  /// Whether a header is being read, so that there is a current card.
  bool isReading() const { return isReading_; }
  /// Store the value of the current card in `field`, which is unchanged if there is no card. @return 1
  int Take(int& field) const;
  int Take(double& field) const;
  int Take(std::string& field) const;
  /// Release what the header holds about random parameters, which extensions do not have.
  void FreeParameters();
  /// Whether the current card's index, which counts from 1, is within an array of `size`; false without a current card.
  bool IndexWithin(size_t size) const;
  /// The current card's value, an array size, if it lies in 0..999; otherwise 0, and ReadHeader will fail.
  int ArraySize();

 private:
  bool ReadCards();
  int LocateData();

  ParseFITSstr card_;
  bool isReading_ = false;
  AFile* file_;
  const bool isExtension_;
  int naxis_ = 0;
  int pcount_ = 0;
  int gcount_ = 0;
  int groupBytes_ = 0;
  int valueBytes_ = 0;
  std::vector<int> axisLength_;
  std::vector<double> pscal_;
  std::vector<double> pzero_;
  std::vector<std::string> ptype_;
  int64 headerStart_ = 0;
  int64 headerEnd_ = 0;
  int64 dataStart_ = 0;
  int64 nextHeader_ = -1;
  int largestCount_ = 0;  // largest number of axes or table fields claimed
  bool isRefused_ = false;
  std::string cards_;
};

/// The primary header of a random-groups file.
class ZELTRA_API AFITSmain : public AFITSbase {
 public:
  explicit AFITSmain(AFile* file);
  ~AFITSmain() override;

  int Dispatch(int hash) override;
  int NAXIS() override;

  virtual int BZERO();
  virtual int BSCALE();
  virtual int CTYPE();
  virtual int CRVAL();
  virtual int CDELT();
  virtual int CRPIX();
  virtual int CROTA();
  virtual int SIMPLE();
  virtual int EXTEND();
  virtual int OBJECT();
  virtual int BUNIT();
  virtual int EPOCH();
  virtual int VELREF();
  virtual int OBSRA();
  virtual int OBSDEC();
  virtual int GROUP();
  virtual int BLOCKED();
  virtual int TELESCOP();
  virtual int INSTRUME();
  virtual int OBSERVER();
  virtual int DATE_OBS();
  virtual int DATE_MAP();
  virtual int ORIGIN();

  /// The first axis, counted from 1, whose CTYPE contains `name`; 0 if there is none.
  int FindAxis(const char* name) const;

  /// CTYPEn of an axis counted from 1, not checked.
  std::string& ctype(int axis) { return ctype_[static_cast<size_t>(axis) - 1]; }
  /// The axes' values: lines CRVAL, CDELT, CRPIX, CROTA, column n - 1 for axis n; zero if there is no card.
  AMatrix<double>& axes() { return axes_; }
  double& bscale() { return bscale_; }  ///< 1 if there was no such card
  double& bzero() { return bzero_; }    ///< 0 if there was no such card
  double& epoch() { return epoch_; }    ///< years, 0 if there was no such card
  std::string& instrume() { return instrume_; }
  std::string& observer() { return observer_; }
  std::string& object() { return object_; }
  std::string& dateObs() { return dateObs_; }
  std::string& bunit() { return bunit_; }

 private:
  int SetAxisValue(int line);

  std::vector<std::string> ctype_;
  AMatrix<double> axes_;
  double bscale_ = 1;
  double bzero_ = 0;
  double epoch_ = 0;
  std::string instrume_;
  std::string observer_;
  std::string object_;
  std::string dateObs_;
  std::string bunit_;
};

}  // namespace zeltra

#endif  // ZELTRA_FITS_AFITSBASE_H_
