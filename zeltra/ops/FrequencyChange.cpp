// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <limits>

#include "zeltra/ops/FrequencyChangeInternal.h"
#include "zeltra/ops/IFColumnsInternal.h"
#include "zeltra/uvx/AUVXFqTblInternal.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {

SetupFrequencies::SetupFrequencies(const AUVXTable& setups) : setups_(setups) {
  for (int i = 0; i < setups.columnCount(); ++i) {
    const FqColumn kind = FqColumnOf(setups.columns()(i).Name());
    if (kind == FqColumn::Start) startColumn = i;
    if (kind == FqColumn::Delta) widthColumn = i;
    if (kind == FqColumn::Bandwidth) bandwidthColumn = i;
    if (kind == FqColumn::Id) idColumn = i;
  }
}

double SetupFrequencies::Number(int row, int column, int IF) const {
  const double number = setups_.Number(row, column, IF);
  return std::isfinite(number) ? number : 0.0;
}

int SetupFrequencies::Id(int row) const {
  return RoundedInt(Number(row, idColumn, 0));
}

FrequencyChange FrequencyChange::None(const AUVXHeader& header) {
  FrequencyChange none;
  none.IFs = std::max(int{header.IFs}, 1);
  none.channels = none.used = none.count = header.channels;
  for (int i = 0; i < none.IFs; ++i) none.parts.push_back({i});
  return none;
}

bool FrequencyChange::JoinsIFs() const {
  return std::any_of(parts.begin(), parts.end(), [](const std::vector<int>& part) { return part.size() > 1; });
}

double FrequencyChange::NewStart(const SetupFrequencies& setups, int row, size_t part) const {
  const double place = first + (width - 1) / 2.0;
  const auto start = [&](int i) { return setups.Start(row, i) + place * setups.Width(row, i); };
  if (!isStacked) return start(parts[part][0]);
  double sum = 0;
  for (const int i : parts[part]) sum += start(i);
  return sum / static_cast<double>(parts[part].size());
}

double FrequencyChange::NewWidth(const SetupFrequencies& setups, int row, size_t part) const {
  if (!isStacked) return step * setups.Width(row, parts[part][0]);
  double sum = 0, absolute = 0;
  for (const int i : parts[part]) {
    sum += setups.Width(row, i);
    absolute += std::fabs(setups.Width(row, i));
  }
  // A channel made from IFs of both sidebands has no sideband of its own.
  const bool isMixed = std::fabs(sum) < absolute * (1 - 1e-12);
  return step * (isMixed ? absolute : sum) / static_cast<double>(parts[part].size());
}

double FrequencyChange::NewBandwidth(const SetupFrequencies& setups, int row, size_t part) const {
  if (isStacked && count == 1) {
    const Span span = SpanOf(setups, row, part);
    if (span.isFilled) return span.high - span.low;
  }
  return std::fabs(NewWidth(setups, row, part)) * count;
}

FrequencyChange::Span FrequencyChange::SpanOf(const SetupFrequencies& setups, int row, size_t part) const {
  double low = std::numeric_limits<double>::infinity(), high = -low, covered = 0;
  for (const int i : parts[part]) {
    const double channel = setups.Width(row, i), edge = setups.Start(row, i) - channel / 2;
    const double other = edge + channels * channel;
    low = std::min({low, edge, other});
    high = std::max({high, edge, other});
    covered += std::fabs(channel) * channels;
  }
  const double tolerance = 0.01 * std::fabs(setups.Width(row, parts[part][0]));
  return {low, high, std::fabs(high - low - covered) <= tolerance};
}

double FrequencyChange::Shift(const AUVXTable& setups) const {
  const SetupFrequencies frequencies(setups);
  return parts.empty() || count == 0 ? 0 : NewStart(frequencies, 0, 0) - frequencies.Start(0, 0) + leftOut;
}

void FrequencyChange::Change(AUVXHeader& header, const AUVXTable* setups) const {
  if (header.IFs > 0) header.IFs = static_cast<int32_t>(parts.size());
  header.channels = count;
  if (setups) header.freq0 += Shift(*setups);
}

bool FrequencyChange::Translate(Range ofIFs, Range ofChannels, size_t part, std::vector<Range>& runs) const {
  runs.clear();
  const int begin = std::max(ofChannels.first - first, 0), end = std::min(ofChannels.last - first, used - 1);
  if (begin > end) return true;
  // Places on the common axis of the part's IFs.
  std::vector<Range> places;
  int concerned = 0;
  for (size_t m = 0; m < parts[part].size(); ++m) {
    if (parts[part][m] < ofIFs.first || parts[part][m] > ofIFs.last) continue;
    const int origin = isStacked ? 0 : static_cast<int>(m) * used;
    const bool follows = !places.empty() && places.back().last + 1 == origin + begin;
    if (follows) places.back().last = origin + end;
    if (!follows && (concerned == 0 || !isStacked)) places.push_back({origin + begin, origin + end});
    ++concerned;
  }
  if (isStacked && concerned > 0 && concerned < static_cast<int>(parts[part].size())) return false;
  for (const Range& place : places) {
    // The channels of the output that contain any of these places.
    const int64 low = (std::max<int64>(int64{place.first} - width + 1, 0) + step - 1) / step;
    const int64 high = std::min(place.last / step, count - 1);
    if (low > high) continue;
    if (low * step < place.first || high * step + width - 1 > place.last) return false;
    runs.push_back({static_cast<int>(low), static_cast<int>(high)});
  }
  return true;
}

AResult CheckFrequencies(const std::string& path, const AUVXTable& setups, int IFs) {
  const SetupFrequencies frequencies(setups);
  for (int row = 0; row < setups.rows(); ++row) {
    for (int i = 0; i < IFs; ++i) {
      if (std::isfinite(setups.Number(row, frequencies.startColumn, i)) &&
          std::isfinite(setups.Number(row, frequencies.widthColumn, i)))
        continue;
      return AResult::Fail(path + ": its table FQ gives no frequencies for IF " + std::to_string(i + 1) + " of setup " +
                           std::to_string(frequencies.Id(row)));
    }
  }
  return AResult::Ok();
}

AResult CheckSetups(const std::string& path, const FrequencyChange& change, const AUVXTable* setups) {
  if (change.IsNone()) return AResult::Ok();
  if (!setups || setups->rows() == 0) {
    if (change.parts.empty() || change.parts[0][0] == 0) return AResult::Ok();
    return AResult::Fail(
        path + ": has no table FQ, so that IF 1, whose frequency is that of the file, cannot be left " + "out");
  }
  if (FillsRows(*setups)) return CheckFrequencies(path, *setups, change.IFs);
  return AResult::Fail(path + ": IFs or channels cannot be left out, since the columns of its table FQ do not " +
                       "fill the rows");
}

}  // namespace zeltra
