// A UVX file's header and tables as UV FITS.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/fits/AFITSxtbl.h"
#include "zeltra/fits/FITSCards.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXSources.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {
namespace {

/// Keywords that the columns and the layout of an extension determine, or that are no keywords with a value.
constexpr std::string_view kStructural[] = {"XTENSION", "BITPIX", "PCOUNT", "GCOUNT",   "TFIELDS", "EXTNAME",
                                            "EXTVER",   "THEAP",  "NAXIS",  "CHECKSUM", "DATASUM", "COMMENT",
                                            "HISTORY",  "END",    "",       "CONTINUE"};
/// The same with the number of an axis or a column behind.
constexpr std::string_view kStructuralSeries[] = {"NAXIS", "TTYPE", "TFORM", "TUNIT", "TDISP"};

bool IsDigits(std::string_view text) {
  return text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool IsStructural(std::string_view key) {
  if (std::find(std::begin(kStructural), std::end(kStructural), key) != std::end(kStructural)) return true;
  return std::any_of(std::begin(kStructuralSeries), std::end(kStructuralSeries), [key](std::string_view series) {
    return key.substr(0, series.size()) == series && IsDigits(key.substr(series.size()));
  });
}

/// A keyword of capital letters, digits, hyphens and underscores.
std::string FITSKey(std::string key) {
  for (char& c : key) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    const bool isAllowed = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    if (!isAllowed) c = '_';
  }
  return key.substr(0, 8);
}

bool IsPrintable(char c) {
  return c >= ' ' && c <= '~';
}

std::string FITSText(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return !IsPrintable(c); }, '?');
  return text;
}

std::string InCapitals(const char* begin, const char* end) {
  std::string text(begin, end);
  std::replace(text.begin(), text.end(), 'e', 'E');
  return text;
}

/// The form of "%.9E" where it says all, else as many digits as read back to the same number. FITS has no text for what
/// is not a finite number, which becomes 0.
std::string FITSNumber(double value) {
  if (!std::isfinite(value)) value = 0;
  char text[40];
  const char* end = std::to_chars(text, std::end(text), value, std::chars_format::scientific, 9).ptr;
  double back = 0;
  std::from_chars(text, end, back);
  if (back != value) end = std::to_chars(text, std::end(text), value, std::chars_format::scientific).ptr;
  return InCapitals(text, end);
}

/// Whether `text` is a number or a logical value as FITS writes them.
bool IsFITSValue(std::string_view text) {
  const auto skipDigits = [&text] {
    const size_t n = std::min(text.find_first_not_of("0123456789"), text.size());
    text.remove_prefix(n);
    return n;
  };
  const auto skipOneOf = [&text](std::string_view set) {
    const bool isThere = !text.empty() && set.find(text.front()) != std::string_view::npos;
    if (isThere) text.remove_prefix(1);
    return isThere;
  };
  if (text == "T" || text == "F") return true;
  skipOneOf("+-");
  size_t digits = skipDigits();
  if (skipOneOf(".")) digits += skipDigits();
  if (digits == 0) return false;
  if (!skipOneOf("ED")) return text.empty();
  skipOneOf("+-");
  return skipDigits() > 0 && text.empty();
}

/// Collects the cards of a header.
class HeaderText {
 public:
  /// A card whose value is written as it stands.
  void AddValue(const std::string& key, const std::string& value) { Add(key, value, 1); }
  void AddInteger(const std::string& key, int64 value) { Add(key, std::to_string(value), 1); }
  void AddNumber(const std::string& key, double value) { Add(key, FITSNumber(value), 1); }
  void AddText(const std::string& key, const std::string& value) { Add(key, FITSText(value), 0); }
  /// The same unless there is no text.
  void AddKnownText(const std::string& key, const std::string& value) {
    if (!value.empty()) AddText(key, value);
  }

