// SPDX-License-Identifier: MIT
#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>

#include "zeltra/core/AInputFile.h"
#include "zeltra/core/Dates.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"
#include "zeltra/ops/FlagEntriesInternal.h"

namespace zeltra {
namespace {

constexpr int64 kMostBytes = 256 << 20;

struct FlagWord {
  std::string text;
  bool isQuoted = false;
};

// Splits a text into words and signs (= , /), counting lines. Comments extend from ! to the end of a line.
class FlagLexer {
 public:
  explicit FlagLexer(const std::string& text) : text_(text) {}

  int line() const { return line_; }
  /// Skip blanks and comments. @return the next character, 0 at the end
  char Peek();
  /// Skip the next character if it is this one.
  bool Takes(char sign) { return Peek() == sign && (++at_, true); }
  /// @return false if there is no word, or a quote is not closed
  bool Word(FlagWord& word);

 private:
  const std::string& text_;
  size_t at_ = 0;
  int line_ = 1;
};

char FlagLexer::Peek() {
  for (; at_ < text_.size(); ++at_) {
    if (text_[at_] == '!') at_ = std::min(text_.find('\n', at_), text_.size());
    if (at_ == text_.size()) break;
    if (text_[at_] == '\n') ++line_;
    if (std::string_view(" \t\r\n").find(text_[at_]) == std::string_view::npos) return text_[at_];
  }
  return 0;
}

bool FlagLexer::Word(FlagWord& word) {
  const char first = Peek();
  if (first == 0 || first == '=' || first == ',' || first == '/') return false;
  word.isQuoted = first == '\'' || first == '"';
  if (!word.isQuoted) {
    const size_t end = std::min(text_.find_first_of(" \t\r\n!=,/'\"", at_), text_.size());
    word.text = text_.substr(at_, end - at_);
    at_ = end;
    return true;
  }
  const size_t end = text_.find_first_of(std::string("\n") + first, at_ + 1);
  if (end == std::string::npos || text_[end] == '\n') return false;
  word.text = Trimmed(text_.substr(at_ + 1, end - at_ - 1));
  at_ = end + 1;
  return true;
}

// Reads a text entry by entry. Errors are reported with their line.
class FlagTextReader {
 public:
  FlagTextReader(const std::string& path, const std::string& text, const AUVXContents& contents, FlagEntries& entries,
                 FlagListNotes& notes)
      : path_(path), lexer_(text), contents_(contents), entries_(entries), notes_(notes) {
    const double date = contents.header().info.dateObs;
    newYear_ = JulianDateOf(std::to_string(CalendarDate(date).year) + "-01-01");
    nextYear_ = JulianDateOf(std::to_string(CalendarDate(date).year + 1) + "-01-01");
    firstDay_ = date - newYear_ + 1;
  }

  AResult Run();

 private:
  using Pair = std::pair<int, int>;

  AResult Fail(const std::string& what) const {
    return AResult::Fail(path_ + ": line " + std::to_string(line_) + ": " + what);
  }
  AResult ReadAssignment();
  AResult Apply(const std::string& key, const std::vector<FlagWord>& values);
  AResult ApplyNumber(const std::string& key, const std::vector<FlagWord>& values);
  AResult ApplyTimes(const std::vector<FlagWord>& values);
  AResult ApplyPolarisations(const std::vector<FlagWord>& values);
  void ApplyPartners(const std::vector<FlagWord>& values);
  void ApplyAntennas(const std::vector<FlagWord>& values);
  void ApplySources(const std::vector<FlagWord>& values);
  AResult DateOf(const double (&numbers)[8], int first, double& date) const;
  bool FindAntenna(const FlagWord& word, int& number);
  void NoteUnknown(const std::string& what, const std::string& name);
  AResult EndEntry();

