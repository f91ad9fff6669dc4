#pragma once

#include <array>
#include <cstdint>

#include "platform/report.h"

namespace brindlex {

/// The object that receives the reports of one thread in place of its user. Lives on that thread.
class ReportListener {
 public:
  ReportListener() = default;
  ReportListener(const ReportListener&) = delete;
  ReportListener& operator=(const ReportListener&) = delete;
  virtual ~ReportListener() = default;

  /// Passes `report` on. False when the listener failed, or is still handling an earlier report: a
  /// failure of its own would otherwise notify it without end.
  ///
  /// A host may leave OnReport by a non-local jump (longjmp, as the errors of some script engines
  /// do), and this function then never returns. That is noticed at the next report.
  bool Notify(const Report& report) noexcept;

 protected:
  /// Whether `address`, which was on the stack of this thread, still is. Only hosts that run code
  /// on several stacks of one thread (fibers) make a difference.
  virtual bool IsOnStack(const void* address) const noexcept;

 private:
  /// Written into the stack frame of a running Notify. After a jump the frame is outside the stack,
  /// or is overwritten by later calls.
  using Mark = std::array<volatile std::uintptr_t, 8>;

  /// May throw anything, and call the component again.
  virtual void OnReport(const Report& report) = 0;

  void Write(Mark& mark) noexcept;
  bool IsIntact(const Mark& mark) const noexcept;
  bool IsRunningOutside(const Mark& mark) const noexcept;

  /// Of the call that runs; null for none.
  const Mark* running_ = nullptr;
  std::uintptr_t runs_ = 0;
};

}  // namespace brindlex
