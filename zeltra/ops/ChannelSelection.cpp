// SPDX-License-Identifier: MIT
#include <algorithm>
#include <numeric>

#include "zeltra/ops/ChannelSelectionInternal.h"
#include "zeltra/uvx/AStokesMix.h"

namespace zeltra {
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
    if (channels_[i] - channels_[i - 1] != channels_[1] - channels_[0]) {
      return AResult::Fail(path + ": channels that are not evenly spaced have no place in one file");
    }
  }
  isWhole_ = Frequencies().IsNone() && static_cast<int>(stokes_.size()) == allStokes_;
  return AResult::Ok();
}

FrequencyChange ChannelSelection::Frequencies() const {
  FrequencyChange change;
  change.IFs = allIFs_;
  change.channels = allChannels_;
  for (const int i : ifs_) change.parts.push_back({i});
  if (channels_.empty()) return change;
  change.first = channels_.front();
  change.used = channels_.back() - channels_.front() + 1;
  change.step = channels_.size() > 1 ? channels_[1] - channels_[0] : 1;
  change.count = static_cast<int>(channels_.size());
  return change;
}

void ChannelSelection::Change(AUVXHeader& header, const AUVXTable* setups) const {
  Frequencies().Change(header, setups);
  const AUVXStokes all = header.stokes;
  header.stokes.SetCount(static_cast<int>(stokes_.size()));
  for (int i = 0; i < AUVXStokes::kLargestCount; ++i) {
    header.stokes(i) = i < header.stokes.count() ? int{all(stokes_[static_cast<size_t>(i)])} : 0;
  }
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

}  // namespace zeltra
