// The UVX file: a header, records of equal size, and a directory of tables.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXFILE_H_
#define ZELTRA_UVX_AUVXFILE_H_

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "zeltra/core/ABFile.h"

namespace zeltra {

class AUVXHeaderCards;
class AUVXTable;
struct AUVXHeader;

/// Options of the primary header of a UV FITS file.
struct AUVXFITSForm {
  bool withSourceAndFreqSel = false;  ///< parameters SOURCE and FREQSEL after the two dates
  bool withFlag = false;              ///< FLAG, which holds the flag byte of a record
  bool withIntegration = false;       ///< INTTIM
  /// Cards to append to those made here; null for none. Their TELESCOP, INSTRUME and OBSERVER replace the fields of the
  /// file, and their OBJECT gives the full name of a single source. Anything that is not a FITS card becomes a COMMENT.
  const AUVXHeaderCards* cards = nullptr;
};

/// A container of visibility records.
///
/// A record is a group of 26 bytes and stokes x freqPoints complexes of 12 bytes: IF slowest, then channel, then
/// polarisation. Writing a file:
///   Open(path, 1)      or OpenBuff or Attach
///   Write(header)
///   Write(...)         each record, at SeekUVGroup(i)
///   Write(header)      with the final count and ranges: tables follow the last record
///   AddTable(table)    as often as needed
///   Close()            writes the magic number, so that an unfinished file never opens again
///
/// A copy shares the file object, which lives as long as the last copy; whichever closes first, or is destroyed first,
/// closes it for all, and commits what is being written. To pass a file on, or to keep files in a container, move them.
class ZELTRA_API AUVXFile {
 public:
  /// Offsets from the start of the file, bytes.
  static constexpr int UVX_OFS_OFSTABLE() { return 8; }
  static constexpr int UVX_OFS_HEADER() { return 16; }
  static constexpr int UVX_OFS_MNMX() { return 80; }
  static constexpr int UVX_OFS_STOKES() { return 192; }
  static constexpr int UVX_OFS_RESERVED() { return 226; }

  AUVXFile() = default;
  AUVXFile(const AUVXFile&) = default;
  /// Share the file of `other`. What this object was writing is not committed.
  AUVXFile& operator=(const AUVXFile&) = default;
  /// Take over the file of `other`, which then has none.
  AUVXFile(AUVXFile&& other) noexcept;
  /// The same, after Close, unless the two share the file.
  AUVXFile& operator=(AUVXFile&& other) noexcept;
  /// Close, which commits a file that this object created.
  virtual ~AUVXFile();

  /// Open `path` through an unbuffered file, for reading and writing, or create it (an existing file is emptied).
  /// @return 0 if it cannot be opened, carries no magic number, or its header describes records that cannot be
  ///         addressed (see InitForRead)
  int Open(const char* path, int create);
  /// The same through a buffer of `bufSize` bytes.
  int OpenBuff(const char* path, int create, int bufSize);
  /// The same on a file that the caller has opened, at its start.
  /// @param autoDelete  0: the caller keeps `file`, which must outlive this object; this object still closes it. If
  ///                    this object uses the file already, which may have been reopened since, ownership stays as it
  ///                    was
  int Attach(ABFile* file, int create, int autoDelete);

  /// Give the file object back, neither closed nor committed: this object then has no file, and one that was being
  /// written has no magic number and does not open. If the caller does not own the object, it is closed with the last
  /// pointer to it.
  /// @return null if there is none
  std::shared_ptr<ABFile> Detach();

  /// Write `h` and adopt its geometry: count, axis lengths, record size.
  /// @return 0 if nothing was written, or not all; the geometry in memory is then unchanged. A header whose records
  ///         could not be addressed is not written.
  int Write(const AUVXHeader& h);

  /// Commit a file that this object created, and close it. Closing twice is fine.
  void Close();

  int Seek(const int64& pos) { return file_ && file_->Seek(pos); }
  /// @return current position, -1 on failure
  int64 GetPos() { return file_ ? file_->Tell() : -1; }
  int Read(void* buf, int n) { return file_ ? file_->Read(buf, n) : 0; }
  int Write(const void* buf, int n) { return file_ ? file_->Write(const_cast<void*>(buf), n) : 0; }
  /// The underlying file; null before the first open.
  ABFile* GetFile() const { return file_.get(); }

