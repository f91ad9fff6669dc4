#pragma once

#include <memory>

#include "platform/report.h"
#include "platform/report_listener.h"

namespace brindlex {

/// The ways in which the system shows a report. Every function may throw RuntimeError and is called
/// on the thread of the caller's apartment.
class ReportServices {
 public:
  ReportServices() = default;
  ReportServices(const ReportServices&) = delete;
  ReportServices& operator=(const ReportServices&) = delete;
  virtual ~ReportServices() = default;

  /// Shows `report` and returns when that is done: to the listener of the calling thread; without
  /// one, to the user, in a box; where nobody could see and close a box, or when the listener
  /// fails, on the error channel. The host may call the component again before this returns.
  void ShowReport(const Report& report);

 private:
  /// What the host has set for the calling thread; null without one.
  virtual std::shared_ptr<ReportListener> Listener() = 0;

  /// Whether a box would be seen: not in a service, nor in a task without a desktop.
  virtual bool IsDesktopVisible() = 0;

  /// Shows all of `report`, whatever its length, in a modal message box of style Report::kStyle, or
  /// in a window like it where a message box is too small, and returns once it is closed.
  virtual void ShowBox(const Report& report) = 0;

  /// Writes caption and text to the channel where the platform's programs write errors, and waits
  /// for nobody. What cannot be written is lost.
  virtual void WriteToErrorChannel(const Report& report) = 0;
};

}  // namespace brindlex
