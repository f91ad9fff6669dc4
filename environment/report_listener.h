#pragma once

#include "environment/report.h"

namespace brindlex {

/// Who receives the reports of one thread in place of its user. Lives on that thread.
class ReportListener {
 public:
  ReportListener() = default;
  ReportListener(const ReportListener&) = delete;
  ReportListener& operator=(const ReportListener&) = delete;
  virtual ~ReportListener() = default;

  /// Hands `report` over. False when the listener failed, or is still at an earlier report: what it
  /// does then may fail itself, and would have it listen to itself without an end.
  bool Tell(const Report& report) noexcept;

 private:
  /// May throw anything, and call the component again.
  virtual void OnReport(const Report& report) = 0;

  bool isListening_ = false;
};

}  // namespace brindlex