  /// Write the cards and END, and blanks up to a whole block. @return 0 if not all is written
  int Write(ABFile& file) {
    cards_ += "END";
    cards_.resize((cards_.size() + kFITSBlock - 1) / kFITSBlock * kFITSBlock, ' ');
    return WriteWhole(file, cards_.data(), static_cast<int64>(cards_.size()));
  }

 private:
  void Add(const std::string& key, const std::string& value, int numeric) {
    char card[kFITSCard];
    FormatCard(card, key, value, numeric);
    cards_.append(card, kFITSCard);
  }

  std::string cards_;
};

std::string Numbered(const char* key, int number) {
  return key + std::to_string(number);
}

// Primary header

/// What of the primary header the tables tell.
struct FirstSource {
  std::string object;
  double ra = 0;  // degrees
  double dec = 0;

  explicit FirstSource(const AUVXTable* table);
};

FirstSource::FirstSource(const AUVXTable* table) {
  if (!table || table->rows() < 1) return;
  AUVXSources sources(*table);
  const AUVXSourceItem& first = sources(0);
  object = sources.count() > 1 ? "MULTI" : first.Name();
  // A list that was made for a single source holds its coordinates in the apparent ones alone.
  const bool hasEpoch = table->FindColumn("RAEPO") >= 0;
  ra = hasEpoch ? first.raEpoch : first.raApp;
  dec = hasEpoch ? first.decEpoch : first.decApp;
}

double FirstChannelWidth(const AUVXTable* setups) {
  return setups ? setups->Number(0, setups->FindColumn("CH WIDTH")) : 0;
}

/// Step of the codes, that of a single one in the direction in which FITS counts its kind.
/// @return 0 if there is none
int StokesStep(const AUVXStokes& stokes, int& step) {
  if (stokes.count() < 1) return 0;
  step = stokes.count() > 1 ? stokes(1) - stokes(0) : stokes(0) < 0 ? -1 : 1;
  for (int i = 2; i < stokes.count(); ++i) {
    if (stokes(i) - stokes(i - 1) != step) return 0;
  }
  return 1;
}

std::vector<const char*> ParameterNames(bool withSourceAndFreqSel, bool withFlag) {
  std::vector<const char*> names = {"UU", "VV", "WW", "BASELINE", "DATE", "DATE"};
  if (withSourceAndFreqSel) names.insert(names.end(), {"SOURCE", "FREQSEL"});
  if (withFlag) names.push_back("FLAG");
  return names;
}

void AddParameters(HeaderText& cards, double dateObs, const std::vector<const char*>& names) {
  constexpr int kFirstDate = 5;
  for (int i = 1; i <= static_cast<int>(names.size()); ++i) {
    cards.AddText(Numbered("PTYPE", i), names[static_cast<size_t>(i - 1)]);
    cards.AddValue(Numbered("PSCAL", i), kFITSScaleOne);
    if (i == kFirstDate) {
      cards.AddNumber(Numbered("PZERO", i), dateObs);
    } else {
      cards.AddValue(Numbered("PZERO", i), kFITSScaleZero);
    }
  }
}

void AddAxis(HeaderText& cards, int axis, const char* type, double value, double step) {
  cards.AddText(Numbered("CTYPE", axis), type);
  cards.AddNumber(Numbered("CRVAL", axis), value);
  cards.AddNumber(Numbered("CDELT", axis), step);
  cards.AddValue(Numbered("CRPIX", axis), kFITSAxisOne);
  cards.AddValue(Numbered("CROTA", axis), kFITSAxisZero);
}

