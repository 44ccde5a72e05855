// SPDX-License-Identifier: MIT
#include "zeltra/uvx/AUVXFreqs.h"

#include <climits>
#include <cmath>
#include <memory>
#include <utility>

#include "zeltra/fits/AFITS.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {

namespace {

/// Bytes that frequencies may take, however small the file is.
constexpr int64 kLeastBytes = 1 << 20;

int RowOfSetup(const AUVXTable& table, int freqSel) {
  const int column = table.FindColumn("FRQSEL");
  for (int row = 0; row < table.rows(); ++row) {
    if (RoundedInt(table.Number(row, column)) == freqSel) return row;
  }
  return 0;
}

int CountOf(int channels, int IFs) {
  const int64 product = int64{channels} * std::max(IFs, 1);
  return product < 0 || product > INT_MAX ? 0 : static_cast<int>(product);
}

}  // namespace

AUVXFreqs::AUVXFreqs(int channels, int IFs) : AArray(CountOf(channels, IFs), 0, 256), IFs_(IFs), channels_(channels) {}

AUVXFreqs::AUVXFreqs(AUVXFile& uvx, int freqSel) : AUVXFreqs(0, 0) {
  if (!uvx.GetFile()) return;
  Size(uvx.channels(), uvx.IFs(), uvx.GetFile()->GetFileSize());
  const std::unique_ptr<AUVXTable> table(uvx.GetTable("FQ"));
  Fill(uvx.freq0(), 0, table.get(), freqSel);
}

AUVXFreqs::AUVXFreqs(AFITS& fits, int freqSel) : AUVXFreqs(0, 0) {
  if (!fits.main()) return;
  Size(fits.Channels(), fits.IFs(), fits.file()->GetFileSize());
  double freq0 = 0;
  double width = 0;
  if (const int axis = fits.main()->FindAxis("FREQ"); axis > 0) {
    AMatrix<double>& axes = fits.main()->axes();
    width = axes(1, axis - 1);
    freq0 = axes(0, axis - 1) + (1 - axes(2, axis - 1)) * width;
  }
  AFITSxtbl* extension = fits.HasExtTable("FQ");
  const std::unique_ptr<AUVXTable> table(extension ? new AUVXTable(*extension) : nullptr);
  Fill(freq0, width, table.get(), freqSel);
}

AUVXFreqs::AUVXFreqs(AUVXFreqs&& other) noexcept {
  *this = std::move(other);
}

AUVXFreqs& AUVXFreqs::operator=(AUVXFreqs&& other) noexcept {
  if (this == &other) return *this;
  AArray::operator=(std::move(other));
  IFs_ = std::exchange(other.IFs_, 0);
  channels_ = std::exchange(other.channels_, 0);
  width_ = std::exchange(other.width_, 0);
  return *this;
}

void AUVXFreqs::Size(int channels, int IFs, int64 fileBytes) {
  const int n = CountOf(channels, IFs);
  if (n > std::max(fileBytes, kLeastBytes) / static_cast<int64>(sizeof(double))) return;
  GrowBy(n);
  IFs_ = IFs;
  channels_ = channels;
}

void AUVXFreqs::Fill(double freq0, double width, const AUVXTable* given, int freqSel) {
  AUVXTable table;
  if (given) table = *given;
  table.CorrectIDI_FTS();
  const bool isListed = table.rows() > 0;
  const int row = RowOfSetup(table, freqSel);
  const int offsets = table.FindColumn("IF FREQ");
  const int widths = table.FindColumn("CH WIDTH");
  for (int i = 0; i < (channels_ > 0 ? count() / channels_ : 0); ++i) {
    const double start = isListed ? freq0 + table.Number(row, offsets, i) : freq0;
    const double step = isListed ? table.Number(row, widths, i) : width;
    if (i == 0) width_ = std::isfinite(step) ? step : 0;
    (*this)(0, i) = start;
    for (int channel = 1; channel < channels_; ++channel) (*this)(channel, i) = start + channel * step;
  }
}

double AUVXFreqs::WidthOf(int IF) const {
  return channels_ > 1 ? ((*this)(channels_ - 1, IF) - (*this)(0, IF)) / (channels_ - 1) : width_;
}

AUVXTable* AUVXFreqs::ToUVXTable(double reference) const {
  const int ifs = channels_ > 0 ? count() / channels_ : 0;
  const std::string repeat = std::to_string(ifs);
  auto table = std::make_unique<AUVXTable>();
  table->Create(AUVXTable::toHash("FQ", 0));
  table->AddColumn(PaddedToEight("FRQSEL"), "", "1J");
  table->AddColumn(PaddedToEight("IF FREQ"), PaddedToEight("HZ"), repeat + "D");
  table->AddColumn(PaddedToEight("CH WIDTH"), PaddedToEight("HZ"), repeat + "E");
  table->AddColumn(PaddedToEight("TOTAL BANDWIDTH"), PaddedToEight("HZ"), repeat + "E");
  table->AddColumn(PaddedToEight("SIDEBAND"), "", repeat + "J");
  table->AddKeyWord("NO_IF", repeat, true);
  table->SetRows(1);
  table->SetNumber(0, 0, 0, 1);
  for (int i = 0; i < ifs; ++i) {
    const double width = WidthOf(i);
    table->SetNumber(0, 1, i, (*this)(0, i) - reference);
    table->SetNumber(0, 2, i, width);
    table->SetNumber(0, 3, i, std::fabs(width) * channels_);
    table->SetNumber(0, 4, i, width < 0 ? -1 : 1);
  }
  return table.release();
}

}  // namespace zeltra
