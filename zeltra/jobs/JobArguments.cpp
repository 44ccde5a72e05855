// SPDX-License-Identifier: MIT
#include "zeltra/jobs/JobArguments.h"

#include <algorithm>
#include <set>

namespace zeltra {
namespace {

class Reader {
 public:
  Reader(const AJobDescription& description, AJobFiles& files, JobOptions& options)
      : description_(description), files_(files), options_(options) {}

  AResult Read(const AJobTexts& texts);

 private:
  AResult ReadOption(const std::string& text);
  AResult CheckOptions() const;
  // Files that are given by position.
  AResult Place(const std::vector<AJobFile>& described, const std::vector<std::string>& given,
                std::vector<std::string>& files) const;
  AResult CheckFiles(const std::vector<AJobFile>& described, const std::vector<std::string>& files) const;
  std::string* FileOf(const std::string& option);
  AResult Refuse(const std::string& sentence) const { return AResult::Misuse(description_.name + ": " + sentence); }

  const AJobDescription& description_;
  AJobFiles& files_;
  JobOptions& options_;
  std::set<std::string> given_;
};

AResult Reader::Read(const AJobTexts& texts) {
  const bool isList = !description_.inputs.empty() && description_.inputs.front().isList;
  files_.inputs = texts.inputs;
  files_.outputs.assign(description_.outputs.size(), "");
  if (!isList) {
    files_.inputs.assign(description_.inputs.size(), "");
    if (AResult result = Place(description_.inputs, texts.inputs, files_.inputs); !result) return result;
  }
  if (AResult result = Place(description_.outputs, texts.outputs, files_.outputs); !result) return result;
  for (const std::string& text : texts.options) {
    if (AResult result = ReadOption(text); !result) return result;
  }
  if (AResult result = CheckOptions(); !result) return result;
  if (!isList) {
    if (AResult result = CheckFiles(description_.inputs, files_.inputs); !result) return result;
  }
  return CheckFiles(description_.outputs, files_.outputs);
}

AResult Reader::Place(const std::vector<AJobFile>& described, const std::vector<std::string>& given,
                      std::vector<std::string>& files) const {
  auto next = given.begin();
  for (size_t i = 0; i < described.size() && next != given.end(); ++i) {
    if (described[i].isWord()) files[i] = *next++;
  }
  return next == given.end() ? AResult::Ok() : Refuse("there are more files than it takes: " + *next);
}

AResult Reader::ReadOption(const std::string& text) {
  const size_t equal = std::min(text.find('='), text.size());
  const std::string name = text.substr(0, equal), value = text.substr(std::min(equal + 1, text.size()));
  const AJobOption* option = description_.Find(name);
  const bool mayRepeat = option && (option->isRepeated || option->kind == AOptionKind::TextList ||
                                    option->kind == AOptionKind::NumberList);
  if (!given_.insert(name).second && !mayRepeat) return Refuse(name + " is given twice");
  if (std::string* file = option ? nullptr : FileOf(name)) {
    *file = value;
    return AResult::Ok();
  }
  if (option && option->kind != AOptionKind::Flag && equal == text.size()) return Refuse(name + " needs a value");
  AResult result = description_.Set(options_, name, value);
  return result ? result : AResult::Misuse(result.message());
}

std::string* Reader::FileOf(const std::string& option) {
  for (size_t i = 0; i < files_.outputs.size(); ++i) {
    const AJobFile& file = description_.outputs[i];
    if (!file.isWord() && !file.isPicture && file.option == option) return &files_.outputs[i];
  }
  return nullptr;
}

AResult Reader::CheckOptions() const {
  for (const AJobOption& option : description_.options) {
    const bool isGiven = given_.contains(option.name);
    if (option.isRequired && !isGiven) return Refuse(option.name + " is required");
    if (isGiven && given_.contains(option.excludes)) return Refuse(option.name + " excludes " + option.excludes);
  }
  return AResult::Ok();
}

AResult Reader::CheckFiles(const std::vector<AJobFile>& described, const std::vector<std::string>& files) const {
  for (size_t i = 0; i < described.size(); ++i) {
    if (files[i].empty() && described[i].isRequired()) {
      return Refuse(described[i].name + " is not named: " + described[i].help);
    }
    if (files[i].empty()) continue;
    if (AResult result = described[i].Check(files[i]); !result) return AResult::Misuse(result.message());
  }
  return AResult::Ok();
}

}  // namespace

AResult ReadArguments(const AJobDescription& description, const AJobTexts& texts, AJobFiles& files,
                      JobOptions& options) {
  return Reader(description, files, options).Read(texts);
}

}  // namespace zeltra