void AddInfo(HeaderText& cards, const AUVXInfoHeader& info, const std::string& object) {
  const std::string telescope = FieldText(info.telescope, sizeof info.telescope);
  cards.AddKnownText("OBJECT", object);
  cards.AddKnownText("TELESCOP", telescope);
  cards.AddKnownText("INSTRUME", telescope);
  cards.AddKnownText("OBSERVER", FieldText(info.observer, sizeof info.observer));
  cards.AddKnownText("DATE-OBS", DateText(info.dateObs));
  cards.AddText("DATE-MAP", FormatCardDate(std::time(nullptr)));
  cards.AddValue("BSCALE", kFITSScaleOne);
  cards.AddValue("BZERO", kFITSScaleZero);
  cards.AddKnownText("BUNIT", FieldText(info.bunit, sizeof info.bunit));
  if (info.epoch != 0) cards.AddNumber("EPOCH", info.epoch);
}

// Tables

/// Make texts and logical values what FITS allows: zero bytes behind the end of a text, printable characters before.
void CleanRows(AUVXTable& table) {
  for (int column = 0; column < table.columnCount(); ++column) {
    const AXTblFormat format = table.ParseFormat(column);
    const int offset = table.ColumnOffset(column);
    if (offset < 0 || format.count < 1 || (format.type != 'A' && format.type != 'L')) continue;
    for (int row = 0; row < table.rows(); ++row) {
      char* begin = table.Row(row) + offset;
      char* end = begin + format.count;
      if (format.type == 'L') {
        std::replace_if(
            begin, end, [](char c) { return c != 'T' && c != 'F'; }, '\0');
      } else {
        char* textEnd = std::find(begin, end, '\0');
        std::replace_if(
            begin, textEnd, [](char c) { return !IsPrintable(c); }, '?');
        std::fill(textEnd, end, '\0');
      }
    }
  }
}

void AddColumns(HeaderText& cards, const AUVXTable& table) {
  for (int i = 0; i < table.columnCount(); ++i) {
    const AUVXTableManual& column = table.columns()(i);
    cards.AddText(Numbered("TTYPE", i + 1), column.Name());
    cards.AddText(Numbered("TFORM", i + 1), column.Format());
    // Units are written where there is none, too: our reader looks for keywords behind the last one.
    cards.AddText(Numbered("TUNIT", i + 1), column.Unit());
  }
}

void AddKeyWords(HeaderText& cards, const AUVXTable& table) {
  for (int i = 0; i < table.keywords().count(); ++i) {
    const AUVXTableKeyWord& keyWord = table.keywords()(i);
    const std::string key = FITSKey(keyWord.Key());
    std::string value = keyWord.Value();
    if (IsStructural(key)) continue;
    // Exponents of numbers are marked by E or D in FITS (standard 4.0, section 4.2.4).
    if (keyWord.numeric) std::replace(value.begin(), value.end(), 'e', 'E');
    if (keyWord.numeric && (value.empty() || IsFITSValue(value))) {
      cards.AddValue(key, value);
    } else {
      cards.AddText(key, value);
    }
  }
}

}  // namespace

int AUVXTable::ToFITS(ABFile& file, int version) {
  HeaderText cards;
  cards.AddText("XTENSION", "BINTABLE");
  cards.AddInteger("BITPIX", 8);
  cards.AddInteger("NAXIS", 2);
  cards.AddInteger("NAXIS1", rowBytes_);
  cards.AddInteger("NAXIS2", rows_);
  cards.AddInteger("PCOUNT", 0);
  cards.AddInteger("GCOUNT", 1);
  cards.AddInteger("TFIELDS", columnCount());
  // Other programs know some codes of this library's own family as tables of another kind.
  cards.AddText("EXTNAME", ((id_ & kOwnFamily) ? "ZELTRA " : "AIPS ") + Code());
  cards.AddInteger("EXTVER", version);
  AddColumns(cards, *this);
  AddKeyWords(cards, *this);

  AUVXTable rows(*this);
  CleanRows(rows);
  rows.Data_PC_UNIX();
  rows.data_.resize((rows.data_.size() + kFITSBlock - 1) / kFITSBlock * kFITSBlock, 0);
  return cards.Write(file) && WriteWhole(file, rows.data(), static_cast<int64>(rows.data_.size()));
}

