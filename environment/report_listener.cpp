#include "environment/report_listener.h"

#include "environment/trap.h"

namespace brindlex {

bool ReportListener::Tell(const Report& report) noexcept {
  if (isListening_) return false;
  isListening_ = true;
  const bool isTold = TrapSilently([&] { OnReport(report); });
  isListening_ = false;
  return isTold;
}

}  // namespace brindlex
