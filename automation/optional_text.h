#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "automation/runtime_error.h"
#include "automation/text.h"

namespace brindlex {

/// An optional text argument: omitted, a text, or the error with which its conversion to text
/// failed. The operation raises that error when it reads the argument, so that the failure is
/// reported like any other of the operation.
class OptionalText {
 public:
  OptionalText() = default;
  OptionalText(TextView text) : text_(text) {}               // NOLINT: a text is an optional text
  OptionalText(const Text& text) : text_(TextView(text)) {}  // NOLINT
  OptionalText(const char16_t* text) : text_(text) {}        // NOLINT

  static OptionalText ConversionFailed(const RuntimeError& error) {
    OptionalText made;
    made.error_ = std::make_shared<const RuntimeError>(error);
    return made;
  }

  /// The text, or nothing when the argument is omitted. Throws the error of its conversion.
  const std::optional<TextView>& Read() const {
    if (error_ != nullptr) throw RuntimeError(*error_);
    return text_;
  }

 private:
  std::optional<TextView> text_;
  std::shared_ptr<const RuntimeError> error_;
};

}  // namespace brindlex
