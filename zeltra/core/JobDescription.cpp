// SPDX-License-Identifier: MIT
#include "zeltra/core/JobDescription.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "zeltra/core/SplitAtCommasInternal.h"
#include "zeltra/core/Text.h"
#include "zeltra/core/Units.h"

namespace zeltra {
namespace {

std::string Joined(const std::vector<std::string>& words, const char* separator = ", ") {
  std::string list;
  for (const std::string& word : words) list.append(list.empty() ? "" : separator).append(word);
  return list;
}

// A bound of a range in plain digits, as in 1000000000.
std::string Plain(double bound) {
  return RoundedNumber(bound, 10);
}

AResult Complain(const std::string& text, const std::string& what) {
  std::string sentence = "\"";
  return AResult::Fail(sentence.append(text).append("\" ").append(what));
}

struct KindOfTarget {
  using Kind = std::pair<AOptionKind, std::string>;

  Kind operator()(bool*) const { return {AOptionKind::Flag, ""}; }
  Kind operator()(int*) const { return {AOptionKind::Whole, "N"}; }
  Kind operator()(std::optional<int>*) const { return {AOptionKind::Whole, "N"}; }
  Kind operator()(std::uint64_t*) const { return {AOptionKind::Whole, "N"}; }
  Kind operator()(double*) const { return {AOptionKind::Real, "X"}; }
  Kind operator()(std::string*) const { return {AOptionKind::Text, "TEXT"}; }
  Kind operator()(std::optional<ATime>*) const { return {AOptionKind::Time, "TIME"}; }
  Kind operator()(ARange*) const { return {AOptionKind::Range, "MIN,MAX"}; }
  Kind operator()(std::vector<std::string>*) const { return {AOptionKind::TextList, "LIST"}; }
  Kind operator()(std::vector<int>*) const { return {AOptionKind::NumberList, "LIST"}; }
  Kind operator()(const AChoiceTarget&) const { return {AOptionKind::Choice, ""}; }
  Kind operator()(const AParsedTarget&) const { return {AOptionKind::Text, "TEXT"}; }
};

// A list as in 1,4-7.
// @param first  the number shown for a 0 in the list
std::string ListText(const std::vector<int>& numbers, int first) {
  std::string text;
  for (size_t i = 0; i < numbers.size();) {
    size_t last = i;
    while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) ++last;
    text.append(i == 0 ? "" : ",").append(std::to_string(numbers[i] + first));
    if (last > i) text.append("-").append(std::to_string(numbers[last] + first));
    i = last + 1;
  }
  return text;
}

// The text that would set a member to its present value; empty for a flag that is off and for a value that is absent.
struct TextOfTarget {
  const AJobOption& option;

  std::string operator()(const bool* flag) const { return *flag != option.clears ? "true" : ""; }
  std::string operator()(const int* number) const { return std::to_string(*number); }
  std::string operator()(const std::uint64_t* number) const { return std::to_string(*number); }
  std::string operator()(const double* number) const {
    return option.scale == 1 ? valToStr(*number) : ReadableNumber(*number / option.scale);
  }
  std::string operator()(const std::string* word) const { return *word; }
  std::string operator()(const std::optional<int>* number) const { return *number ? std::to_string(**number) : ""; }
  std::string operator()(const AChoiceTarget& choice) const {
    return choice.chosen < option.choices.size() ? option.choices[choice.chosen] : "";
  }
  std::string operator()(const std::optional<ATime>* time) const { return *time ? timeToStr(**time) : ""; }
  std::string operator()(const std::vector<std::string>* words) const { return Joined(*words, ","); }
  std::string operator()(const std::vector<int>* numbers) const { return ListText(*numbers, option.first); }
  std::string operator()(const ARange* range) const {
    const auto bound = [](bool isLimited, double value) { return isLimited ? valToStr(value) : std::string(); };
    const bool isOpen = range->greatest == std::numeric_limits<double>::infinity();
    if (!range->IsLimited()) return {};
    return bound(range->least > 0, range->least) + "," + bound(!isOpen, range->greatest);
  }
  std::string operator()(const AParsedTarget& member) const { return member.text; }
};

}  // namespace

std::pair<AOptionKind, std::string> OptionKindOf(const AOptionTarget& target) {
  return std::visit(KindOfTarget(), target);
}

// AJobOption

AResult AJobOption::Set(JobOptions& options, const std::string& text) const {
  return std::visit([&](auto&& member) { return Store(text, member); }, target(options));
}

std::string AJobOption::RangeText() const {
  if (least == -std::numeric_limits<double>::infinity()) return {};
  const bool isOpen = greatest == std::numeric_limits<double>::infinity();
  const std::string range = isOpen ? Plain(least) + " or more" : "from " + Plain(least) + " to " + Plain(greatest);
  return special ? Plain(*special) + " or " + range : range;
}

