#pragma once

#include <optional>
#include <utility>

#include "automation/runtime_error.h"

namespace brindlex {

/// Lets a chosen call fail. A default-made one lets every call pass.
class Fault {
 public:
  Fault() = default;

  /// The call with number `call`, counted from 1, raises `error`; those before and after it pass.
  Fault(int call, RuntimeError error) : callsLeft_(call), error_(std::move(error)) {}

  /// To be called once at the start of each call that can fail.
  void Pass() {
    if (error_ && --callsLeft_ == 0) throw RuntimeError(*error_);
  }

 private:
  int callsLeft_ = 0;
  std::optional<RuntimeError> error_;
};

}  // namespace brindlex
