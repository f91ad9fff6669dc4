#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "automation/runtime_error.h"

namespace brindlex {

/// A run-time error that a trap has caught, with the line at which it arose.
struct PendingError {
  RuntimeError error;
  /// The last numbered line that the procedure reached; 0 in a procedure without numbered lines.
  std::int32_t line;
};

/// The number of the line that a procedure is at. Its body sets it as it passes numbered lines.
using CurrentLine = std::int32_t;

/// Sends a procedure to its handler on purpose, without a run-time error: the report shows number
/// 0, line 0 and `description`.
[[noreturn]] void GoToHandler(Text description);

/// The exception being handled, as the pending error of a procedure that was at `line`. To be
/// called inside a catch clause only; throws std::bad_alloc when its texts cannot be allocated.
PendingError CatchPending(CurrentLine line);

/// Runs `body(line)`, the steps of a procedure. Any failure in it, a failed allocation included,
/// ends it, and `handler(pending)` runs once everything that the body held is released. A failure
/// of the handler itself is not caught here: it travels to the caller.
template <class Body, class Handler>
void Trap(Body&& body, Handler&& handler) {
  CurrentLine line = 0;
  std::optional<PendingError> pending;
  try {
    std::forward<Body>(body)(line);
  } catch (...) {
    pending.emplace(CatchPending(line));
  }
  if (pending) std::forward<Handler>(handler)(*pending);
}

/// Runs `body()`, a step whose run-time errors a procedure ignores, whatever their number: the
/// first ends the step. A failed allocation of the component's own (std::bad_alloc) is passed on,
/// because the result would otherwise lack what the step could not hold.
template <class Body>
void IgnoreErrors(Body&& body) {
  try {
    std::forward<Body>(body)();
  } catch (const RuntimeError&) {
    return;
  }
}

}  // namespace brindlex
