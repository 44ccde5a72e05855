// Auxiliary tables of a UVX file and their directory.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_UVX_AUVXTABLE_H_
#define ZELTRA_UVX_AUVXTABLE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

#include "zeltra/core/AArray.h"

namespace zeltra {

class AFITSxtbl;
class AUVXFile;
struct AXTblFormat;

// Images of the file's bytes, little-endian and without padding. They may lie at any address, so copy their numbers
// before passing them on by reference or pointer.
#pragma pack(push, 1)

/// A keyword of a table with its value as text.
struct ZELTRA_API AUVXTableKeyWord {
  char key[10];     ///< zero-terminated, with its index appended as in a FITS card
  char value[32];   ///< zero-terminated
  int32_t numeric;  ///< 1 for a number or a logical value, 0 for a string

  std::string Key() const;
  std::string Value() const;
  /// The value as a number; 0 if the text does not begin with one. E or D may mark an exponent.
  double Number() const;
};
static_assert(sizeof(AUVXTableKeyWord) == 46 && std::is_trivially_copyable_v<AUVXTableKeyWord>);
static_assert(offsetof(AUVXTableKeyWord, key) == 0 && offsetof(AUVXTableKeyWord, value) == 10 &&
              offsetof(AUVXTableKeyWord, numeric) == 42);

/// Description of a column.
struct ZELTRA_API AUVXTableManual {
  char name[18];   ///< zero-terminated (TTYPE)
  char unit[10];   ///< zero-terminated (TUNIT)
  char format[8];  ///< zero-terminated (TFORM): a repeat count and a type letter

  std::string Name() const;
  std::string Unit() const;
  std::string Format() const;
};
static_assert(sizeof(AUVXTableManual) == 36 && std::is_trivially_copyable_v<AUVXTableManual>);
static_assert(offsetof(AUVXTableManual, name) == 0 && offsetof(AUVXTableManual, unit) == 18 &&
              offsetof(AUVXTableManual, format) == 28);

/// Entry of the table directory.
struct ZELTRA_API AUVXTableItem {
  int32_t ID;
  int64 position;  ///< of the table image, from the start of the file
  int32_t size;    ///< bytes of the image
};
static_assert(sizeof(AUVXTableItem) == 16 && std::is_trivially_copyable_v<AUVXTableItem>);
static_assert(offsetof(AUVXTableItem, ID) == 0 && offsetof(AUVXTableItem, position) == 4 &&
              offsetof(AUVXTableItem, size) == 12);

/// The directory of tables: at most 128 entries, in the order in which the tables were added. It is read as a whole,
/// changed in memory and written as a whole.
class ZELTRA_API AUVXTableHeader {
 public:
  static constexpr int kBytes = 2050;
  static constexpr int kLargestCount = 128;

  /// An empty directory.
  AUVXTableHeader() : count_(0), items_{} {}
  /// The directory of `uvx`; an empty one if the file has none or is cut short. The count is clamped to 0..128.
  explicit AUVXTableHeader(AUVXFile& uvx);

  /// Write the directory into `uvx`, allocating a place for it after the records if it has none.
  AUVXFile& store(AUVXFile& uvx) const;

  int count() const { return count_; }
  /// Entry i; no range check.
  AUVXTableItem& operator()(int i) { return items_[i]; }
  const AUVXTableItem& operator()(int i) const { return items_[i]; }
  /// Append an entry. @return its index, or -1 if the directory is full
  int Add(const AUVXTableItem& item);

  /// Find the first entry whose two-character code is that of `id`.
  /// Only the code is compared, not the family or kind of table, so that a table is found whoever wrote it.
  /// @return its index or -1
  int HasTable(int id) const;
  int HasTable(const std::string& name) const;

