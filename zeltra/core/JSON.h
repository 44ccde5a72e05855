// JSON as text.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_JSON_H_
#define ZELTRA_CORE_JSON_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "zeltra/platform/Export.h"
#include "zeltra/platform/Types.h"

namespace zeltra {

/// `text` as a JSON string with its quotes, in ASCII; bytes that are not UTF-8 become replacement characters.
ZELTRA_API std::string JSONString(std::string_view text);

/// Writes a JSON value piece by piece, in ASCII, one element per line, indented by two blanks per level.
class ZELTRA_API AJSONWriter {
 public:
  void BeginObject() { Begin('{'); }
  void EndObject() { End('}'); }
  void BeginArray() { Begin('['); }
  void EndArray() { End(']'); }
  /// Name the next value of an object.
  void Key(std::string_view name);

  void Value(std::string_view text) { Put(JSONString(text)); }
  void Value(const std::string& text) { Put(JSONString(text)); }
  void Value(const char* text) { Put(JSONString(text)); }
  void Value(bool value) { Put(value ? "true" : "false"); }
  void Value(int value) { Put(std::to_string(value)); }
  void Value(int64 value) { Put(std::to_string(value)); }
  /// The shortest digits that read back to the same number, with a point or an exponent; null if it is not finite.
  void Value(double value);
  void Value(std::nullptr_t) { Put("null"); }

  template <typename T>
  void Member(std::string_view name, const T& value) {
    Key(name);
    Value(value);
  }

  const std::string& text() const { return text_; }

 private:
  void Begin(char bracket);
  void End(char bracket);
  void Put(std::string_view value);
  void NewElement();
  void NewLine();

  std::string text_;
  int level_ = 0;
  bool isEmpty_ = true;  // the object or array has no element yet
  bool hasKey_ = false;
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_JSON_H_
