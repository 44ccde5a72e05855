// What a job takes and makes, from which the command line, the manual and other interfaces are generated.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_JOBDESCRIPTION_H_
#define ZELTRA_CORE_JOBDESCRIPTION_H_

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "zeltra/core/AResult.h"
#include "zeltra/core/JobOptions.h"
#include "zeltra/core/Parse.h"
#include "zeltra/platform/Export.h"

namespace zeltra {

/// A member that takes one of a few values, given by index.
struct AChoiceTarget {
  size_t chosen = 0;
  std::function<void(size_t)> choose;
};

/// A member, or several, read from text by a function.
struct AParsedTarget {
  std::function<AResult(const std::string&)> parse;
  std::string text;  ///< the present value, in the form that the function reads; empty: none to show
};

/// The member of a job's options that an option sets. Its type determines how text becomes a value.
using AOptionTarget =
    std::variant<bool*, int*, std::optional<int>*, std::uint64_t*, double*, std::string*, std::optional<ATime>*,
                 ARange*, std::vector<std::string>*, std::vector<int>*, AChoiceTarget, AParsedTarget>;

/// The types of AOptionTarget, for interfaces: a flag needs no value, a list takes several separated by commas.
enum class AOptionKind { Flag, Whole, Real, Text, Time, Range, TextList, NumberList, Choice };

/// One option of a job.
class ZELTRA_API AJobOption {
 public:
  std::string name;  ///< as in "interval", on a command line --interval
  std::string help;
  AOptionKind kind = AOptionKind::Flag;
  std::string form;                                         ///< placeholder for the value, as in "N|NAME"
  std::string unit;                                         ///< of the value; empty if it has none
  std::vector<std::string> choices;                         ///< Choice: all values
  double least = -std::numeric_limits<double>::infinity();  ///< Whole, Real: the range of values
  double greatest = std::numeric_limits<double>::infinity();
  std::optional<double> special;      ///< Whole, Real: one more allowed value, outside the range
  std::string otherwise;              ///< what holds if the option is absent, where the default does not show it
  double scale = 1;                   ///< Real: the member is the value times this
  std::span<const ASuffix> suffixes;  ///< Real: suffixes that the value may have
  int first = 0;                      ///< NumberList: the number that the member counts as 0
  bool clears = false;                ///< Flag: clears the member instead of setting it
  char letter = 0;                    ///< short name on a command line, 0 if there is none
  bool isRepeated = false;            ///< may be given several times
  bool isWord = false;                ///< given on a command line without its name
  bool isRequired = false;
  bool keepsResult = false;  ///< the result of the job does not depend on the value
  std::string excludes;      ///< name of an option that cannot be given together with this one
  std::function<AOptionTarget(JobOptions&)> target;

  // Setters for describing a job.
  AJobOption& Form(std::string text) { return form = std::move(text), *this; }
  AJobOption& Unit(std::string text) { return unit = std::move(text), *this; }
  AJobOption& Range(double low, double high) { return least = low, greatest = high, *this; }
  AJobOption& From(double low) { return least = low, *this; }
  AJobOption& Or(double value) { return special = value, *this; }
  AJobOption& Otherwise(std::string text) { return otherwise = std::move(text), *this; }
  AJobOption& Scale(double factor) { return scale = factor, *this; }
  AJobOption& Suffixes(std::span<const ASuffix> list) { return suffixes = list, *this; }
  AJobOption& CountedFrom(int number) { return least = first = number, *this; }
  AJobOption& Clears() { return clears = true, *this; }
  AJobOption& Letter(char character) { return letter = character, *this; }
  AJobOption& Repeated() { return isRepeated = true, *this; }
  AJobOption& Word() { return isWord = isRequired = true, *this; }
  AJobOption& Required() { return isRequired = true, *this; }
  AJobOption& KeepsResult() { return keepsResult = true, *this; }
  AJobOption& Excludes(std::string other) { return excludes = std::move(other), *this; }

