// SPDX-License-Identifier: MIT
#include "zeltra/ops/AUVXContents.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <set>

#include "zeltra/core/BlockReaderInternal.h"
#include "zeltra/ops/AUVXInput.h"
#include "zeltra/uvx/AUVXBaseLines.h"
#include "zeltra/uvx/AUVXGroup.h"

namespace zeltra {
namespace {

// A list in a sentence names so many things at most.
constexpr size_t kMostNamed = 30;

bool IsNumber(const std::string& text, int& number) {
  const char* end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, number);
  return parsed.ec == std::errc() && parsed.ptr == end;
}

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

AResult AUVXContents::CheckIndex(AUVXInput& input, const ScanVisitor& visit) const {
  AUVXFile& uvx = input.uvx();
  const std::string remedy = "; 'zeltra copy' writes a file with a new one";
  if (scans().count() == 0 && uvx.count() > 0) return AResult::Fail(path_ + ": has no index table NX" + remedy);
  BlockReader reader(input.file());
  int64 next = 1;
  for (int i = 0; i < scans().count(); ++i) {
    const AUVXPositionItem& scan = scans()(i);
    if (scan.startVis != next || scan.endVis < next || scan.endVis > uvx.count()) {
      return AResult::Fail(path_ + ": the index table NX does not follow the records at number " +
                           std::to_string(next) + remedy);
    }
    AUVXGroup ends[2];
    for (int k = 0; k < 2; ++k) {
      const int record = (k == 0 ? scan.startVis : scan.endVis) - 1;
      reader.Seek(uvx.DataOffset() + int64{record} * uvx.recSize());
      char* bytes = reader.Take(AUVXGroup::kBytes);
      if (!bytes) return AResult::Fail(path_ + ": cannot be read in record " + std::to_string(record));
      ends[k].load(bytes);
      if (ends[k].sourceNo() != scan.sourceId || ends[k].freqSel() != scan.freqId) {
        return AResult::Fail(path_ + ": record " + std::to_string(record) + " is of source " +
                             std::to_string(ends[k].sourceNo()) + " in setup " + std::to_string(ends[k].freqSel()) +
                             ", which the index table NX denies" + remedy);
      }
    }
    if (visit) visit(scan, ends[0], ends[1]);
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
  if (IsNumber(text, number) && hasRecords(number)) return AResult::Ok();
  return AResult::Fail(path_ + ": no record of source " + text + "; there are " + SourceList(present));
}

std::string AUVXContents::AntennaList() const {
  std::vector<std::string> names;
  for (int i = 0; i < antennas_.count(); ++i) names.push_back(Named(antennas_(i).id, antennas_(i).Name()));
  return Joined(names);
}

AResult AUVXContents::FindAntenna(const std::string& text, int& number) const {
  const bool isNumber = IsNumber(text, number);
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

}  // namespace zeltra
