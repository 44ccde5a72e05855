// SPDX-License-Identifier: MIT
#include <algorithm>

#include "zeltra/c/JobJSONInternal.h"
#include "zeltra/core/JSON.h"

namespace zeltra {
namespace {

const char* NameOf(AOptionKind kind) {
  switch (kind) {
    case AOptionKind::Flag:
      return "flag";
    case AOptionKind::Whole:
      return "whole";
    case AOptionKind::Real:
      return "real";
    case AOptionKind::Text:
      return "text";
    case AOptionKind::Time:
      return "time";
    case AOptionKind::Range:
      return "range";
    case AOptionKind::TextList:
      return "text list";
    case AOptionKind::NumberList:
      return "number list";
    case AOptionKind::Choice:
      break;
  }
  return "choice";
}

const char* NameOf(AColumnKind kind) {
  return kind == AColumnKind::Integer ? "int64" : kind == AColumnKind::Text ? "text" : "double";
}

void WriteTexts(const char* name, const std::vector<std::string>& texts, AJSONWriter& json) {
  json.Key(name);
  json.BeginArray();
  for (const std::string& text : texts) json.Value(text);
  json.EndArray();
}

// A text, or null if it is empty.
void WriteMember(const char* name, const std::string& text, AJSONWriter& json) {
  json.Key(name);
  text.empty() ? json.Value(nullptr) : json.Value(text);
}

void WriteFiles(const char* name, const std::vector<AJobFile>& files, AJSONWriter& json) {
  json.Key(name);
  json.BeginArray();
  for (const AJobFile& file : files) {
    if (file.isPicture) continue;
    json.BeginObject();
    json.Member("name", file.name);
    json.Member("help", file.help);
    WriteMember("option", file.option, json);
    json.Member("required", file.isRequired());
    json.Member("list", file.isList);
    WriteTexts("endings", file.endings, json);
    json.EndObject();
  }
  json.EndArray();
}

void WriteOption(const AJobDescription& job, const AJobOption& option, AJSONWriter& json) {
  json.BeginObject();
  json.Member("name", option.name);
  json.Member("kind", NameOf(option.kind));
  WriteMember("form", option.form, json);
  WriteMember("unit", option.unit, json);
  WriteMember("default", job.DefaultOf(option), json);
  WriteTexts("choices", option.choices, json);
  // Infinite bounds become null.
  json.Member("min", option.least);
  json.Member("max", option.greatest);
  json.Key("special");
  option.special ? json.Value(*option.special) : json.Value(nullptr);
  json.Member("required", option.isRequired);
  json.Member("repeated", option.isRepeated);
  WriteMember("excludes", option.excludes, json);
  json.Member("help", option.help);
  json.EndObject();
}

void WriteColumns(const AJobDescription& job, AJSONWriter& json) {
  json.Key("columns");
  json.BeginArray();
  for (const AJobColumn& column : job.columns) {
    json.BeginObject();
    json.Member("name", column.name);
    json.Member("type", NameOf(column.kind));
    WriteMember("unit", column.unit, json);
    json.Member("help", column.help);
    json.EndObject();
  }
  json.EndArray();
}

}  // namespace

std::string JobAsJSON(const AJobDescription& job) {
  AJSONWriter json;
  json.BeginObject();
  json.Member("name", job.name);
  json.Member("summary", job.summary);
  WriteMember("details", job.details, json);
  WriteFiles("inputs", job.inputs, json);
  WriteFiles("outputs", job.outputs, json);
  json.Key("options");
  json.BeginArray();
  for (const AJobOption& option : job.options) WriteOption(job, option, json);
  json.EndArray();
  WriteColumns(job, json);
  json.EndObject();
  return json.text();
}

}  // namespace zeltra
