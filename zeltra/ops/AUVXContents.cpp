// SPDX-License-Identifier: MIT
#include "zeltra/ops/AUVXContents.h"

#include <algorithm>
#include <memory>
#include <set>

#include "zeltra/core/Dates.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {
namespace {

// A list in a sentence names so many things at most.
constexpr size_t kMostNamed = 30;

bool SameName(const std::string& a, const std::string& b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

std::string Joined(const std::vector<std::string>& names) {
  std::string list;
  for (size_t i = 0; i < std::min(names.size(), kMostNamed); ++i) list += (i == 0 ? "" : ", ") + names[i];
  if (names.size() > kMostNamed) list += " and " + std::to_string(names.size() - kMostNamed) + " more";
  return list.empty() ? "none" : list;
}

std::string Named(int number, const std::string& name) {
  return std::to_string(number) + (name.empty() ? "" : " (" + name + ")");
}

}  // namespace

AUVXContents::AUVXContents(AUVXInput& input)
    : path_(input.path()), header_(input.uvx()), scans_(std::make_shared<AUVXPosition>()) {
  if (const auto table = input.Table("NX")) scans_->Init(*table);
  if (const auto table = input.Table("SU")) sources_.Init(*table);
  if (const auto table = input.Table("AN")) {
    antennas_.Init(*table);
  } else if (const auto baseLines = input.Table("BL")) {
    AUVXBaseLines present(*baseLines);
    antennas_ = AUVXAntenns(present);
  }
}

AResult AUVXContents::CheckIndex(AUVXInput& input) const {
  AUVXFile& uvx = input.uvx();
  const std::string remedy = "; 'zeltra copy' writes a file with a new one";
  if (scans().count() == 0 && uvx.count() > 0) return AResult::Fail(path_ + ": has no index table NX" + remedy);
  int64 next = 1;
  for (int i = 0; i < scans().count(); ++i) {
    const AUVXPositionItem& scan = scans()(i);
    if (scan.startVis != next || scan.endVis < next || scan.endVis > uvx.count()) {
      return AResult::Fail(path_ + ": the index table NX does not follow the records at number " +
                           std::to_string(next) + remedy);
    }
    for (const int record : {scan.startVis - 1, scan.endVis - 1}) {
      AUVXGroup group;
      if (!uvx.SeekUVGroup(record) || !group.load(uvx)) {
        return AResult::Fail(path_ + ": cannot be read in record " + std::to_string(record));
      }
      if (group.sourceNo() != scan.sourceId || group.freqSel() != scan.freqId) {
        return AResult::Fail(path_ + ": record " + std::to_string(record) + " is of source " +
                             std::to_string(group.sourceNo()) + " in setup " + std::to_string(group.freqSel()) +
                             ", which the index table NX denies" + remedy);
      }
    }
    next = int64{scan.endVis} + 1;
  }
  if (next == int64{uvx.count()} + 1) return AResult::Ok();
  return AResult::Fail(path_ + ": the index table NX ends at record number " + std::to_string(next - 1) + " of " +
                       std::to_string(uvx.count()) + remedy);
}

std::vector<int> AUVXContents::SourceNumbers() const {
  std::set<int> numbers;
  for (int i = 0; i < scans().count(); ++i) numbers.insert(scans()(i).sourceId);
  return {numbers.begin(), numbers.end()};
}

std::string AUVXContents::SourceList(const std::vector<int>& numbers) const {
  std::vector<std::string> names;
  for (const int number : numbers) {
    const int place = sources_.IndexForID(number);
    names.push_back(Named(number, place >= 0 ? sources_(place).Name() : ""));
  }
  return Joined(names);
}

AResult AUVXContents::FindSource(const std::string& text, int& number) const {
  const std::vector<int> present = SourceNumbers();
  const auto hasRecords = [&](int n) { return std::binary_search(present.begin(), present.end(), n); };
  for (int i = 0; i < sources_.count(); ++i) {
    number = sources_(i).id;
    if (SameName(sources_(i).Name(), text) && hasRecords(number)) return AResult::Ok();
  }
  if (strToVal(text, number) && hasRecords(number)) return AResult::Ok();
  return AResult::Fail(path_ + ": no record of source " + text + "; there are " + SourceList(present));
}

std::string AUVXContents::AntennaList() const {
  std::vector<std::string> names;
  for (int i = 0; i < antennas_.count(); ++i) names.push_back(Named(antennas_(i).id, antennas_(i).Name()));
  return Joined(names);
}

AResult AUVXContents::FindAntenna(const std::string& text, int& number) const {
  const bool isNumber = static_cast<bool>(strToVal(text, number));
  for (int i = 0; i < antennas_.count(); ++i) {
    if (isNumber ? antennas_(i).id != number : !SameName(antennas_(i).Name(), text)) continue;
    number = antennas_(i).id & 0xFF;
    return AResult::Ok();
  }
  return AResult::Fail(path_ + ": no antenna " + text + "; there are " + AntennaList());
}

AResult AUVXContents::FindPolarisation(const std::string& text, AStokesMix& mix) const {
  const std::unique_ptr<AArray<AStokesMix>> list(toListMix(header_.stokes));
  std::vector<std::string> names;
  for (int i = 0; i < list->count(); ++i) {
    mix = (*list)(i);
    names.push_back(mix.asShortString());
    if (SameName(names.back(), text)) return AResult::Ok();
  }
  return AResult::Fail(path_ + ": no polarisation " + text + "; there are " + Joined(names));
}

AResult AUVXContents::SettleTimes(std::optional<ATime>& start, std::optional<ATime>& stop) const {
  for (std::optional<ATime>* time : {&start, &stop}) {
    if (!*time || !(*time)->isRelative) continue;
    if (CalendarDate(header_.info.dateObs).year == 0) {
      return AResult::Fail(path_ + ": has no observation date, so times need a date");
    }
    *time = (*time)->JulianDate(header_.info.dateObs);
  }
  return AResult::Ok();
}

}  // namespace zeltra