 private:
  int16_t count_;
  AUVXTableItem items_[kLargestCount];
};
static_assert(sizeof(AUVXTableHeader) == AUVXTableHeader::kBytes && std::is_trivially_copyable_v<AUVXTableHeader>);

#pragma pack(pop)

ZELTRA_EXPORT_TEMPLATE(AArray<AUVXTableKeyWord>);
ZELTRA_EXPORT_TEMPLATE(AArray<AUVXTableManual>);

/// A table: keywords, columns, and rows of bytes with numbers in the machine's order.
///
/// A table is made from a FITS extension, from its image in a UVX file, or by Create, AddColumn, AddKeyWord and SetRows
/// in that order. Typed columns are found by name and read with
///
///     const int column = table.FindColumn("SOURCE ID");
///     for (int row = 0; row < table.rows(); ++row) use(table.Number(row, column));
///
/// The image of a table, GetSize() bytes, must stay below 2 GiB: a table that would reach it has no rows.
class ZELTRA_API AUVXTable {
 public:
  /// Bit of an ID that marks one of this library's own tables.
  static constexpr int kOwnFamily = 0x10000;

  /// Empty, ID 0.
  AUVXTable() = default;
  /// Read an image at the current position of `file`. If the image has a negative count or more than 999 columns, the
  /// limit of FITS tables, or claims more than the file holds, only the ID is kept.
  explicit AUVXTable(ABFile& file);
  /// Convert a FITS extension whose header has been read; its data are loaded and freed again.
  ///
  /// The code is the two characters after the first blank of EXTNAME. Keywords are the cards after the TUNIT card of
  /// the last column, except those that carry the number of that column, so a table without this card has none. A table
  /// whose data cannot be read has no rows.
  explicit AUVXTable(AFITSxtbl& extension);
  AUVXTable(const AUVXTable&) = default;
  AUVXTable& operator=(const AUVXTable&) = default;
  /// Take over the contents of `other`, which is then an empty table.
  AUVXTable(AUVXTable&& other) noexcept;
  AUVXTable& operator=(AUVXTable&& other) noexcept;
  virtual ~AUVXTable();

  /// Write the image at the current position of `file`. @return 0 as soon as a write fails
  int store(ABFile& file) const;
  /// Put the table into `uvx`: in place of the one with the same code, otherwise after the others. The old image is
  /// overwritten in place, since tables are rewritten only after they have shrunk. An image that the directory places
  /// outside the file is left alone.
  AUVXFile& store(AUVXFile& uvx) const;
  /// Bytes of the image.
  int GetSize() const;

  /// Bits 0-15 hold the two-character code, first character lowest; bit 16 marks the library's own family, 0x100000 an
  /// A3DTABLE and 0x200000 a BINTABLE.
  int ID() const { return id_; }
  void SetID(int id) { id_ = id; }
  /// The code: up to two characters.
  std::string Code() const;
  /// "FITS " or, for the library's own family, "KVO  ", and the code.
  std::string IDtoStr() const;
  /// ID of a code: the sum of its characters, each shifted left by 8 bits more than the one before (modulo 32), with
  /// bit 16 set if `own`.
  static int toHash(const std::string& name, int own);

  /// Whether a table with this ID is one of this library's own that describe the origin of the data: "HD", the cards of
  /// a header, "IT", integration times, or "PT", the part of a run that the data are.
  static bool IsProvenance(int id) { return IsOwn(id, "HD") || IsOwn(id, "IT") || IsOwn(id, "PT"); }

  AArray<AUVXTableKeyWord>& keywords() { return keywords_; }
  const AArray<AUVXTableKeyWord>& keywords() const { return keywords_; }
  AArray<AUVXTableManual>& columns() { return columns_; }
  const AArray<AUVXTableManual>& columns() const { return columns_; }
  int rows() const { return rows_; }
  int columnCount() const { return columns_.count(); }
  int rowBytes() const { return rowBytes_; }
  /// The rows, rows() x rowBytes() bytes.
  char* data() { return data_.data(); }
  const char* data() const { return data_.data(); }

