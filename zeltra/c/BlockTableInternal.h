// A table in blocks of columns.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_C_BLOCKTABLEINTERNAL_H_
#define ZELTRA_C_BLOCKTABLEINTERNAL_H_

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "zeltra/c/zeltra_c.h"
#include "zeltra/jobs/JobHost.h"

namespace zeltra {

/// `text` in valid UTF-8 without control characters.
std::string CleanText(std::string_view text);

/// Collects rows column by column and delivers them in blocks. A cell of another type than its column is converted, or
/// left without a value: a host reads the values as the type that it was told.
class BlockTable : public ATableSink {
 public:
  /// Receives a block. @return false if no more are wanted
  using Take = std::function<bool(const zeltra_column* const* columns, size_t columnCount, size_t rows)>;

  BlockTable(std::vector<AJobColumn> columns, Take take);

  void Integer(int64 value) override;
  void Real(double value) override;
  void Real(float value) override { Real(static_cast<double>(value)); }
  void Rounded(double value, int) override { Real(value); }
  void RoundedToFloat(double value) override { Real(value); }
  void Time(double julianDate) override { Real(julianDate); }
  void Text(std::string_view text) override;
  void Nothing() override;
  void EndRow() override;
  bool good() const override { return good_; }
  AResult Finish() override;

 private:
  struct Column {
    AJobColumn described;
    std::vector<int64> integers;
    std::vector<double> reals;
    std::vector<std::string> texts;
    std::vector<const char*> pointers;
    std::vector<uint8_t> present;
    bool isWhole = true;  // every cell has a value
  };

  AColumnKind KindOfNext() const { return columns_[cell_].described.kind; }
  Column& Next(bool isPresent);
  void Deliver();
  zeltra_column ViewOf(Column& column) const;

  std::vector<Column> columns_;
  Take take_;
  size_t mostRows_;
  size_t cell_ = 0, rows_ = 0;
  bool good_ = true, hasDelivered_ = false;
};

}  // namespace zeltra

#endif  // ZELTRA_C_BLOCKTABLEINTERNAL_H_
