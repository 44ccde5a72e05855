// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXFqTbl.h"

#include <algorithm>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXFqTblInternal.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {
namespace {

// Bound on what a damaged file may claim, rows x IFs; real tables have a few hundred.
constexpr int64 kLargestItemCount = 1 << 20;

}  // namespace

/// A column of the table, and where its elements go.
struct AUVXFqTbl::Column {
  FqColumn target;
  char type;
  int count;

  bool IsDecoded() const { return type == 'D' || type == 'E' || type == 'J'; }
};

FqColumn FqColumnOf(const std::string& name) {
  const auto names = [&](const char* part) { return name.find(part) != std::string::npos; };
  if (names("IF FREQ") || names("BANDFREQ")) return FqColumn::Start;
  if (names("CH") && names("WIDTH")) return FqColumn::Delta;
  if (names("FRQSEL") || names("FREQID")) return FqColumn::Id;
  return names("TOTAL") ? FqColumn::Bandwidth : FqColumn::Other;
}

AUVXFqTbl::~AUVXFqTbl() = default;

void AUVXFqTbl::Init(AUVXFile& file) {
  items_.reSize(0, 0);
  ids_.Free();
  Create(file);
}

void AUVXFqTbl::Init(AUVXFile& file, int source) {
  Init(file);
  SqForSource(file, source);
}

int AUVXFqTbl::GetFreqSelNum(int id) const {
  const int* end = ids_.lpArray() + ids_.count();
  const int* found = std::find(static_cast<const int*>(ids_.lpArray()), end, id);
  return found == end ? -1 : static_cast<int>(found - ids_.lpArray());
}

AUVXFqTblItem AUVXFqTbl::Item(int IF, int row) const {
  const bool held = IF >= 0 && IF < items_.LineLength() && row >= 0 && row < items_.Lines();
  return held ? items_(row, IF) : AUVXFqTblItem();
}

double AUVXFqTbl::GetFreq(int channel, int IF, int row) const {
  const AUVXFqTblItem item = Item(IF, row);
  return item.start + channel * item.delta;
}

double AUVXFqTbl::GetCenterIF(int IF, int row) const {
  const AUVXFqTblItem item = Item(IF, row);
  return channels_ < 2 ? item.start : item.start + (channels_ - 1) * item.delta * 0.5;
}

void AUVXFqTbl::Create(AUVXFile& file) {
  realIFs_ = file.IFs();
  IFs_ = std::max(realIFs_, 1);
  channels_ = file.channels();
  const double reference = AUVXHeader(file).freq0;
  const std::unique_ptr<AUVXTable> table(file.GetTable("FQ"));
  if (!table) return;
  if (int64{table->rows()} * IFs_ > kLargestItemCount || !items_.reSize(table->rows(), IFs_)) return;
  ids_.GrowBy(table->rows()).ZeroInit();
  std::vector<Column> columns;
  for (int i = 0; i < table->columnCount(); ++i) {
    const AXTblFormat format = table->ParseFormat(i);
    columns.push_back({FqColumnOf(table->columns()(i).Name()), format.type, format.count});
  }
  double value = 0;  // kept from column to column and from row to row
  for (int row = 0; row < table->rows(); ++row) {
    const char* p = table->Row(row);
    const char* end = p + table->rowBytes();
    for (const Column& column : columns) {
      const int bytes = column.IsDecoded() ? ElementBytes(column.type) : 0;
      // An element that is not decoded repeats the one before it, so those beyond the last IF make no difference.
      const int elements = column.IsDecoded() ? column.count : std::min(column.count, IFs_);
      for (int element = 0; element < elements && bytes <= end - p; ++element) {
        if (column.IsDecoded()) value = DecodeElement(p, column.type);
        p += bytes;
        SetElement(column, element, row, value, reference);
      }
    }
  }
}

void AUVXFqTbl::SetElement(const Column& column, int element, int row, double value, double reference) {
  if (column.target == FqColumn::Id) ids_(row) = RoundedInt(value);
  if (element >= IFs_) return;
  if (column.target == FqColumn::Start) items_(row, element).start = value + reference;
  if (column.target == FqColumn::Delta) items_(row, element).delta = value;
}

void AUVXFqTbl::SqForSource(AUVXFile& file, int source) {
  const std::unique_ptr<AUVXTable> index(file.GetTable("NX"));
  if (!index) return;
  const AUVXPosition scans(*index);
  std::unordered_set<int> used;  // identifiers
  for (int i = 0; i < scans.count(); ++i) {
    if (source < 0 || scans(i).sourceId == source) used.insert(scans(i).freqId);
  }
  AArray<int> rows(0, ids_.count(), 1);
  for (int row = 0; row < ids_.count(); ++row) {
    // Only the first of several rows with the same identifier is found.
    if (used.erase(ids_(row)) > 0) rows.Add(row);
  }
  if (rows.count() < ids_.count()) KeepRows(rows);
}

void AUVXFqTbl::KeepRows(const AArray<int>& rows) {
  AMatrix<AUVXFqTblItem> items(rows.count(), items_.LineLength());
  for (int i = 0; i < rows.count(); ++i) {
    std::copy_n(items_.Line(rows(i)), items.LineLength(), items.Line(i));
    ids_(i) = ids_(rows(i));
  }
  ids_.DeleteItems(rows.count(), ids_.count());
  items_ = std::move(items);
}

int AUVXFqTbl::Store(AFile& f) const {
  const int32_t counts[3] = {realIFs_, IFs_, channels_};
  return items_.Store(f) && ids_.Store(f) && WriteWhole(f, counts, sizeof counts);
}

int AUVXFqTbl::Load(AFile& f) {
  int32_t counts[3] = {0, 0, 0};
  const int loaded = items_.Load(f) && ids_.Load(f) && ReadWhole(f, counts, sizeof counts);
  if (!loaded) *this = AUVXFqTbl();
  if (loaded) {
    realIFs_ = counts[0];
    IFs_ = counts[1];
    channels_ = counts[2];
  }
  return loaded;
}

}  // namespace zeltra
