// Extension tables of a FITS file.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_FITS_AFITSXTBL_H_
#define ZELTRA_FITS_AFITSXTBL_H_

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zeltra/fits/AFITSbase.h"

namespace zeltra {

/// A parsed TFORMn, such as "3E".
struct ZELTRA_API AXTblFormat {
  char type = 0;           ///< the last character: the letter of the data type
  std::int16_t count = 0;  ///< the leading number: the repeat count

  /// Parse `tform`. A bare letter has count 0, and so does a count that does not fit 16 bits; programs rely on it. A
  /// column with count 0 has no elements.
  static AXTblFormat Parse(const std::string& tform);
};

/// One extension: its header and, on request, its rows in memory.
///
/// Rows and columns that are shown as text count from 1. A full column is one element of a field: a vector field has as
/// many as its repeat count, a text ("A") or bit ("X") field has one.
class ZELTRA_API AFITSxtbl : public AFITSbase {
 public:
  /// @param file  not owned; must outlive the table
  explicit AFITSxtbl(AFile* file);
  ~AFITSxtbl() override;

  int Dispatch(int hash) override;
  int PCOUNT() override;

  virtual int EXTNAME();
  virtual int TFORM();
  virtual int TTYPE();
  virtual int TUNIT();
  virtual int TFIELDS();
  virtual int EXTVER();
  virtual int XTENSION();

  /// NAXIS2.
  int GetRows() const { return AxisLength(2); }
  /// TFORM of a field counted from 0; a field that does not exist has count 0.
  AXTblFormat ParseFormat(int field) const;
  /// The number of full columns; for an ASCII table, whose cells this class does not read, the number of its fields.
  int GetFullColumns() const;
  /// File position of a cell.
  ///
  /// Only the letters A, X, D, E, J and L are sized. Any other is taken to be as wide as the element before it, so
  /// cells after an "I" column get wrong positions; programs rely on this.
  /// @param field  set to the field, counted from 0, that holds the full column; if there is no such column, to the
  ///               last one that has elements, or -1
  /// @return the position; if there is no such column, the position after the last field
  int64 GetPosInTable(int row, int column, int& field) const;
  /// The cell as text, read from the file: texts in single quotes and cut at 127 characters, numbers in the shortest
  /// form that reads back the same, "NaN", bits as "0x" and eight digits, "Unknow" for other letters. Empty if there is
  /// no such cell.
  std::string asString(int row, int column) const;
  /// The name of a full column, as in "(2)-FLUX [3E]", with the format in the brackets, not the unit. Empty if there is
  /// no such column.
  std::string asStringName(int column) const;

  /// Read the rows into data(), with numbers in machine order, unless they are there already. data() stays null if the
  /// table is empty, if the file is shorter than the header says or cannot be read, or if there is no memory.
  void AllocData();
  void FreeData();
  /// 1 if NAXIS1 x NAXIS2 is 0, else 0.
  int IsEmptyData() const { return DataBytes() == 0; }
  /// NAXIS1 x NAXIS2.
  int64 DataBytes() const { return int64{AxisLength(1)} * AxisLength(2); }
  /// The rows, DataBytes() bytes, row after row; null until AllocData().
  char* data() const { return data_.get(); }

  std::string& extname() { return extname_; }
  int tfields() const { return tfields_; }
  /// 0x100000 for an A3DTABLE, 0x200000 for a BINTABLE, 0 for others.
  int tableKind() const { return tableKind_; }
  // TTYPEn, TFORMn and TUNITn of a field, counted from 0, not checked.
  std::string& ttype(int i) { return ttype_[static_cast<size_t>(i)]; }
  std::string& tform(int i) { return tform_[static_cast<size_t>(i)]; }
  std::string& tunit(int i) { return tunit_[static_cast<size_t>(i)]; }

 private:
  struct Cell {
    bool exists = false;
    int field = -1;
    int element = 0;
    int64 offset = 0;  // within the row
  };

  Cell FindColumn(int column) const;
  int64 RowPosition(int row) const;
  bool ReadCell(int64 position, void* out, int bytes) const;
  std::string TextAsString(int64 position, int length) const;
  std::string BitsAsString(int64 position, int bytes) const;
  void ConvertRows();

  std::string extname_;
  std::vector<std::string> ttype_;
  std::vector<std::string> tform_;
  std::vector<std::string> tunit_;
  int tfields_ = 0;
  int tableKind_ = 0;
  std::unique_ptr<char[]> data_;
};

}  // namespace zeltra

#endif  // ZELTRA_FITS_AFITSXTBL_H_