bool AUVXFile::NeedsSourceAndFreqSel() {
  const std::unique_ptr<AUVXTable> sources(GetTable("SU"));
  const std::unique_ptr<AUVXTable> setups(GetTable("FQ"));
  const std::unique_ptr<AUVXTable> index(GetTable("NX"));
  if (!index) return true;
  if (sources && sources->rows() > 1) return true;
  if (setups && setups->rows() > 1) return true;
  if (sources && sources->rows() == 1 && AUVXSources(*sources)(0).id != 1) return true;
  const int setup = setups ? setups->FindColumn("FRQSEL") : -1;
  if (setup >= 0 && setups->rows() == 1 && setups->Number(0, setup) != 1) return true;
  int64 next = 1;
  const AUVXPosition scans(*index);
  for (int i = 0; i < scans.count(); ++i) {
    const AUVXPositionItem& scan = scans(i);
    if (scan.sourceId != 1 || scan.freqId != 1 || scan.startVis > next) return true;
    next = std::max(next, int64{scan.endVis} + 1);
  }
  return next <= count_;
}

int AUVXFile::ToFITSHeader(ABFile& file) {
  return ToFITSHeader(file, NeedsSourceAndFreqSel(), false);
}

int AUVXFile::ToFITSHeader(ABFile& file, bool withSourceAndFreqSel, bool withFlag) {
  if (!file_) return 0;
  const AUVXHeader header(*this);
  int stokesStep = 0;
  if (!StokesStep(header.stokes, stokesStep) || header.channels < 1) return 0;
  const std::unique_ptr<AUVXTable> sources(GetTable("SU"));
  const std::unique_ptr<AUVXTable> setups(GetTable("FQ"));
  const FirstSource source(sources.get());

  constexpr int kComplex = 3;  // real part, imaginary part, weight
  const int lengths[] = {0, kComplex, header.stokes.count(), header.channels, std::max(int{header.IFs}, 1), 1, 1};
  HeaderText cards;
  cards.AddValue("SIMPLE", kFITSTrue);
  cards.AddInteger("BITPIX", -32);
  cards.AddInteger("NAXIS", static_cast<int>(std::size(lengths)));
  for (int axis = 1; axis <= static_cast<int>(std::size(lengths)); ++axis) {
    cards.AddInteger(Numbered("NAXIS", axis), lengths[axis - 1]);
  }
  const std::vector<const char*> parameters = ParameterNames(withSourceAndFreqSel, withFlag);
  cards.AddValue("EXTEND", kFITSTrue);
  cards.AddValue("GROUPS", kFITSTrue);
  cards.AddInteger("PCOUNT", static_cast<int64>(parameters.size()));
  cards.AddInteger("GCOUNT", header.info.count);
  AddParameters(cards, header.info.dateObs, parameters);
  AddAxis(cards, 2, "COMPLEX", 1, 1);
  AddAxis(cards, 3, "STOKES", header.stokes(0), stokesStep);
  AddAxis(cards, 4, "FREQ", header.freq0, FirstChannelWidth(setups.get()));
  AddAxis(cards, 5, "IF", 1, 1);
  AddAxis(cards, 6, "RA", source.ra, 1);
  AddAxis(cards, 7, "DEC", source.dec, 1);
  AddInfo(cards, header.info, source.object);
  return cards.Write(file);
}

int AUVXFile::ToFITSTables(ABFile& file) {
  const AUVXTableHeader directory(*this);
  std::map<int, int> versions;  // of each family and code
  for (int i = 0; i < directory.count(); ++i) {
    const AUVXTableItem& item = directory(i);
    if (!Seek(int64{item.position})) return 0;
    AUVXTable table(*file_);
    if (table.ID() != item.ID || table.GetSize() != item.size) return 0;
    if (!table.ToFITS(file, ++versions[item.ID & (AUVXTable::kOwnFamily | 0xFFFF)])) return 0;
  }
  return 1;
}

}  // namespace zeltra