  /// Number of records that the header claims.
  int count() const { return count_; }
  /// Bytes of a record.
  int recSize() const { return recSize_; }
  int stokes() const { return stokes_; }
  /// 0 if the data have no IF axis, which counts as one IF.
  int IFs() const { return IFs_; }
  /// Channels per IF.
  int channels() const { return channels_; }
  /// Frequency of channel 0 of IF 0, Hz.
  double freq0() const { return freq0_; }
  /// Position of record 0.
  int64 DataOffset() const { return dataOffset_; }
  /// Position of the table directory, 0 while the file has no tables.
  int64 TableDirectoryOffset() const { return tableDirectory_; }

  /// Number of whole records that are in the file, before its table directory: at most count(), fewer in a damaged file
  /// or one with reserved room. Bytes still in a stream's buffer are not seen.
  int HeldRecords();

  /// Move to record `i`, from 0.
  int SeekUVGroup(int i);
  /// Move to the first complex of record `i`.
  int SeekUVVis(int i);
  /// Move to polarisation `s` of frequency point `f` (IF x channels + channel) of record `i`.
  int SeekUVXComplex(int i, int f, int s);
  int SeekUVXComplex(int i, int ifNo, int chan, int s);

  /// Append a table after the others; the first one fixes the position of the directory, after the last record. A 129th
  /// table is not added, nor is any to a file whose directory is damaged. A failed seek shows a message box.
  AUVXFile& AddTable(const AUVXTable& t);
  /// Read the first table whose two-character code is `name`.
  /// @return a new table, owned by the caller; null if there is none or its position is outside the file
  AUVXTable* GetTable(const std::string& name);

  /// Fix the position of the table directory, after the last record, and write it into the file, unless it has one.
  int PlaceTableDirectory();

  /// Write the primary header of a random-groups UV FITS file that holds these records at the current position of
  /// `file`, padded to whole blocks. BITPIX is -32; the parameters are UU, VV, WW, BASELINE, DATE, DATE and, if
  /// NeedsSourceAndFreqSel, SOURCE and FREQSEL; PZERO of the first DATE is `dateObs` of the header, so groups are
  /// written with times since then; the axes are COMPLEX, STOKES, FREQ, IF, RA, DEC. OBJECT, RA and DEC (degrees) are
  /// those of the first source.
  /// @return 0 if a write fails, if the records hold no values, or if the polarisation codes have no constant step
  int ToFITSHeader(ABFile& file);
  /// The same with options.
  int ToFITSHeader(ABFile& file, const AUVXFITSForm& form);
  /// Write every table as a FITS extension at the current position of `file`, with EXTVER counted for each code.
  /// @return 0 if a write fails, or a table is not as the directory describes it
  int ToFITSTables(ABFile& file);
  /// The same with a filter.
  /// @param choose  may change a table; tables that it rejects are left out
  int ToFITSTables(ABFile& file, const std::function<bool(AUVXTable&)>& choose);
  /// Whether records must be written with SOURCE and FREQSEL, because the tables say that not all of them are of source
  /// 1 and setup 1; also true if the index does not cover all records.
  bool NeedsSourceAndFreqSel();

 protected:
  /// Read magic number, offsets and header, the magic at the current position.
  /// @return 0 if the magic number is missing or the header cut short, if a count or axis length is negative, if there
  ///         are more than 8 polarisations or 32767 IFs, if a record reaches 2 GiB, or if an offset is negative or past
  ///         the end
  int InitForRead();

 private:
  struct Geometry;

  void Forget() noexcept;
  void Replace(std::shared_ptr<ABFile> file, int flags);
  int Init(int create);
  int InitForCreate();
  void SetGeometry(const AUVXHeader& h, const Geometry& geometry);

  std::shared_ptr<ABFile> file_;
  int flags_ = 0;
  int32_t dataOffset_ = 0;
  int32_t count_ = 0;
  int64 tableDirectory_ = 0;
  int16_t stokes_ = 0;
  int16_t IFs_ = 0;
  int32_t channels_ = 0;
  double freq0_ = 0;
  int32_t freqPoints_ = 0;
  int32_t recSize_ = 0;
  int32_t dataBytes_ = 0;
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXFILE_H_
