#include "environment/trap.h"

namespace brindlex {

void GoToHandler(Text description) {
  throw RuntimeError(error_number::kNone, std::move(description), Text());
}

PendingError CatchPending(CurrentLine line) {
  RuntimeError error = CaughtError();
  const bool onPurpose = error.number == error_number::kNone;
  return {std::move(error), onPurpose ? 0 : line};
}

}  // namespace brindlex
