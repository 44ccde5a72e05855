// Skeletons of the operations that turn one UVX file into another.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_READERS_AWORK2UVX_H_
#define ZELTRA_READERS_AWORK2UVX_H_

#include "zeltra/platform/ProgressCtrl.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXGroup.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXVisibility.h"

namespace zeltra {

/// Copies a UVX file record by record; a derived class may change the records. One object serves one Run, which calls
///   Init      once, after the header of the destination was written for the first time
///   IsCancel  before every record
///   Working   once per record, in file order
///
/// All are called on the thread that called Run. Init may read the source, but IsCancel and Working must not move its
/// position, since the records are read in blocks from there. The defaults let everything pass, so this class by itself
/// copies a file.
class ZELTRA_API AWork2UVX {
 public:
  /// @param source       open for reading; not owned
  /// @param destination  created by the caller, who must close it after Run; not owned
  /// @param progress     may be null
  /// @param cancelFlag   may be null; another thread may set it to stop Run at the next record
  AWork2UVX(AUVXFile* source, AUVXFile* destination, CProgressCtrl* progress, int* cancelFlag)
      : source_(source), destination_(destination), progress_(progress), cancelFlag_(cancelFlag) {}
  virtual ~AWork2UVX();

  /// @return 0 to refuse the run; this class returns 1
  virtual int Init();

  /// @return non-zero to stop; this class returns the cancel flag
  virtual int IsCancel();

  /// Change a record, without changing the number of its values.
  /// @param index  index of the record in the source
  /// @return 0 to drop the record; this class returns 1
  virtual int Working(AUVXGroup& group, AUVXVisibility& vis, int index);

  /// Copy the records that Working keeps, and the tables, with their rows trimmed to what the kept records still use.
  /// The index and the baseline list are rebuilt if the source has them.
  ///
  /// The index ("NX") of a copy has correct record numbers, which are what readers use, but wrong times, which programs
  /// rely on: the days of the records' time stamps are entered as if they were seconds, so that TIME and TIME INTERVAL
  /// are Julian dates and days divided by 86400. A program that needs times reads the records.
  /// @return 0 if Init refused or the run was cancelled: the caller then discards the destination. Otherwise 1, even if
  ///         writing headers, records or tables failed, which is not checked, or if records could not be read: of a
  ///         source that is cut short, the copy holds the records that are there. A program that has to know asks its
  ///         own file objects, which it attached, or compares the copy with the source.
  int Run();

 protected:
  AUVXFile* source_;
  AUVXFile* destination_;
  CProgressCtrl* progress_;
  int* cancelFlag_;
};

/// Like AWork2UVX, for operations that change the shape of the visibilities. Before everything else Run calls
///   ChangeHeader   once
class ZELTRA_API AWork2UVX_STChange {
 public:
  /// As for AWork2UVX.
  AWork2UVX_STChange(AUVXFile* source, AUVXFile* destination, CProgressCtrl* progress, int* cancelFlag)
      : source_(source), destination_(destination), progress_(progress), cancelFlag_(cancelFlag) {}
  virtual ~AWork2UVX_STChange();

  virtual int Init();
  virtual int IsCancel();

  /// Make the output values of a record. `out` still holds those of the previous record, zeros at first: a class that
  /// does not fill `out`, such as this one, writes records of zeros with weight 0.
  /// @param in   the values read
  /// @param out  has the shape of the changed header, with at least one polarisation; do not resize it
  /// @return 0 to drop the record; this class returns 1
  virtual int Working(AUVXGroup& group, AUVXVisibility& in, AUVXVisibility& out, int index);

  /// Change the header from that of the source to that of the destination; this class changes nothing.
  virtual void ChangeHeader(AUVXHeader& header, AUVXFile* source);

  /// As AWork2UVX::Run.
  int Run();

 protected:
  AUVXFile* source_;
  AUVXFile* destination_;
  CProgressCtrl* progress_;
  int* cancelFlag_;
};

}  // namespace zeltra

#endif  // ZELTRA_READERS_AWORK2UVX_H_
