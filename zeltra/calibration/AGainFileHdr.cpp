// SPDX-License-Identifier: MIT
#include "zeltra/calibration/AGainFileHdr.h"

#include <algorithm>
#include <cmath>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/OutputFileInternal.h"
#include "zeltra/core/Parse.h"
#include "zeltra/core/Text.h"
#include "zeltra/interchange/InputKindInternal.h"
#include "zeltra/ops/AUVXContents.h"
#include "zeltra/ops/AUVXInput.h"

namespace zeltra {
namespace {

template <typename Entry>
int64 BytesOf(int64 count) {
  return count * static_cast<int64>(sizeof(Entry));
}

// The size of the file that a header promises; negative if one of its counts is invalid.
int64 FileBytes(const AGainFileHdr& header) {
  if (header.count < 0 || header.antennas < 0 || header.sources < 0 || header.setups < 0 || header.IFs < 1) return -1;
  return BytesOf<AGainFileHdr>(1) + BytesOf<AGainAntenna>(header.antennas) + BytesOf<AGainSource>(header.sources) +
         BytesOf<AGainFrequency>(int64{header.setups} * header.IFs) + 4 + BytesOf<AGainArrayItem>(header.count);
}

template <typename Entry>
int ReadList(AFile& file, int64 count, std::vector<Entry>& list) {
  list.resize(static_cast<size_t>(count));
  return count == 0 || ReadWhole(file, list.data(), BytesOf<Entry>(count));
}

template <typename Entry>
void WriteList(AFile& file, const std::vector<Entry>& list) {
  if (!list.empty()) WriteWhole(file, list.data(), BytesOf<Entry>(static_cast<int64>(list.size())));
}

// What is wrong with a gain; empty if nothing.
std::string WhyNoGain(const AGainArrayItem& item, const AGainFileHdr& header) {
  const double numbers[] = {item.re, item.im, item.delay, item.rate};
  const auto isFinite = [](double x) { return std::isfinite(x); };
  if (!isFinite(item.time) || !(item.interval >= 0) || !isFinite(item.interval)) return "its time is no number";
  if (item.ifIndex < 0 || item.ifIndex >= header.IFs) return "there is no IF " + std::to_string(item.ifIndex + 1);
  if (item.hand < 0 || item.hand > 1) return "there is no hand " + std::to_string(item.hand);
  if (!item.isValid()) return {};
  if (!isFinite(item.weight) || !std::all_of(std::begin(numbers), std::end(numbers), isFinite)) {
    return "it is not finite";
  }
  return item.re == 0 && item.im == 0 ? "it is 0" : "";
}

AResult CheckHeader(const std::string& path, AInputFile& file, const AGainFileHdr& header) {
  if (header.version != AGainFileHdr::kVersion) {
    return AResult::Fail(path + ": is a gain file of version " + std::to_string(header.version) +
                         ", this program reads version " + std::to_string(AGainFileHdr::kVersion));
  }
  const int64 bytes = FileBytes(header);
  if (bytes < 0 || header.hands < 1 || header.hands > 2 || !std::isfinite(header.dateObs)) {
    return AResult::Fail(path + ": damaged, the counts in its header are no counts");
  }
  if (bytes == file.GetFileSize()) return AResult::Ok();
  return AResult::Fail(path + ": damaged, its header promises " + std::to_string(bytes) + " bytes, there are " +
                       std::to_string(file.GetFileSize()));
}

AResult ReadGains(AInputFile& file, const std::string& path, AGains& gains) {
  AGainFileHdr& header = gains.header;
  if (!HasBytes(file, sizeof header) || !ReadWhole(file, &header, sizeof header) ||
      header.magic != AGainFileHdr::kMagic) {
    return AResult::Fail(path + ": is no gain file");
  }
  if (AResult result = CheckHeader(path, file, header); !result) return result;
  const bool isRead = ReadList(file, header.antennas, gains.antennas) &&
                      ReadList(file, header.sources, gains.sources) &&
                      ReadList(file, int64{header.setups} * header.IFs, gains.frequencies) && gains.list.Load(file);
  if (!isRead) return AResult::Fail(path + ": damaged, its lists cannot be read");
  if (gains.list.count() != header.count) {
    return AResult::Fail(path + ": damaged, it has " + std::to_string(gains.list.count()) + " gains and promises " +
                         std::to_string(int{header.count}));
  }
  for (int i = 0; i < gains.list.count(); ++i) {
    const std::string why = WhyNoGain(gains.list(i), header);
    if (!why.empty()) return AResult::Fail(path + ": damaged in gain " + std::to_string(i + 1) + ": " + why);
  }
  gains.list.Sort();
  return AResult::Ok();
}

void DescribePolarisations(const AUVXStokes& stokes, AGainFileHdr& header) {
  const auto has = [&stokes](int code) {
    int index = 0;
    return stokes.FindStokes(code, index) != 0;
  };
  header.hands = 0;
  for (const auto& [first, second] : {std::pair{-1, -2}, {-5, -6}}) {
    for (const int code : {first, second}) {
      if (has(code) && header.hands < 2) header.codes[header.hands++] = static_cast<int16_t>(code);
    }
    if (header.hands > 0) return;
  }
  if (stokes.count() > 0 && stokes(0) < 0) {
    header.hands = 2;  // cross hands alone
    header.codes[0] = stokes(0) < -4 ? -5 : -1;
    header.codes[1] = stokes(0) < -4 ? -6 : -2;
    return;
  }
  header.hands = 1;
  header.codes[0] = 1;
}

}  // namespace

double AGains::Frequency(int setup, int ifIndex) const {
  for (const AGainFrequency& entry : frequencies) {
    if (entry.setup == setup && entry.ifIndex == ifIndex) return entry.start;
  }
  return 0;
}

std::string AGains::AntennaName(int number) const {
  for (const AGainAntenna& antenna : antennas) {
    if (antenna.number != number) continue;
    std::string name = FieldText(antenna.name, sizeof antenna.name);
    if (!name.empty()) return name;
  }
  return std::to_string(number);
}

AResult AGains::FindSource(const std::string& text, int& number) const {
  if (!text.starts_with("=") && strToVal(text, number)) return AResult::Ok();
  const std::string name = text.starts_with("=") ? text.substr(1) : text;
  std::string known;
  for (const AGainSource& source : sources) {
    const std::string present = FieldText(source.name, sizeof source.name);
    number = source.number;
    if (IsSameWord(present, name)) return AResult::Ok();
    known += (known.empty() ? "" : ", ") + present;
  }
  return AResult::Fail(label + ": no source " + text + "; there " + (known.empty() ? "are none" : "are " + known));
}

std::string HandName(const AGainFileHdr& header, int hand) {
  for (const int16_t code : {header.codes[0], header.codes[1]}) {
    if (code != 0 && HandOf(code) == hand) return AStokesItem(0, code).asShortString();
  }
  return hand == 0 ? "1" : "2";
}

AResult DescribeGains(AUVXInput& input, AGains& gains) {
  const AUVXContents& contents = input.contents();
  if (AResult result = contents.CheckLists(); !result) return result;
  AGainFileHdr& header = gains.header;
  const AUVXHeader& given = contents.header();
  header = AGainFileHdr();
  header.dateObs = given.info.dateObs;
  header.freq0 = given.freq0;
  header.IFs = static_cast<int16_t>(std::clamp(int{given.IFs}, 1, INT16_MAX));
  if (given.IFs > INT16_MAX) return AResult::Fail(input.path() + ": has more IFs than gains are kept for, 32767");
  DescribePolarisations(given.stokes, header);
  SetFieldText(header.timeScale, sizeof header.timeScale, contents.timeScale());
  SetFieldText(header.telescope, sizeof header.telescope, FieldText(given.info.telescope, sizeof given.info.telescope));
  gains.antennas.clear();
  for (int i = 0; i < contents.antennas().count() && i < 256; ++i) {
    AGainAntenna& antenna = gains.antennas.emplace_back();
    antenna.number = static_cast<uint8_t>(contents.antennas()(i).id);
    SetFieldText(antenna.name, sizeof antenna.name, contents.antennas()(i).Name());
  }
  gains.sources.clear();
  for (int i = 0; i < contents.sources().count() && i < INT16_MAX; ++i) {
    AGainSource& source = gains.sources.emplace_back();
    source.number = static_cast<int16_t>(contents.sources()(i).id);
    SetFieldText(source.name, sizeof source.name, contents.sources()(i).Name());
  }
  gains.frequencies.clear();
  const AUVXFqTbl& setups = contents.setups();
  for (int row = 0; row < setups.GetFreqSels() && row < INT16_MAX; ++row) {
    for (int i = 0; i < header.IFs; ++i) {
      gains.frequencies.push_back(
          {setups.GetFreqSelID(row), i, setups.GetStartIFFq(i, row), setups.GetDeltaIFFq(i, row)});
    }
  }
  gains.list.Free();
  return AResult::Ok();
}

AResult LoadGains(const std::string& path, AGains& gains) {
  AInputFile file;
  gains.label = path;
  if (const std::string why = WhyNoInput(path); !why.empty()) return AResult::Fail(path + ": " + why);
  if (AResult result = file.Open(path); !result) return result;
  return file.Settle(ReadGains(file, path, gains));
}

AResult StoreGains(const std::string& path, const AGains& gains, const JobOptions& options) {
  AGainFileHdr header = gains.header;
  header.count = gains.list.count();
  header.antennas = static_cast<int16_t>(gains.antennas.size());
  header.sources = static_cast<int16_t>(gains.sources.size());
  header.setups = static_cast<int16_t>(gains.frequencies.size() / static_cast<size_t>(std::max<int>(header.IFs, 1)));
  OutputFile output;
  if (AResult result = output.Create(path, options); !result) return result;
  AFile& file = output.file();
  WriteWhole(file, &header, sizeof header);
  WriteList(file, gains.antennas);
  WriteList(file, gains.sources);
  WriteList(file, gains.frequencies);
  AGainArray(gains.list).Store(file);
  return output.Commit();
}

AResult FindGainFile(const std::string& path, bool& isOne) {
  AInputFile file;
  int32_t magic = 0;
  isOne = false;
  if (!WhyNoInput(path).empty()) return AResult::Ok();
  if (AResult result = file.Open(path); !result) return result;
  isOne = HasBytes(file, sizeof magic) && ReadWhole(file, &magic, sizeof magic) && magic == AGainFileHdr::kMagic;
  return file.Check();
}

}  // namespace zeltra
