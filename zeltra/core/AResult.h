// The outcome of a whole-file job.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_CORE_ARESULT_H_
#define ZELTRA_CORE_ARESULT_H_

#include <string>
#include <utility>

#include "zeltra/platform/Export.h"

namespace zeltra {

/// Success, or a code and one sentence that names the file, what is wrong with it and where.
/// (The members are exported one by one: compilers reject [[nodiscard]] together with an export mark on a class.)
class [[nodiscard]] AResult {
 public:
  enum Code { Done, Failed, Cancelled, Misused };

  ZELTRA_API static AResult Ok();
  ZELTRA_API static AResult Fail(std::string sentence);
  ZELTRA_API static AResult Cancel(std::string sentence);
  /// The job was called wrongly: one option contradicts another, or something that must be named is not.
  ZELTRA_API static AResult Misuse(std::string sentence);

  explicit operator bool() const { return code_ == Done; }
  Code code() const { return code_; }
  /// Empty after success.
  const std::string& message() const { return message_; }

 private:
  AResult(Code code, std::string message) : code_(code), message_(std::move(message)) {}

  Code code_;
  std::string message_;
};

}  // namespace zeltra

#endif  // ZELTRA_CORE_ARESULT_H_
