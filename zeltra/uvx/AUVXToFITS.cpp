// A UVX file's header and tables as UV FITS.
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "zeltra/core/Text.h"
#include "zeltra/fits/AFITSxtbl.h"
#include "zeltra/fits/FITSCards.h"
#include "zeltra/fits/FITSHeaderWriterInternal.h"
#include "zeltra/fits/FITSTextInternal.h"
#include "zeltra/uvx/AUVXFile.h"
#include "zeltra/uvx/AUVXHeader.h"
#include "zeltra/uvx/AUVXHeaderCards.h"
#include "zeltra/uvx/AUVXPosition.h"
#include "zeltra/uvx/AUVXSources.h"
#include "zeltra/uvx/AUVXTable.h"
#include "zeltra/uvx/AUVXTableInternal.h"

namespace zeltra {
namespace {

/// A keyword of capital letters, digits, hyphens and underscores.
std::string FITSKey(std::string key) {
  for (char& c : key) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    const bool isAllowed = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
    if (!isAllowed) c = '_';
  }
  return key.substr(0, 8);
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

std::string Numbered(const char* key, int number) {
  return key + std::to_string(number);
}

// Primary header

/// The parts of the primary header that come from the tables.
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
  // A list made for a single source holds its coordinates as apparent ones only.
  const bool hasEpoch = table->FindColumn("RAEPO") >= 0;
  ra = hasEpoch ? first.raEpoch : first.raApp;
  dec = hasEpoch ? first.decEpoch : first.decApp;
}

double FirstChannelWidth(const AUVXTable* setups) {
  return setups ? setups->Number(0, setups->FindColumn("CH WIDTH")) : 0;
}

/// Step between the codes; for a single code, the direction in which FITS counts codes of its kind.
/// @return 0 if there is none
int StokesStep(const AUVXStokes& stokes, int& step) {
  if (stokes.count() < 1) return 0;
  step = stokes.count() > 1 ? stokes(1) - stokes(0) : stokes(0) < 0 ? -1 : 1;
  for (int i = 2; i < stokes.count(); ++i) {
    if (stokes(i) - stokes(i - 1) != step) return 0;
  }
  return 1;
}

std::vector<const char*> ParameterNames(const AUVXFITSForm& form) {
  std::vector<const char*> names = {"UU", "VV", "WW", "BASELINE", "DATE", "DATE"};
  if (form.withSourceAndFreqSel) names.insert(names.end(), {"SOURCE", "FREQSEL"});
  if (form.withFlag) names.push_back("FLAG");
  if (form.withIntegration) names.push_back("INTTIM");
  return names;
}

void AddParameters(FITSHeaderWriter& cards, double dateObs, const std::vector<const char*>& names) {
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

void AddAxis(FITSHeaderWriter& cards, int axis, const char* type, double value, double step) {
  cards.AddText(Numbered("CTYPE", axis), type);
  cards.AddNumber(Numbered("CRVAL", axis), value);
  cards.AddNumber(Numbered("CDELT", axis), step);
  cards.AddValue(Numbered("CRPIX", axis), kFITSAxisOne);
  cards.AddValue(Numbered("CROTA", axis), kFITSAxisZero);
}

void AddInfo(FITSHeaderWriter& cards, const AUVXInfoHeader& info, const std::string& object,
             const AUVXHeaderCards& kept) {
  const std::string telescope = FieldText(info.telescope, sizeof info.telescope);
  const auto addUnlessKept = [&](const char* key, const std::string& text) {
    if (!kept.Find(key)) cards.AddKnownText(key, text);
  };
  cards.AddKnownText("OBJECT", kept.ObjectOf(object));
  addUnlessKept("TELESCOP", telescope);
  addUnlessKept("INSTRUME", telescope);
  addUnlessKept("OBSERVER", FieldText(info.observer, sizeof info.observer));
  cards.AddDay("DATE-OBS", info.dateObs);
  cards.AddText("DATE-MAP", FormatCardDate(std::time(nullptr)));
  cards.AddValue("BSCALE", kFITSScaleOne);
  cards.AddValue("BZERO", kFITSScaleZero);
  cards.AddKnownText("BUNIT", FieldText(info.bunit, sizeof info.bunit));
  if (info.epoch != 0) cards.AddNumber("EPOCH", info.epoch);
}

/// Whether the value of a card, the text after "= ", is valid in FITS.
bool HasFITSValue(std::string_view text) {
  const std::string value = Trimmed(text);
  if (value.starts_with('(')) return true;  // a complex number
  if (!value.starts_with('\'')) {
    const std::string number = Trimmed(value.substr(0, value.find('/')));
    return number.empty() || IsFITSValue(number);
  }
  size_t end = value.find('\'', 1);
  while (end != value.npos && value.substr(end, 2) == "''") end = value.find('\'', end + 2);
  if (end == value.npos) return false;
  const std::string rest = Trimmed(value.substr(end + 1));
  return rest.empty() || rest.starts_with('/');
}

bool IsFITSCard(std::string_view card) {
  const std::string key(KeywordOf(card));
  const bool hasValue = card.substr(kFITSKeyword, 2) == "= " && key != "HISTORY" && key != "COMMENT" && !key.empty();
  return FITSKey(key) == key && (!hasValue || HasFITSValue(card.substr(kFITSKeyword + 2)));
}

void AddKept(FITSHeaderWriter& cards, const AUVXHeaderCards& kept) {
  for (int i = 0; i < kept.count(); ++i) {
    const std::string card(kept(i));
    if (KeywordOf(card) == "OBJECT") continue;
    if (IsFITSCard(card)) {
      cards.AddCard(card);
    } else {
      cards.AddCard("COMMENT " + card.substr(0, kFITSCard - kFITSKeyword));
      if (const std::string rest = Trimmed(card.substr(kFITSCard - kFITSKeyword)); !rest.empty()) {
        cards.AddCard("COMMENT " + rest);
      }
    }
  }
}

// Tables

/// Give texts and logical values a form that FITS allows: a text has printable characters, and zero bytes after its
/// end.
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
        ClearAfterZero(begin, format.count, end);
        ReplaceUnprintable(begin, end);
      }
    }
  }
}

