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

/// Copies a UVX file record by record; a derived class changes what passes. One object serves one Run, which calls
///   Init      once, after the header of the destination was written for the first time
///   IsCancel  before every record
///   Working   once per record, in file order
///
/// All run on the thread that called Run. Init may read the source, whose position IsCancel and Working must not move:
/// the records are read in blocks from there. The defaults let everything pass, so the plain class copies a file: the
/// calls need not ask whether there is a derived class.
class ZELTRA_API AWork2UVX {
 public:
  /// @param source       open for reading; not owned
  /// @param destination  created by the caller, who closes it after Run; not owned
  /// @param progress     may be null
  /// @param cancelFlag   may be null; another thread may set it to stop Run at the next record
  AWork2UVX(AUVXFile* source, AUVXFile* destination, CProgressCtrl* progress, int* cancelFlag)
      : source_(source), destination_(destination), progress_(progress), cancelFlag_(cancelFlag) {}
  virtual ~AWork2UVX();

  /// @return 0 to refuse the run; here 1
  virtual int Init();

  /// @return non-zero to stop; here the cancel flag
  virtual int IsCancel();

  /// Change a record, whose values keep their number.
  /// @param index  index of the record in the source
  /// @return 0 to drop the record; here 1
  virtual int Working(AUVXGroup& group, AUVXVisibility& vis, int index);

  /// Copy the records that Working keeps, and the tables, with their rows trimmed to what the kept records still use.
  /// The index and the baseline list are made anew where the source has them.
  ///
  /// The index ("NX") that a copy gets has right record numbers, by which readers go, and wrong times, deliberately:
  /// the days of the records' time stamps are entered where it counts seconds, so that TIME and TIME INTERVAL are
  /// Julian dates and days divided by 86400. A host that needs them reads the records.
  /// @return 0 when Init refused or the run was cancelled: the caller then discards the destination. Else 1, whatever
  ///         became of what was written: results of writing headers, records and tables are not looked at. A host that
  ///         has to know asks its own file object, which it attached, or reads the copy.
  int Run();

 protected:
  AUVXFile* source_;
  AUVXFile* destination_;
  CProgressCtrl* progress_;
  int* cancelFlag_;
};

/// As AWork2UVX, for operations that change the shape of the visibilities. Before everything else Run calls
///   ChangeHeader   once
class ZELTRA_API AWork2UVX_STChange {
 public:
  /// As for AWork2UVX.
  AWork2UVX_STChange(AUVXFile* source, AUVXFile* destination, CProgressCtrl* progress, int* cancelFlag)
      : source_(source), destination_(destination), progress_(progress), cancelFlag_(cancelFlag) {}
  virtual ~AWork2UVX_STChange();

  virtual int Init();
  virtual int IsCancel();

  /// Make the output values of a record. Those of the record before are still in `out`, zeros before the first: a class
  /// that does not fill `out`, as this one, writes records of zeros with weight 0.
  /// @param in   the values read
  /// @param out  has the shape of the changed header, at least one polarisation, and keeps it
  /// @return 0 to drop the record; here 1
  virtual int Working(AUVXGroup& group, AUVXVisibility& in, AUVXVisibility& out, int index);

  /// Change the header from that of the source to that of the destination; here nothing.
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