  /// Read text into the member of `options`, which must be of the job's own type. Lists are extended; empty text means
  /// that a flag is given.
  /// @return a failure that says what is wrong with the text; the member is then undefined
  AResult Set(JobOptions& options, const std::string& text) const;

  /// The range as in "from 2 to 1000"; empty if there is none.
  std::string RangeText() const;

 private:
  AResult Store(const std::string& text, bool* flag) const;
  AResult Store(const std::string& text, int* number) const;
  AResult Store(const std::string& text, std::optional<int>* number) const;
  AResult Store(const std::string& text, std::uint64_t* number) const;
  AResult Store(const std::string& text, double* number) const;
  AResult Store(const std::string& text, std::string* word) const;
  AResult Store(const std::string& text, std::optional<ATime>* time) const;
  AResult Store(const std::string& text, ARange* range) const;
  AResult Store(const std::string& text, std::vector<std::string>* words) const;
  AResult Store(const std::string& text, std::vector<int>* numbers) const;
  AResult Store(const std::string& text, const AChoiceTarget& choice) const;
  AResult Store(const std::string& text, const AParsedTarget& member) const { return member.parse(text); }
  AResult CheckRange(const std::string& text, double value) const;
};

/// A file that a job reads or makes.
struct ZELTRA_API AJobFile {
  std::string name;  ///< as in "OUT.uvx"
  std::string help;
  std::string option;                ///< the command-line option that names it; empty if the name is given by itself
  char letter = 0;                   ///< short name of that option, 0 if there is none
  std::vector<std::string> endings;  ///< the name must have one of them; empty: any name will do

  bool isOptional = false;  ///< given without an option, but may be left out
  bool isNeeded = false;    ///< given by an option, but must be named, even if the job also prints a table
  bool isList = false;      ///< several of them may follow each other
  bool isPicture = false;   ///< drawn by the command, not by the library

  bool isWord() const { return option.empty(); }
  /// A file without an option must normally be named.
  bool isRequired() const { return isNeeded || (isWord() && !isOptional); }
  /// @return a failure if the name has none of the endings
  AResult Check(const std::string& path) const;
};

/// The type of a column's cells. Times are Julian dates.
enum class AColumnKind { Integer, Real, Text, Time };

/// A column of the table that a job produces.
struct AJobColumn {
  std::string name;  ///< capitals stand for numbers: "re_IF_CHANNEL_POLARISATION" is several columns
  std::string unit;
  std::string help;
  AColumnKind kind = AColumnKind::Real;
  std::string title = {};  ///< what people see in place of the name; empty: the name
};

struct ZELTRA_API AJobDescription {
  std::string name;     ///< as in "average"
  std::string summary;  ///< one line
  std::string details;  ///< a few sentences; may be empty
  std::vector<AJobFile> inputs, outputs;
  std::vector<AJobOption> options;
  std::vector<AJobColumn> columns;
  /// New options of the job's type, with their defaults.
  std::function<std::shared_ptr<JobOptions>()> makeOptions;

  /// @return null if there is no such option
  const AJobOption* Find(const std::string& option) const;
  /// What holds if an option is not given, as text that Set accepts, or in words; empty: nothing to say.
  std::string DefaultOf(const AJobOption& option) const;
  /// The command that repeats the job on the same input: the name of the job and the options that affect its result,
  /// where they differ from their defaults, as in "zeltra average --interval 60". It names no files.
  /// @param given  of the job's own type
  std::string Command(const JobOptions& given) const;
  /// Set an option by its name. @return a failure that names the option
  AResult Set(JobOptions& target, const std::string& option, const std::string& text) const;
};

/// Describes a job whose options are of the type `Options`.
template <typename Options>
class AJobDescriber {
  static_assert(std::is_base_of_v<JobOptions, Options>);

 public:
  AJobDescriber(std::string name, std::string summary, std::string details = "") {
    job_.name = std::move(name);
    job_.summary = std::move(summary);
    job_.details = std::move(details);
    job_.makeOptions = [] { return std::make_shared<Options>(); };
  }