void AddColumns(FITSHeaderWriter& cards, const AUVXTable& table) {
  for (int i = 0; i < table.columnCount(); ++i) {
    const AUVXTableManual& column = table.columns()(i);
    cards.AddText(Numbered("TTYPE", i + 1), column.Name());
    cards.AddText(Numbered("TFORM", i + 1), column.Format());
    // Empty units are written too: our reader looks for keywords after the last unit.
    cards.AddText(Numbered("TUNIT", i + 1), column.Unit());
  }
}

void AddKeyWords(FITSHeaderWriter& cards, const AUVXTable& table) {
  for (int i = 0; i < table.keywords().count(); ++i) {
    const AUVXTableKeyWord& keyWord = table.keywords()(i);
    const std::string key = FITSKey(keyWord.Key());
    std::string value = keyWord.Value();
    if (IsStructuralKeyword(key)) continue;
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

int AUVXTable::ToFITS(ABFile& file, int version) const {
  FITSHeaderWriter cards;
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
  const auto bytes = static_cast<int64>(rows.data_.size());
  return cards.Write(file) && WriteWhole(file, rows.data(), bytes) && PadFITSData(file, bytes);
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
  AUVXFITSForm form;
  form.withSourceAndFreqSel = NeedsSourceAndFreqSel();
  return ToFITSHeader(file, form);
}

int AUVXFile::ToFITSHeader(ABFile& file, const AUVXFITSForm& form) {
  if (!file_) return 0;
  const AUVXHeader header(*this);
  int stokesStep = 0;
  if (!StokesStep(header.stokes, stokesStep) || header.channels < 1) return 0;
  const std::unique_ptr<AUVXTable> sources(GetTable("SU"));
  const std::unique_ptr<AUVXTable> setups(GetTable("FQ"));
  const FirstSource source(sources.get());

  constexpr int kComplex = 3;  // real part, imaginary part, weight
  const int lengths[] = {0, kComplex, header.stokes.count(), header.channels, std::max(int{header.IFs}, 1), 1, 1};
  FITSHeaderWriter cards;
  cards.AddLogical("SIMPLE");
  cards.AddInteger("BITPIX", -32);
  cards.AddInteger("NAXIS", static_cast<int>(std::size(lengths)));
  for (int axis = 1; axis <= static_cast<int>(std::size(lengths)); ++axis) {
    cards.AddInteger(Numbered("NAXIS", axis), lengths[axis - 1]);
  }
  const std::vector<const char*> parameters = ParameterNames(form);
  cards.AddLogical("EXTEND");
  cards.AddLogical("GROUPS");
  cards.AddInteger("PCOUNT", static_cast<int64>(parameters.size()));
  cards.AddInteger("GCOUNT", header.info.count);
  AddParameters(cards, header.info.dateObs, parameters);
  AddAxis(cards, 2, "COMPLEX", 1, 1);
  AddAxis(cards, 3, "STOKES", header.stokes(0), stokesStep);
  AddAxis(cards, 4, "FREQ", header.freq0, FirstChannelWidth(setups.get()));
  AddAxis(cards, 5, "IF", 1, 1);
  AddAxis(cards, 6, "RA", source.ra, 1);
  AddAxis(cards, 7, "DEC", source.dec, 1);
  const AUVXHeaderCards none, &kept = form.cards ? *form.cards : none;
  AddInfo(cards, header.info, source.object, kept);
  AddKept(cards, kept);
  return cards.Write(file);
}

int AUVXFile::ToFITSTables(ABFile& file) {
  return ToFITSTables(file, [](AUVXTable&) { return true; });
}

int AUVXFile::ToFITSTables(ABFile& file, const std::function<bool(AUVXTable&)>& choose) {
  const AUVXTableHeader directory(*this);
  std::map<int, int> versions;  // of each family and code
  for (int i = 0; i < directory.count(); ++i) {
    const AUVXTableItem& item = directory(i);
    if (!Seek(int64{item.position})) return 0;
    AUVXTable table(*file_);
    if (table.ID() != item.ID || table.GetSize() != item.size) return 0;
    if (!choose(table)) continue;
    if (!table.ToFITS(file, ++versions[item.ID & (AUVXTable::kOwnFamily | 0xFFFF)])) return 0;
  }
  return 1;
}

}  // namespace zeltra
