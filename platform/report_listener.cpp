#include "platform/report_listener.h"

#include <functional>

#include "automation/runtime_error.h"

namespace brindlex {
namespace {

/// What word `index` of a mark holds at the `runs`-th call.
std::uintptr_t WordOf(const void* mark, std::uintptr_t runs, std::uintptr_t index) {
  constexpr std::uintptr_t kSpread = 0x9E3779B1;
  return (reinterpret_cast<std::uintptr_t>(mark) ^ (runs + index + 1)) * kSpread;
}

}  // namespace

bool ReportListener::Notify(const Report& report) noexcept {
  Mark mark;
  if (IsRunningOutside(mark)) return false;
  Write(mark);
  const bool isDone = TrapSilently([&] { OnReport(report); });
  running_ = nullptr;
  ++runs_;
  return isDone;
}

bool ReportListener::IsOnStack(const void* /*address*/) const noexcept { return true; }

void ReportListener::Write(Mark& mark) noexcept {
  ++runs_;
  for (std::size_t index = 0; index < mark.size(); ++index) {
    mark[index] = WordOf(&mark, runs_, index);
  }
  running_ = &mark;
}

/// Not checked by the address sanitizer: the frame of the mark may be gone.
[[gnu::no_sanitize_address]] bool ReportListener::IsIntact(const Mark& mark) const noexcept {
  const volatile std::uintptr_t* const words = mark.data();
  for (std::size_t index = 0; index < mark.size(); ++index) {
    if (words[index] != WordOf(&mark, runs_, index)) return false;
  }
  return true;
}

/// Whether the call with `mark` runs inside another call of Notify. Stacks grow towards lower
/// addresses, so the frames of running callers have higher ones.
bool ReportListener::IsRunningOutside(const Mark& mark) const noexcept {
  if (running_ == nullptr || !std::less<>()(&mark, running_)) return false;
  return IsOnStack(running_) && IsIntact(*running_);
}

}  // namespace brindlex