  void Input(AJobFile file) { job_.inputs.push_back(std::move(file)); }
  void Output(AJobFile file) { job_.outputs.push_back(std::move(file)); }
  /// A column of real numbers, or of times if the unit is JD.
  void Column(std::string name, std::string unit, std::string help) {
    const AColumnKind kind = unit == "JD" ? AColumnKind::Time : AColumnKind::Real;
    job_.columns.push_back({std::move(name), std::move(unit), std::move(help), kind});
  }
  void IntegerColumn(std::string name, std::string help) {
    job_.columns.push_back({std::move(name), "", std::move(help), AColumnKind::Integer});
  }
  void TextColumn(std::string name, std::string help) {
    job_.columns.push_back({std::move(name), "", std::move(help), AColumnKind::Text});
  }

  /// @param access  a pointer to a member of `Options`, or a function from Options& to a reference
  template <typename Access>
  AJobOption& Option(std::string name, Access access, std::string help) {
    return Add(std::move(name), std::move(help), [access](JobOptions& options) -> AOptionTarget {
      return &std::invoke(access, static_cast<Options&>(options));
    });
  }

  /// An option whose values have names.
  template <typename Access, typename Value>
  AJobOption& Choice(std::string name, Access access, std::vector<std::pair<std::string, Value>> values,
                     std::string help) {
    AJobOption& option = Add(std::move(name), std::move(help), [access, values](JobOptions& options) -> AOptionTarget {
      auto* member = &std::invoke(access, static_cast<Options&>(options));
      AChoiceTarget target;
      while (target.chosen < values.size() && values[target.chosen].second != *member) ++target.chosen;
      target.choose = [member, values](size_t i) { *member = values[i].second; };
      return target;
    });
    option.form.clear();
    for (const auto& value : values) {
      option.choices.push_back(value.first);
      option.form += (option.form.empty() ? "" : "|") + value.first;
    }
    return option;
  }

  /// An option that a function reads.
  /// @param show  gives the text of the default
  AJobOption& Parsed(std::string name, std::function<AResult(const std::string&, Options&)> parse,
                     std::function<std::string(const Options&)> show, std::string help) {
    return Add(std::move(name), std::move(help), [parse, show](JobOptions& options) -> AOptionTarget {
      Options& target = static_cast<Options&>(options);
      return AParsedTarget{[parse, &target](const std::string& text) { return parse(text, target); }, show(target)};
    });
  }

  /// The options of every job with outputs: whether to replace files, and whether to wait for the disk.
  void Overwrite() {
    Option("force", &Options::overwrite, "replace an output that exists").Letter('f').KeepsResult();
    Option("no-sync", &Options::sync, "do not wait until the output is on the disk").Clears().KeepsResult();
  }
  void Threads() {
    Option("threads", &Options::threads, "threads that work at the same time; the result is the same for any number")
        .Range(0, 1024)
        .Otherwise("one per processor")
        .KeepsResult();
  }

  AJobDescription Finish() { return std::move(job_); }

 private:
  AJobOption& Add(std::string name, std::string help, std::function<AOptionTarget(JobOptions&)> target);

  AJobDescription job_;
};

/// The kind of a target, and the placeholder for its value.
ZELTRA_API std::pair<AOptionKind, std::string> OptionKindOf(const AOptionTarget& target);

template <typename Options>
AJobOption& AJobDescriber<Options>::Add(std::string name, std::string help,
                                        std::function<AOptionTarget(JobOptions&)> target) {
  AJobOption& option = job_.options.emplace_back();
  option.name = std::move(name);
  option.help = std::move(help);
  Options defaults;
  std::tie(option.kind, option.form) = OptionKindOf(target(defaults));
  option.target = std::move(target);
  return option;
}

}  // namespace zeltra

#endif  // ZELTRA_CORE_JOBDESCRIPTION_H_
