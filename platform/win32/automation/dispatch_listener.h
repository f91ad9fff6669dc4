#pragma once

#include <oaidl.h>

#include "platform/report_listener.h"
#include "platform/win32/automation/com_ptr.h"

namespace brindlex {

/// An object of the host that listens: its method OnReport is called, late bound, with caption,
/// text, style, number, description and line. What it returns would be the button that was pressed;
/// as every report has but one, nothing depends on it.
class DispatchListener final : public ReportListener {
 public:
  explicit DispatchListener(ComPtr<IDispatch> object) : object_(std::move(object)) {}

  const ComPtr<IDispatch>& Object() const { return object_; }

 private:
  void OnReport(const Report& report) override;
  bool IsOnStack(const void* address) const noexcept override;

  ComPtr<IDispatch> object_;
};

}  // namespace brindlex
