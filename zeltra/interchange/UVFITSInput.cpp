// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <set>

#include "zeltra/core/Text.h"
#include "zeltra/fits/ParseFITSstr.h"
#include "zeltra/interchange/GroupReaderInternal.h"
#include "zeltra/interchange/InputKindInternal.h"
#include "zeltra/interchange/StatedNumbersInternal.h"
#include "zeltra/interchange/UVFITSInputInternal.h"

namespace zeltra {
namespace {

// Twenty times the most seen in real files.
constexpr int kMostCards = 100000;
constexpr char kTooLong[] = " is longer than the 64 MiB that an import takes";
static_assert(kFITSMostHeaderBytes == 64 << 20);

constexpr std::string_view kPrimaryStart = "SIMPLE  =";

// Whether a primary header begins at a byte of a file.
bool IsPrimaryHeaderAt(AFile& file, int64 position) {
  char start[kPrimaryStart.size()] = {};
  return file.Seek(position) && ReadWhole(file, start, sizeof start) &&
         std::string_view(start, sizeof start) == kPrimaryStart;
}

int64 DataEnd(const AFITSbase& unit) {
  return unit.dataStart() + int64{unit.groupBytes()} * std::max(unit.gcount(), 0);
}

std::string Quoted(const std::string& text) {
  return "\"" + text + "\"";
}

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

// Cards that give the layout of the file, that an export makes from the fields of a UVX file or its own date, or that
// it writes anew.
constexpr std::string_view kMadeByExport[] = {
    "SIMPLE", "BITPIX", "EXTEND",  "BLOCKED",  "GROUPS",   "PCOUNT", "GCOUNT", "BSCALE",   "BZERO",  "BLANK",
    "BUNIT",  "EPOCH",  "EQUINOX", "DATE-OBS", "DATE-MAP", "DATE",   "END",    "CHECKSUM", "DATASUM"};
// The same with or without a number after them.
constexpr std::string_view kMadeSeries[] = {"NAXIS", "PTYPE", "PSCAL", "PZERO", "CTYPE",
                                            "CRVAL", "CDELT", "CRPIX", "CROTA", "CUNIT"};

bool IsMadeByExport(std::string_view keyword) {
  if (std::find(std::begin(kMadeByExport), std::end(kMadeByExport), keyword) != std::end(kMadeByExport)) return true;
  return std::any_of(std::begin(kMadeSeries), std::end(kMadeSeries), [keyword](std::string_view series) {
    return keyword.starts_with(series) && keyword.find_first_not_of("0123456789", series.size()) == keyword.npos;
  });
}

// The words of a parameter name: blanks are written as dashes, as in UU---SIN or UU-L-SIN.
std::vector<std::string> Words(const std::string& name) {
  std::vector<std::string> words(1);
  for (const char c : name) {
    if (c != '-' && c != ' ') {
      words.back() += c;
    } else if (!words.back().empty()) {
      words.emplace_back();
    }
  }
  if (words.back().empty()) words.pop_back();
  return words;
}

// The name under which a random parameter is read; empty if it is not read.
std::string KnownParameter(const std::vector<std::string>& words) {
  if (words.empty()) return {};
  const std::string& name = words[0];
  for (const char* coordinate : {"UU", "VV", "WW"}) {
    if (name == coordinate) return name;
  }
  if (name == "_DATE") return "DATE";
  for (const char* known : {"BASELINE", "DATE", "SOURCE", "FREQSEL", "FLAG", "INTTIM"}) {
    if (name == known && words.size() == 1) return name;
  }
  return {};
}

// The same for a parameter next to ANTENNA1 and ANTENNA2, where there is no BASELINE. Judged by its first letter,
// SUBARRAY would be a source.
std::string AntennaParameter(const std::vector<std::string>& words) {
  if (words.size() != 1) return {};
  if (words[0] == "ANTENNA1" || words[0] == "ANTENNA2") return words[0];
  return words[0] == "SUBARRAY" ? kSubarrayParameter : "";
}

bool StartsWith(const std::string& text, const char* start) {
  return text.rfind(start, 0) == 0;
}

}  // namespace

AResult UVFITSInput::Open(std::unique_ptr<AInputFile> file, std::vector<std::string>& remarks) {
  file_ = file.get();
  fits_ = std::make_unique<AFITS>(file_);
  file.release();
  if (const std::string sentence = WhyNoInput(*file_); !sentence.empty()) return Refuse(sentence);
  if (AResult result = ReadHeaders(); !result) return result;
  if (AResult result = CheckFormat(); !result) return result;
  if (const std::string sentence = SettleScales(*fits_->main()); !sentence.empty()) return Refuse(sentence);
  if (AResult result = CheckAxes(remarks); !result) return result;
  if (AResult result = CheckExtent(remarks); !result) return result;
  if (AResult result = PrepareParameters(remarks); !result) return result;
  PrepareHeader(remarks);
  KeepCards(remarks);
  RemarkOnHistory(remarks);
  return AResult::Ok();
}

AResult UVFITSInput::ReadHeaders() {
  AFile& file = *fits_->file();
  const int64 size = file.GetFileSize();
  if (size >= kFITSCard && !IsPrimaryHeaderAt(file, 0)) {
    return Refuse("not a FITS file: it does not begin with a SIMPLE card");
  }
  file.Seek(0);
  const bool isRead = fits_->ReadHeaders();
  const AFITSmain& main = *fits_->main();
  if (main.headerEnd() == 0) {
    return Refuse("the primary header has no END card before the file ends at byte " + std::to_string(size));
  }
  if (main.CardCount() < 1) return Refuse(std::string("the primary header") + kTooLong);
  for (int i = 0; i < main.CardCount(); ++i) {
    const std::string card(main.CardText(i));
    if (StartsWith(card, "HISTORY ")) ReadHistory(card.substr(kFITSKeyword));
  }
  if (const std::string sentence = UnreadableCount(main); !sentence.empty()) return Refuse(sentence);
  if (isRead) return AResult::Ok();
  return IsImage() ? Refuse("an image, not random groups")
                   : Refuse("the primary header promises data that cannot be addressed");
}

std::optional<std::string> UVFITSInput::Find(const std::string& key) const {
  ParseFITSstr card;
  if (!fits_->main()->FindCard(key, card)) return std::nullopt;
  return card.strPar();
}

bool UVFITSInput::ClaimsGroups() const {
  const std::optional<std::string> groups = Find("GROUPS");
  return groups && *groups == "T";
}

bool UVFITSInput::IsImage() const {
  const std::optional<std::string> length = Find("NAXIS1");
  return !ClaimsGroups() && length && ParseNumber(*length) > 0;
}

AResult UVFITSInput::CheckFormat() const {
  const AFITSmain& main = *fits_->main();
  const bool claimsGroups = ClaimsGroups();
  const bool randomGroups = claimsGroups && main.naxis() >= 1 && main.AxisLength(1) == 0;
  if (randomGroups) return AResult::Ok();

  AFITS& fits = *fits_;
  // The primary header of FITS-IDI says GROUPS = T and has no axes.
  if (fits.HasExtTable("UV_DATA") || (claimsGroups && main.naxis() == 0)) {
    return Refuse(
        "a FITS-IDI file (visibilities in the table UV_DATA), not random groups; convert it to UV FITS first, with "
        "FITLD and FITTP of AIPS or importfitsidi and exportuvfits of CASA");
  }
  if (main.AxisLength(1) == 777777701 || fits.HasExtTable("AIPS UV")) {
    return Refuse(
        "a UVTABLE file (visibilities in a binary table), not random groups; convert it to UV FITS first, with FITLD "
        "and FITTP of AIPS");
  }
  if (main.naxis() >= 2 && main.AxisLength(1) > 0) {
    return Refuse("an image of " + std::to_string(main.AxisLength(1)) + " x " + std::to_string(main.AxisLength(2)) +
                  " pixels, not random groups");
  }
  if (!claimsGroups) return Refuse("no random groups: the primary header has no card GROUPS = T");
  return Refuse("no random groups: the card NAXIS1 is not 0");
}

AResult UVFITSInput::CheckAxes(std::vector<std::string>& remarks) {
  AFITSmain& main = *fits_->main();
  const int bytes = main.valueBytes();
  if (bytes != 2 && bytes != 4 && bytes != -4) {
    const std::optional<std::string> bitpix = Find("BITPIX");
    return Refuse("the card BITPIX = " + (bitpix ? *bitpix : "?") + " is not one of 16, 32, -32");
  }
  if (main.naxis() < 2 || !StartsWith(Trimmed(main.ctype(2)), "COMPLEX")) return Refuse("axis 2 is not COMPLEX");
  if (main.AxisLength(2) != 3) {
    return Refuse("axis 2, COMPLEX, has length " + std::to_string(main.AxisLength(2)) + " instead of 3");
  }
  const int stokes = main.FindAxis("STOKES"), freq = main.FindAxis("FREQ"), ifs = main.FindAxis("IF");
  if (!freq) return Refuse("there is no axis FREQ");
  // Axes are found by parts of their names, so one axis may match several.
  const bool inOrder = freq > 2 && (!stokes || (stokes > 2 && stokes < freq)) && (!ifs || ifs > freq);
  if (!inOrder) return Refuse("the axes STOKES, FREQ, IF are not in that order after COMPLEX");
  for (int axis = 3; axis <= main.naxis(); ++axis) {
    const int length = main.AxisLength(axis);
    if (length < 1) return Refuse("axis " + std::to_string(axis) + " has length " + std::to_string(length));
    if (axis == stokes || axis == freq || axis == ifs || length == 1) continue;
    return Refuse("axis " + std::to_string(axis) + ", " + Quoted(main.ctype(axis)) + ", has length " +
                  std::to_string(length) + "; only STOKES, FREQ and IF may be longer than 1");
  }
  if (!stokes) remarks.push_back("there is no axis STOKES: the values are taken as Stokes I");
  if (stokes && main.AxisLength(stokes) > 8) {
    return Refuse("axis STOKES has length " + std::to_string(main.AxisLength(stokes)) + "; a UVX file holds at most 8");
  }
  if (ifs && main.AxisLength(ifs) > std::numeric_limits<int16_t>::max()) {
    return Refuse("axis IF has length " + std::to_string(main.AxisLength(ifs)));
  }
  const int magnitude = std::abs(bytes);
  parameterBytes_ = magnitude * main.pcount();
  values_ = (main.groupBytes() - parameterBytes_) / magnitude / 3;
  if (int64{values_} * 12 + 26 > std::numeric_limits<int>::max()) return Refuse("a group is larger than 2 GiB");
  if (main.gcount() < 1) return Refuse("holds no groups: the card GCOUNT is missing or not positive");
  return AResult::Ok();
}

// Where files have been joined end to end, the groups of all but the first would be lost. The second one follows the
// data at once if their last block is not padded.
AResult UVFITSInput::CheckIsLastFile(const AFITSbase& unit) const {
  for (const int64 end : {DataEnd(unit), unit.nextHeader()}) {
    if (!IsPrimaryHeaderAt(*fits_->file(), end)) continue;
    return Refuse("a second FITS file begins at byte " + std::to_string(end) +
                  "; cut them apart there and import each by itself");
  }
  return AResult::Ok();
}

AResult UVFITSInput::CheckExtent(std::vector<std::string>& remarks) {
  AFITSmain& main = *fits_->main();
  const int64 size = fits_->file()->GetFileSize();
  if (DataEnd(main) > size) {
    const int64 whole = std::max<int64>(0, size - main.dataStart()) / main.groupBytes();
    return Refuse("the file ends at byte " + std::to_string(size) + ", in group " + std::to_string(whole + 1) + " of " +
                  std::to_string(main.gcount()));
  }
  AResult result = CheckIsLastFile(main);
  int64 end = main.nextHeader();
  for (int i = 0; i < fits_->tables().count() && result; ++i) {
    AFITSxtbl& table = *fits_->tables()(i);
    if (table.CardCount() < 1) {
      return Refuse("the header of the table " + Quoted(table.extname()) + kTooLong);
    }
    if (!StartsWith(std::string(table.CardText(0)), "XTENSION")) {
      remarks.push_back("the extension header at byte " + std::to_string(table.headerStart()) +
                        " does not begin with the card XTENSION");
    }
    if (const std::string sentence = UnreadableCount(table); !sentence.empty()) {
      return Refuse("table " + Quoted(table.extname()) + ": " + sentence);
    }
    if (DataEnd(table) > size) {
      return Refuse("the file ends at byte " + std::to_string(size) + ", within the table " + Quoted(table.extname()) +
                    ", which ends at byte " + std::to_string(DataEnd(table)));
    }
    result = CheckIsLastFile(table);
    end = table.nextHeader();
  }
  if (!result || end >= size) return result;
  char start[8] = {};
  fits_->file()->Seek(end);
  fits_->file()->Read(start, sizeof start);
  if (std::memcmp(start, "XTENSION", sizeof start) == 0) {
    return Refuse("the extension header at byte " + std::to_string(end) + " cannot be read");
  }
  remarks.push_back(std::to_string(size - end) + " bytes after the last table, from byte " + std::to_string(end) +
                    " on, are not FITS and are left out");
  return AResult::Ok();
}

AResult UVFITSInput::PrepareParameters(std::vector<std::string>& remarks) {
  AFITSmain& main = *fits_->main();
  if (main.pcount() > main.Parameters()) {
    return Refuse("the card PCOUNT = " + std::to_string(main.pcount()) + " is beyond the 999 that FITS allows");
  }
  std::vector<std::string> lost;
  std::set<std::string> present;
  for (int i = 0; i < main.Parameters(); ++i) present.insert(KnownParameter(Words(main.ptype(i))));
  const bool hasBaseline = present.count("BASELINE") > 0;
  for (int i = 0; i < main.Parameters(); ++i) {
    const std::vector<std::string> words = Words(main.ptype(i));
    std::string known = KnownParameter(words);
    if (known.empty() && !hasBaseline) known = AntennaParameter(words);
    if (known.empty() && !Trimmed(main.ptype(i)).empty()) lost.push_back(Trimmed(main.ptype(i)));
    // Group readers go by first letters, so an unknown parameter must not keep its name.
    main.ptype(i) = known;
    present.insert(known);
    const bool wavelengths = words.size() > 1 && words[1] == "L" && known.size() == 2;
    if (!wavelengths) continue;
    const int freq = main.FindAxis("FREQ");
    const double reference = main.axes()(0, freq - 1);
    if (!(reference > 0)) {
      return Refuse("u, v, w are in wavelengths and the card CRVAL" + std::to_string(freq) + " gives no frequency");
    }
    main.pscal(i) /= reference;
    main.pzero(i) /= reference;
  }
  hasAntennas_ = present.count("ANTENNA1") > 0 && present.count("ANTENNA2") > 0;
  if (hasAntennas_) present.insert("BASELINE");
  for (const char* name : {"UU", "VV", "WW", "BASELINE", "DATE"}) {
    if (!present.count(name)) return Refuse("there is no random parameter " + std::string(name));
  }
  if (!lost.empty()) remarks.push_back("random parameters that a UVX file has no place for: " + Joined(lost));
  return AResult::Ok();
}

void UVFITSInput::PrepareHeader(std::vector<std::string>& remarks) {
  AFITSmain& main = *fits_->main();
  const std::optional<std::string> epoch = Find("EPOCH");
  const std::optional<std::string> given = epoch ? epoch : Find("EQUINOX");
  const std::string text = given ? *given : "";
  const bool isNamed = StartsWith(text, "J") || StartsWith(text, "B");
  if (!epoch || isNamed) {
    const double number = ParseNumber(text.substr(isNamed ? 1 : 0));
    main.epoch() = number > 0 ? number : 2000.0;
    if (!(number > 0)) remarks.push_back("neither EPOCH nor EQUINOX gives the equinox: 2000 is assumed");
  }
  if (Trimmed(main.instrume()).empty()) {
    if (const auto telescope = Find("TELESCOP")) main.instrume() = *telescope;
  }
  header_ = AUVXHeader(*fits_);
  if (header_.stokes.count() < 1) {
    header_.stokes.SetCount(1);
    header_.stokes(0) = 1;
  }
  for (int i = 0; i < header_.stokes.count(); ++i) {
    const int code = header_.stokes(i);
    if (code == 0 || code < -8 || code > 4) {
      remarks.push_back("polarisation " + std::to_string(i + 1) + " has the unknown code " + std::to_string(code));
    }
  }
  const std::optional<std::string> blank = Find("BLANK");
  hasBlank_ = blank && !blank->empty() && main.valueBytes() > 0;
  // A number that no integer of the file can have means that there is no blank.
  const double value = hasBlank_ ? ParseNumber(*blank) : 0;
  hasBlank_ = hasBlank_ && value >= -2147483648.0 && value <= 2147483647.0;
  if (hasBlank_) blank_ = static_cast<int>(value);
}

// What the header says beyond the fields of a UVX file.
void UVFITSInput::KeepCards(std::vector<std::string>& remarks) {
  const AFITSmain& main = *fits_->main();
  int left = 0;
  bool isKept = false;
  for (int i = 0; i + 1 < main.CardCount(); ++i) {  // the last one is END
    const std::string_view card = main.CardText(i), keyword = KeywordOf(card);
    if (card.find_first_not_of(' ') == card.npos) continue;
    // CONTINUE cards belong to the card before them.
    if (keyword != "CONTINUE") isKept = !IsMadeByExport(keyword);
    if (isKept && cards_.count() == kMostCards) ++left;
    if (isKept && cards_.count() < kMostCards) cards_.Add(card);
  }
  if (left > 0) {
    remarks.push_back(std::to_string(left) +
                      " cards of the header, HISTORY among them, are left out: a UVX file keeps " +
                      std::to_string(kMostCards));
  }
}

void UVFITSInput::ReadHistory(const std::string& line) {
  // The last card of each kind counts.
  for (auto [label, value] : {std::pair{"SORT ORDER", &sortOrder_}, std::pair{"WTSCAL", &weightScale_}}) {
    const size_t at = line.find(label);
    if (at == std::string::npos) continue;
    const size_t equals = line.find('=', at);
    if (equals != std::string::npos) *value = Trimmed(line.substr(equals + 1));
  }
}

void UVFITSInput::RemarkOnHistory(std::vector<std::string>& remarks) {
  claimsTimeBaseline_ = sortOrder_.find("TB") != std::string::npos;
  if (const auto card = Find("SORTORD"); card && sortOrder_.empty()) claimsTimeBaseline_ = *card == "TB";
  const double scale = weightScale_.empty() ? 1.0 : ParseNumber(weightScale_);
  if (scale != 1.0) remarks.push_back("the history gives a weight scale of " + weightScale_ + ", which is not applied");
}

}  // namespace zeltra