  const std::string path_;
  FlagLexer lexer_;
  int line_ = 1;  // of the keyword or / being read
  const AUVXContents& contents_;
  FlagEntries& entries_;
  FlagListNotes& notes_;
  double newYear_ = 0, nextYear_ = 0;  // Julian dates
  double firstDay_ = 0;                // of the year, from 1
  FlagEntry entry_;
  bool selects_ = false, hasReason_ = false;
  // What the entry names; if it names nothing, it means all. If the file lacks all that is named, a list is empty but
  // does not mean all.
  bool namesAntennas_ = false, namesSources_ = false, namesPartners_ = false;
  std::set<int> antennas_, partners_, sources_;
  std::set<Pair> baselines_;
  std::set<std::string> unknown_;
  std::map<std::string, std::optional<int>> knownSources_;
};

AResult FlagTextReader::Run() {
  while (lexer_.Peek() != 0) {
    line_ = lexer_.line();
    AResult result = lexer_.Takes('/') ? EndEntry() : ReadAssignment();
    if (!result) return result;
  }
  if (selects_) return Fail("the last entry does not end with /");
  notes_.unknown.assign(unknown_.begin(), unknown_.end());
  entries_.Settle();
  return AResult::Ok();
}

AResult FlagTextReader::ReadAssignment() {
  FlagWord key, value;
  if (!lexer_.Word(key) || key.isQuoted) return Fail("a keyword was to come, or / after an entry");
  if (!lexer_.Takes('=')) return Fail("'" + key.text + "' is followed by no = and value");
  std::vector<FlagWord> values;
  do {
    if (!lexer_.Word(value)) return Fail("'" + key.text + "' lacks a value, or a quote has no end");
    values.push_back(value);
  } while (lexer_.Takes(','));
  std::transform(key.text.begin(), key.text.end(), key.text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return Apply(key.text, values);
}

AResult FlagTextReader::Apply(const std::string& key, const std::vector<FlagWord>& values) {
  if (key == "opcode") {
    return IsSameWord(values[0].text, "FLAG") ? AResult::Ok() : Fail("opcode " + values[0].text + " is not FLAG");
  }
  if (key == "reason") {
    hasReason_ = true;
    return AResult::Ok();
  }
  if (key == "timerang" || key == "timerange") return ApplyTimes(values);
  if (key == "stokes") return ApplyPolarisations(values);
  if (key == "ant_name" || key == "antennas" || key == "antenna") {
    ApplyAntennas(values);
  } else if (key == "sources" || key == "source") {
    ApplySources(values);
  } else if (key == "baseline") {
    ApplyPartners(values);
  } else {
    return ApplyNumber(key, values);
  }
  return AResult::Ok();
}

AResult FlagTextReader::ApplyNumber(const std::string& key, const std::vector<FlagWord>& values) {
  double number = 0;
  if (values.size() != 1 || !strToVal(values[0].text, number) || number != std::floor(number) || number > 1e9) {
    static const std::set<std::string> known = {"dtimrang", "timeoff", "bif",    "eif",
                                                "bchan",    "echan",   "freqid", "subarray"};
    return known.contains(key) ? Fail(key + " takes a whole number") : Fail("'" + key + "' is no word of flags");
  }
  const int whole = static_cast<int>(std::max(number, -1.0));
  if (key == "dtimrang" || key == "timeoff") {
    const int only = key == "dtimrang" ? 1 : 0;
    return whole == only ? AResult::Ok() : Fail(key + " other than " + std::to_string(only) + " is not understood");
  }
  static const std::map<std::string, std::pair<int FlagEntry::*, int>> places = {
      {"bif", {&FlagEntry::firstIF, 1}},        {"eif", {&FlagEntry::lastIF, 1}},
      {"bchan", {&FlagEntry::firstChannel, 1}}, {"echan", {&FlagEntry::lastChannel, 1}},
      {"freqid", {&FlagEntry::setup, 0}},       {"subarray", {&FlagEntry::subarray, 0}}};
  const auto place = places.find(key);
  if (place == places.end()) return Fail("'" + key + "' is no word of flags");
  selects_ = true;
  const auto [member, first] = place->second;
  if (whole > 0) entry_.*member = whole - first;
  return AResult::Ok();
}

AResult FlagTextReader::ApplyTimes(const std::vector<FlagWord>& values) {
  double numbers[8] = {};
  if (values.size() > 8) return Fail("timerang has more than 8 numbers");
  bool isAll = true;
  for (size_t i = 0; i < values.size(); ++i) {
    if (!strToVal(values[i].text, numbers[i])) return Fail("timerang has '" + values[i].text + "' for a number");
    isAll = isAll && numbers[i] == 0;
  }
  selects_ = true;
  if (isAll) return AResult::Ok();
  if (values.size() != 8) return Fail("timerang is day, hour, minute, second of the beginning and of the end");
  if (AResult result = DateOf(numbers, 0, entry_.begin); !result) return result;
  if (AResult result = DateOf(numbers, 4, entry_.end); !result) return result;
  // A range that begins before the observation date and ends on it or later lies within one year.
  if (entry_.end < entry_.begin && numbers[0] < firstDay_) entry_.begin -= nextYear_ - newYear_;
  if (entry_.end < entry_.begin) return Fail("timerang ends before it begins");
  entry_.begin -= FlagEntry::kTimeTolerance;
  entry_.end += FlagEntry::kTimeTolerance;
  return AResult::Ok();
}

// A day of the year before that of the observation date belongs to the next year.
AResult FlagTextReader::DateOf(const double (&numbers)[8], int first, double& date) const {
  const double day = numbers[first], hour = numbers[first + 1], minute = numbers[first + 2],
               second = numbers[first + 3];
  if (newYear_ == 0 || nextYear_ == 0) return Fail("timerang counts from an observation date that is not known");
  const bool isTime = hour >= 0 && hour <= 24 && minute >= 0 && minute <= 60 && second >= 0 && second <= 61;
  if (!(day >= 1 && day <= 366 && day == std::floor(day)) || !isTime) {
    return Fail("timerang takes days of the year from 1 to 366 and times of day");
  }
  date = (day < firstDay_ ? nextYear_ : newYear_) + day - 1 + ((hour * 60 + minute) * 60 + second) / kSecondsPerDay;
  return AResult::Ok();
}

AResult FlagTextReader::ApplyPolarisations(const std::vector<FlagWord>& values) {
  const AUVXStokes& stored = contents_.header().stokes;
  entry_.polarisations = 0;
  selects_ = true;
  for (const FlagWord& value : values) {
    unsigned mask = value.text.empty() || IsSameWord(value.text, "FULL") ? ~0u : 0;
    for (int i = 0; i < stored.count() && mask != ~0u; ++i) {
      if (IsSameWord(AStokesItem(i, stored(i)).asShortString(), value.text)) mask |= 1u << i;
    }
    if (mask == 0) return Fail("stokes '" + value.text + "' is neither FULL nor a polarisation of the file");
    entry_.polarisations |= mask;
  }
  return AResult::Ok();
}

void FlagTextReader::NoteUnknown(const std::string& what, const std::string& name) {
  if (unknown_.size() < 1000) unknown_.insert(what + " " + name);
}

// Quoted words are names, even if they are numbers.
bool FlagTextReader::FindAntenna(const FlagWord& word, int& number) {
  if (contents_.FindAntenna((word.isQuoted ? "=" : "") + word.text, number)) return true;
  NoteUnknown("antenna", word.text);
  return false;
}

void FlagTextReader::ApplyAntennas(const std::vector<FlagWord>& values) {
  selects_ = true;
  for (const FlagWord& value : values) {
    if (value.text.empty() || (!value.isQuoted && value.text == "0")) continue;
    namesAntennas_ = true;
    int number = 0;
    if (FindAntenna(value, number)) antennas_.insert(number);
  }
}

void FlagTextReader::ApplySources(const std::vector<FlagWord>& values) {
  selects_ = true;
  for (const FlagWord& value : values) {
    if (value.text.empty() || (!value.isQuoted && value.text == "0")) continue;
    namesSources_ = true;
    // The index is searched only for new names.
    const std::string name = (value.isQuoted ? "=" : "") + value.text;
    const auto [known, isNew] = knownSources_.emplace(name, std::nullopt);
    int number = 0;
    if (isNew && contents_.FindSource(name, number)) known->second = number;
    if (known->second) {
      sources_.insert(*known->second);
    } else {
      NoteUnknown("source", value.text);
    }
  }
}

// The second antennas of baselines from `antennas`, or whole baselines as in 'Pa-At'.
void FlagTextReader::ApplyPartners(const std::vector<FlagWord>& values) {
  selects_ = true;
  for (const FlagWord& value : values) {
    if (value.text.empty() || (!value.isQuoted && value.text == "0")) continue;
    namesPartners_ = true;
    int first = 0, second = 0;
    if (contents_.FindBaseline(value.text, first, second)) {
      baselines_.insert({first, second});
    } else if (value.text.find('-') != std::string::npos) {
      NoteUnknown("baseline", value.text);
    } else if (FindAntenna(value, first)) {
      partners_.insert(first);
    }
  }
}

// Make one entry for each baseline and source.
AResult FlagTextReader::EndEntry() {
  std::set<Pair> baselines = std::exchange(baselines_, {});
  const std::set<int> all = {FlagEntry::kAll};
  if (!partners_.empty() && !namesAntennas_) return Fail("baseline names antennas, and antennas does not");
  for (const int antenna : namesAntennas_ ? antennas_ : all) {
    if (!namesPartners_) baselines.insert({antenna, FlagEntry::kAll});
    for (const int partner : partners_) baselines.insert({antenna, partner});
  }
  if (hasReason_ && !selects_) return Fail("the entry says nothing of what to flag");
  const std::set<int>& sources = namesSources_ ? sources_ : all;
  if (baselines.size() * sources.size() > FlagEntries::kMost - entries_.count()) {
    return Fail("there are more than " + std::to_string(FlagEntries::kMost) + " entries up to here");
  }
  if (entry_.firstIF > entry_.lastIF || entry_.firstChannel > entry_.lastChannel) ++notes_.empty;
  for (const Pair& baseline : selects_ ? baselines : std::set<Pair>()) {
    for (const int source : sources) {
      entry_.antenna = baseline.first;
      entry_.partner = baseline.second;
      entry_.source = source;
      entries_.Add(entry_);
    }
  }
  entry_ = FlagEntry();
  selects_ = hasReason_ = namesAntennas_ = namesSources_ = namesPartners_ = false;
  antennas_.clear();
  partners_.clear();
  sources_.clear();
  return AResult::Ok();
}

}  // namespace

AResult ReadFlagText(const std::string& path, const AUVXContents& contents, FlagEntries& entries,
                     FlagListNotes& notes) {
  AInputFile file;
  if (AResult result = file.Open(path); !result) return result;
  if (file.GetFileSize() > kMostBytes) return AResult::Fail(path + ": is too long for a text of flags");
  std::string text(static_cast<size_t>(file.GetFileSize()), '\0');
  if (!text.empty()) file.ReadAt(0, text.data(), std::ssize(text));
  if (AResult result = file.Check(); !result) return result;
  return FlagTextReader(path, text, contents, entries, notes).Run();
}

}  // namespace zeltra
