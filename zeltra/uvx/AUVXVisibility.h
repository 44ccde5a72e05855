// The visibilities of one record.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXVISIBILITY_H_
#define ZELTRA_UVX_AUVXVISIBILITY_H_

#include "zeltra/uvx/AUVXComplex.h"

namespace zeltra {

class AUVXFile;

/// The complexes of one baseline at one time, [IF][channel][polarisation], polarisation fastest.
///
/// Size a visibility for its file before loading it: load and store move as many complexes as it has, whatever the
/// file's header says.
class ZELTRA_API AUVXVisibility : public AArray<AUVXComplex> {
 public:
  /// Sized for these axis lengths, the values uninitialised: see GrowBy.
  explicit AUVXVisibility(int IFs = 0, int channels = 0, int stokes = 0) { GrowBy(IFs, channels, stokes); }
  AUVXVisibility(const AUVXVisibility&) = default;
  /// Sized for the records of `uvx`.
  explicit AUVXVisibility(const AUVXFile& uvx) { GrowBy(uvx); }
  /// Sized for the groups of `fits`, whose headers have been read.
  explicit AUVXVisibility(const AFITS& fits);
  AUVXVisibility& operator=(const AUVXVisibility&) = default;
  /// Take over the values of `other`, whose axes then have length 0.
  AUVXVisibility(AUVXVisibility&& other) noexcept;
  AUVXVisibility& operator=(AUVXVisibility&& other) noexcept;

  int IFs() const { return IFs_; }
  int channels() const { return channels_; }
  int stokes() const { return stokes_; }
  /// Number of frequency points: channels of all IFs.
  int freqs() const { return IFs_ > 0 ? channels_ * IFs_ : channels_; }

  /// Index of a value; note the order of the arguments.
  int index(int channel, int IF, int stokesIndex) const { return (channels_ * IF + channel) * stokes_ + stokesIndex; }
  AUVXComplex& operator()(int channel, int IF, int stokesIndex) { return lpArray()[index(channel, IF, stokesIndex)]; }
  const AUVXComplex& operator()(int channel, int IF, int stokesIndex) const {
    return lpArray()[index(channel, IF, stokesIndex)];
  }
  /// Value of frequency point f = channels x IF + channel.
  AUVXComplex& operator()(int f, int stokesIndex) { return lpArray()[stokes_ * f + stokesIndex]; }
  const AUVXComplex& operator()(int f, int stokesIndex) const { return lpArray()[stokes_ * f + stokesIndex]; }
  /// The `stokes()` values of frequency point f.
  AUVXComplex* operator()(int f) { return lpArray() + stokes_ * f; }
  const AUVXComplex* operator()(int f) const { return lpArray() + stokes_ * f; }

  /// Size for these axis lengths; IFs below 1 count as one. The old values are lost.
  /// @return the number of complexes, or, with no storage held, the product of the lengths if it is not positive. A
  ///         shape too large for an int or for memory becomes 0, 0, 0.
  int GrowBy(int IFs, int channels, int stokes);
  int GrowBy(const AUVXVisibility& other) { return GrowBy(other.IFs_, other.channels_, other.stokes_); }
  int GrowBy(const AUVXFile& uvx);

  /// Read from the current position. @return 0 if not all values were there; the contents are then undefined
  int load(AUVXFile& uvx);
  int load(ABFile& file);
  /// Write at the current position. @return 0 if not all was written
  ///
  /// In lower case: the values alone, as in a record. Store, which every array has, writes their number first, which
  /// records of a UVX file do not have.
  int store(AUVXFile& uvx) const;
  int store(ABFile& file) const;

  /// Copy from `p`, an image in memory. @return the byte after it
  const char* load(const char* p);
  char* load(char* p) { return const_cast<char*>(load(static_cast<const char*>(p))); }
  /// Copy to `p`. @return the byte after the image
  char* store(char* p) const;

  /// Decode the data values of one group at the current position of `fits`: see DecodeFITSValues.
  /// @return 0 if they are not all in the file; the contents are then undefined
  int load(AFITS& fits);
  /// Decode them from `p`, an image in memory that reaches to the end of the group. Complexes that the group lacks
  /// become 0 with weight 0. @return the byte after the values
  char* load(AFITS& fits, char* p);

  /// Write the values as big-endian floats at the current position. The object is left holding big-endian values, since
  /// callers write a visibility only once.
  int ToFITS(ABFile& file);

  /// Widen the ranges of re, im and weight.
  void check(AUVXMinMax& range) const { CheckRange(lpArray(), count(), range); }

 private:
  int IFs_ = 0;
  int channels_ = 0;
  int stokes_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXVISIBILITY_H_
