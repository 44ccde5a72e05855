// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numeric>

#include "zeltra/fits/TableRowsInternal.h"
#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/uvx/AStokesMix.h"
#include "zeltra/uvx/AUVXFqTblInternal.h"

namespace zeltra {
namespace {

// Columns as AUVXFqTbl finds them, -1 where there is none.
struct SetupColumns {
  int start = -1;
  int width = -1;
  int bandwidth = -1;

  explicit SetupColumns(const AUVXTable& setups) {
    for (int i = 0; i < setups.columnCount(); ++i) {
      const FqColumn kind = FqColumnOf(setups.columns()(i).Name());
      if (kind == FqColumn::Start) start = i;
      if (kind == FqColumn::Delta) width = i;
      if (kind == FqColumn::Bandwidth) bandwidth = i;
    }
  }
};

double NumberOrZero(const AUVXTable& table, int row, int column, int element) {
  const double number = table.Number(row, column, element);
  return std::isfinite(number) ? number : 0.0;
}

}  // namespace

AResult SettlePlaces(const std::string& path, const char* what, const std::vector<int>& wanted, int count,
                     std::vector<int>& places) {
  for (const int place : wanted) {
    if (place >= 0 && place < count) continue;
    return AResult::Fail(path + ": no " + what + " " + std::to_string(place + 1) + "; there are " +
                         std::to_string(count) + ", numbered from 1");
  }
  places = wanted;
  if (places.empty()) {
    places.resize(static_cast<size_t>(std::max(count, 0)));
    std::iota(places.begin(), places.end(), 0);
  }
  std::sort(places.begin(), places.end());
  places.erase(std::unique(places.begin(), places.end()), places.end());
  return AResult::Ok();
}

AResult ChannelSelection::Open(const std::string& path, const AUVXHeader& header, const std::vector<int>& ifs,
                               const std::vector<int>& channels, const std::vector<std::string>& stokes) {
  allIFs_ = std::max(int{header.IFs}, 1);
  allChannels_ = header.channels;
  allStokes_ = header.stokes.count();
  if (AResult result = SettlePlaces(path, "IF", ifs, allIFs_, ifs_); !result) return result;
  if (AResult result = SettlePlaces(path, "channel", channels, allChannels_, channels_); !result) return result;
  std::vector<int> places;
  for (const std::string& name : stokes) {
    std::string present;
    const size_t before = places.size();
    for (int i = 0; i < allStokes_; ++i) {
      const std::string code = AStokesItem(i, header.stokes(i)).asShortString();
      if (code == name) places.push_back(i);
      present += (i == 0 ? "" : ", ") + code;
    }
    if (places.size() == before) return AResult::Fail(path + ": no polarisation " + name + "; there are " + present);
  }
  if (AResult result = SettlePlaces(path, "polarisation", places, allStokes_, stokes_); !result) return result;
  for (size_t i = 1; i < channels_.size(); ++i) {
    if (channels_[i] - channels_[i - 1] != ChannelStep()) {
      return AResult::Fail(path + ": channels that are not evenly spaced have no place in one file");
    }
  }
  return AResult::Ok();
}

bool ChannelSelection::IsWhole() const {
  return KeepsFrequencies() && static_cast<int>(stokes_.size()) == allStokes_;
}

void ChannelSelection::Change(AUVXHeader& header, const AUVXTable* setups) const {
  if (header.IFs > 0) header.IFs = static_cast<int32_t>(ifs_.size());
  header.channels = static_cast<int32_t>(channels_.size());
  const AUVXStokes all = header.stokes;
  header.stokes.SetCount(static_cast<int>(stokes_.size()));
  for (int i = 0; i < AUVXStokes::kLargestCount; ++i) {
    header.stokes(i) = i < header.stokes.count() ? int{all(stokes_[static_cast<size_t>(i)])} : 0;
  }
  if (setups) header.freq0 += Shift(*setups);
}

// What the frequency of the first value grows by, Hz, in the first setup.
double ChannelSelection::Shift(const AUVXTable& setups) const {
  if (ifs_.empty() || channels_.empty()) return 0;
  const SetupColumns columns(setups);
  const double start = NumberOrZero(setups, 0, columns.start, ifs_[0]) - NumberOrZero(setups, 0, columns.start, 0);
  return start + channels_[0] * NumberOrZero(setups, 0, columns.width, ifs_[0]);
}

void ChannelSelection::Pick(const AUVXVisibility& in, AUVXVisibility& out) const {
  AUVXComplex* to = out.lpArray();
  for (const int i : ifs_) {
    for (const int channel : channels_) {
      const AUVXComplex* from = in(i * allChannels_ + channel);
      for (const int s : stokes_) *to++ = from[s];
    }
  }
}

AResult ChannelSelection::CheckFrequencies(const std::string& path, const AUVXTable* setups) const {
  if (KeepsFrequencies() || !setups || CanReduce(*setups)) return AResult::Ok();
  return AResult::Fail(path + ": IFs or channels cannot be left out, since the columns of its table FQ do not " +
                       "fill the rows");
}

bool ChannelSelection::CanReduce(const AUVXTable& table) const {
  const std::string code = table.Code();
  if (code != "FQ" && code != "SU" && code != "AN") return false;
  // Columns that do not fill the rows leave open where an IF's bytes are.
  int64 width = 0;
  for (int i = 0; i < table.columnCount(); ++i) width += FieldBytes(table.ParseFormat(i));
  return width == table.rowBytes();
}

bool ChannelSelection::Reduce(AUVXTable& table) const {
  if (!CanReduce(table)) return false;
  const std::string code = table.Code();
  if (code == "FQ" && !KeepsFrequencies()) MoveFrequencies(table);
  if (!KeepsIFs()) table = KeepElements(table);
  return true;
}

void ChannelSelection::ReduceOrTell(AUVXTable& table, std::string& others) const {
  if (!KeepsFrequencies() && !Reduce(table)) others += (others.empty() ? "" : ", ") + table.Code();
}

void ChannelSelection::MoveFrequencies(AUVXTable& setups) const {
  if (channels_.empty()) return;
  const SetupColumns columns(setups);
  const double shift = Shift(setups);
  for (int row = 0; row < setups.rows(); ++row) {
    for (int i = 0; i < allIFs_; ++i) {
      const double width = NumberOrZero(setups, row, columns.width, i);
      const double start = NumberOrZero(setups, row, columns.start, i);
      setups.SetNumber(row, columns.start, i, start + channels_[0] * width - shift);
      setups.SetNumber(row, columns.width, i, ChannelStep() * width);
      if (static_cast<int>(channels_.size()) == allChannels_) continue;
      const double bandwidth = std::fabs(ChannelStep() * width) * static_cast<double>(channels_.size());
      setups.SetNumber(row, columns.bandwidth, i, bandwidth);
    }
  }
}

// Elements that a column has for each IF; 0 if it is not about IFs.
int ChannelSelection::BlockOf(const AUVXTable& table, int column) const {
  const AXTblFormat format = table.ParseFormat(column);
  const std::string name = table.columns()(column).Name();
  const bool isNumeric = format.type == 'D' || format.type == 'E' || format.type == 'J' || format.type == 'I';
  const bool isForIFs = format.count > 0 && format.count % allIFs_ == 0;
  const int block = isForIFs ? format.count / allIFs_ : 0;
  if (allIFs_ == 1 || format.type == 'X') return 0;
  if (table.Code() == "FQ") return block;
  if (table.Code() == "SU") return isNumeric && block == 1 ? 1 : 0;
  return name.find("POLCAL") != std::string::npos || name.find("BEAMFWHM") != std::string::npos ? block : 0;
}

AUVXTable ChannelSelection::KeepElements(const AUVXTable& table) const {
  AUVXTable reduced;
  reduced.Create(table.ID());
  for (int i = 0; i < table.keywords().count(); ++i) {
    const AUVXTableKeyWord& keyWord = table.keywords()(i);
    const bool countsIFs = keyWord.Key() == "NO_IF";
    reduced.AddKeyWord(keyWord.Key(), countsIFs ? std::to_string(ifs_.size()) : keyWord.Value(), keyWord.numeric != 0);
  }
  for (int i = 0; i < table.columnCount(); ++i) {
    const AUVXTableManual& column = table.columns()(i);
    const int block = BlockOf(table, i);
    const std::string format =
        std::to_string(static_cast<size_t>(block) * ifs_.size()) + std::string(1, table.ParseFormat(i).type);
    reduced.AddColumn(column.Name(), column.Unit(), block > 0 ? format : column.Format());
  }
  reduced.SetRows(table.rows());
  for (int row = 0; row < table.rows(); ++row) {
    const char* from = table.Row(row);
    char* to = reduced.Row(row);
    for (int i = 0; i < table.columnCount(); ++i) {
      const AXTblFormat format = table.ParseFormat(i);
      const size_t fieldBytes = static_cast<size_t>(FieldBytes(format));
      const int block = BlockOf(table, i);
      const size_t blockBytes = static_cast<size_t>(block) * static_cast<size_t>(ElementBytes(format.type));
      for (const int kept : block > 0 ? ifs_ : std::vector<int>{0}) {
        const size_t bytes = block > 0 ? blockBytes : fieldBytes;
        std::memcpy(to, from + static_cast<size_t>(kept) * bytes, bytes);
        to += bytes;
      }
      from += fieldBytes;
    }
  }
  return reduced;
}

}  // namespace zeltra