  /// Make the table empty with this ID.
  void Create(int id);
  /// Append a column, which drops all rows; a row is as long as all columns together. `format` is a repeat count and
  /// one of the letters A, L, X, I, J, E, D; texts are cut to 17, 9 and 7 characters.
  void AddColumn(const std::string& name, const std::string& unit, const std::string& format);
  /// Append a keyword, with its texts cut to 9 and 31 characters; the image has room for 32767.
  void AddKeyWord(const std::string& key, const std::string& value, bool numeric);
  /// Set the number of rows and fill them with zero bytes. @return 0, with no rows, if the image would reach 2 GiB
  int SetRows(int rows);
  /// The same, but remaining rows keep their bytes, and the storage doubles as it grows.
  int ResizeRows(int rows);
  /// First byte of a row; no range check.
  char* Row(int row) { return data() + static_cast<size_t>(row) * static_cast<size_t>(rowBytes_); }
  const char* Row(int row) const { return data() + static_cast<size_t>(row) * static_cast<size_t>(rowBytes_); }

  /// Type letter and repeat count of a column; a format without a count has count 0 and so its column has no elements.
  AXTblFormat ParseFormat(int column) const;
  /// The column whose name is `name`, else the first one whose name contains it, or -1.
  int FindColumn(const std::string& name) const;
  /// The first keyword whose key is `key`, valid until the keywords change; null if there is none.
  const AUVXTableKeyWord* FindKeyWord(const std::string& key) const;
  /// Bytes from the start of a row to a column; -1 if there is no such column, if it does not lie inside the row, or if
  /// it or one before has a letter other than A, L, X, I, J, E, D, whose data are not in the machine's order.
  int ColumnOffset(int column) const;
  /// Element of a column of letter D, E, J, I, or L (1 for true, 0 for false); NaN for any other letter, and if there
  /// is no such row, column or element.
  double Number(int row, int column, int element = 0) const;
  /// Set an element of a column of letter D, E, J or I, rounded for the last two. @return 0 if there is no such element
  int SetNumber(int row, int column, int element, double value);
  /// A column as text: letter A up to its first zero byte and trimmed, L as T or F, X as 0x and hexadecimal digits,
  /// otherwise the number in the first element. Empty if there is no such row or column.
  std::string Text(int row, int column) const;
  /// Set a column of letter A, cut or padded with blanks. @return 0 if there is no such column
  int SetText(int row, int column, const std::string& text);

  /// Convert every number from the machine's byte order to that of FITS, or back.
  void Data_PC_UNIX();

  /// Remove rows, given by their ascending numbers from 0. A list that begins with the last row, or a number past it,
  /// removes exactly the last row, since a sorted list can then contain no other.
  void DeleteRows(const AArray<int>& rowList);
  /// Remove the rows whose source is not in `sourceList`, which is ascending. The source is the first element of the
  /// first column whose name contains "SOURCE"; a table without such a column, or with text in it, is unchanged.
  void CheckSources(const AArray<short>* sourceList);
  /// Rename columns and keywords with FITS-IDI names to those of AIPS. @return 1
  int CorrectIDI_FTS();

  /// Write the table as a FITS binary-table extension at the current position of `file`: EXTNAME "AIPS xx", for the
  /// library's own family "ZELTRA xx", the columns, the keywords and the rows, padded to whole blocks.
  /// @param version  EXTVER
  /// @return 0 if a write fails
  int ToFITS(ABFile& file, int version = 1) const;

 private:
  static bool IsOwn(int id, const char* code) { return (id & (kOwnFamily | 0xFFFF)) == toHash(code, 1); }
  /// Where the cells of a column are, for a format of these eight bytes.
  struct Place {
    uint64_t formatBytes;
    char type;
    int16_t count;
    int32_t offset;  // within the row; -1 as for ColumnOffset
  };

  int FirstColumnWith(const std::string& part) const;
  std::vector<Place> FindPlaces() const;
  Place PlaceOf(int column) const;
  const char* Cell(int row, int column, int element, AXTblFormat& format) const;
  void LoadKeyWords(AFITSxtbl& extension);
  int LoadImage(ABFile& file);

  int32_t id_ = 0;
  AArray<AUVXTableKeyWord> keywords_;
  AArray<AUVXTableManual> columns_;
  int32_t rows_ = 0;
  int32_t rowBytes_ = 0;
  std::vector<char> data_;
  std::vector<Place> places_;  // of all columns, unless they have been changed by way of columns()
};

}  // namespace zeltra

#endif  // ZELTRA_UVX_AUVXTABLE_H_