AResult AJobOption::CheckRange(const std::string& text, double value) const {
  if (value == special || (value >= least && value <= greatest)) return AResult::Ok();
  return Complain(text, "is out of range: " + RangeText());
}

AResult AJobOption::Store(const std::string& text, bool* flag) const {
  const bool isGiven = text.empty() || text == "true" || text == "1";
  *flag = isGiven != clears;
  return isGiven || text == "false" || text == "0" ? AResult::Ok() : Complain(text, "is neither true nor false");
}

AResult AJobOption::Store(const std::string& text, int* number) const {
  if (AResult result = strToVal(text, *number); !result) return result;
  return CheckRange(text, *number);
}

AResult AJobOption::Store(const std::string& text, std::optional<int>* number) const {
  return Store(text, &number->emplace());
}

AResult AJobOption::Store(const std::string& text, std::uint64_t* number) const {
  if (AResult result = strToVal(text, *number); !result) return result;
  return CheckRange(text, static_cast<double>(*number));
}

AResult AJobOption::Store(const std::string& text, double* number) const {
  if (AResult result = strToVal(text, suffixes, *number); !result) return result;
  const double value = *number;
  *number *= scale;
  return CheckRange(text, value);
}

AResult AJobOption::Store(const std::string& text, std::string* word) const {
  *word = text;
  return AResult::Ok();
}

AResult AJobOption::Store(const std::string& text, std::optional<ATime>* time) const {
  return strToTime(text, time->emplace());
}

AResult AJobOption::Store(const std::string& text, ARange* range) const {
  return strToRange(text, *range);
}

AResult AJobOption::Store(const std::string& text, std::vector<std::string>* words) const {
  for (const std::string& part : SplitAtCommas(text)) {
    words->push_back(Trimmed(part));
    if (words->back().empty()) return Complain(text, "has an empty item");
  }
  return AResult::Ok();
}

AResult AJobOption::Store(const std::string& text, std::vector<int>* numbers) const {
  std::vector<int> more;
  const int lowest = std::isfinite(least) ? static_cast<int>(least) : 0;
  if (AResult result = strToList(text, lowest, more); !result) return result;
  for (int& number : more) number -= first;
  numbers->insert(numbers->end(), more.begin(), more.end());
  return AResult::Ok();
}

AResult AJobOption::Store(const std::string& text, const AChoiceTarget& choice) const {
  const auto found = std::find(choices.begin(), choices.end(), text);
  if (found == choices.end()) return Complain(text, "is none of " + Joined(choices));
  choice.choose(static_cast<size_t>(found - choices.begin()));
  return AResult::Ok();
}

// AJobFile

AResult AJobFile::Check(const std::string& path) const {
  const auto isEnding = [&path](const std::string& ending) { return path.ends_with(ending) && path != ending; };
  if (endings.empty() || std::any_of(endings.begin(), endings.end(), isEnding)) return AResult::Ok();
  return AResult::Fail(path + " does not end in any of " + Joined(endings));
}

// AJobDescription

const AJobOption* AJobDescription::Find(const std::string& option) const {
  const auto isIt = [&option](const AJobOption& known) { return known.name == option; };
  const auto found = std::find_if(options.begin(), options.end(), isIt);
  return found == options.end() ? nullptr : &*found;
}

std::string AJobDescription::DefaultOf(const AJobOption& option) const {
  if (option.isRequired || !option.otherwise.empty()) return option.otherwise;
  const std::shared_ptr<JobOptions> defaults = makeOptions();
  return std::visit(TextOfTarget{option}, option.target(*defaults));
}

std::string AJobDescription::Command(const JobOptions& given) const {
  const std::shared_ptr<JobOptions> defaults = makeOptions();
  // Targets are only read here.
  auto& target = const_cast<JobOptions&>(given);
  std::string command = "zeltra " + name;
  for (const AJobOption& option : options) {
    if (option.keepsResult) continue;
    const TextOfTarget textOf{option};
    const std::string text = std::visit(textOf, option.target(target));
    const bool isDefault = !option.isRequired && text == std::visit(textOf, option.target(*defaults));
    if (text.empty() || isDefault) continue;
    if (!option.isWord) command.append(" --").append(option.name);
    if (option.kind == AOptionKind::Flag) continue;
    const char* quote = text.find(' ') == text.npos ? "" : "\"";
    command.append(" ").append(quote).append(text).append(quote);
  }
  return command;
}

AResult AJobDescription::Set(JobOptions& target, const std::string& option, const std::string& text) const {
  const AJobOption* known = Find(option);
  if (!known) return AResult::Fail(name + " has no option " + option);
  const AResult result = known->Set(target, text);
  return result ? result : AResult::Fail(option + ": " + result.message());
}

}  // namespace zeltra
