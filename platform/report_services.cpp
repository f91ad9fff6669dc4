#include "platform/report_services.h"

namespace brindlex {

void ReportServices::ShowReport(const Report& report) {
  // A reference of its own: the host may replace the listener meanwhile.
  const std::shared_ptr<ReportListener> listener = Listener();
  if (listener != nullptr) {
    if (!listener->Notify(report)) WriteToErrorChannel(report);
  } else if (IsDesktopVisible()) {
    ShowBox(report);
  } else {
    WriteToErrorChannel(report);
  }
}

}  // namespace brindlex
