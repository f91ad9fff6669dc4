#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "environment/report.h"
#include "environment/report_listener.h"

namespace brindlex {

/// The system's own description of its release.
struct VersionRecord {
  std::uint32_t majorVersion = 0;
  std::uint32_t minorVersion = 0;
  std::uint32_t buildNumber = 0;
  /// 1 for the line of Windows 95, 2 for that of Windows NT.
  std::uint32_t platformId = 0;
};

/// The shell's name for a folder, which only the shell can read.
using ItemIdList = const void*;

/// Where the shell writes the path of a folder: the path, a NUL, and whatever was there before.
using PathBuffer = std::array<char16_t, 260>;

/// The services of the system that reports and probes need. Every function may throw RuntimeError;
/// all are called on the thread of the caller's apartment.
class SystemServices {
 public:
  SystemServices() = default;
  SystemServices(const SystemServices&) = delete;
  SystemServices& operator=(const SystemServices&) = delete;
  virtual ~SystemServices() = default;

  /// Brings `report` before whoever is to see it, and returns when that is done: the listener of
  /// the calling thread; where there is none, the user, in a box; where nobody could see and close
  /// a box, or the listener fails, the error channel. The host may call the component again before
  /// this returns.
  void ShowReport(const Report& report);

  /// What the system says about its release; zeros where it says nothing.
  virtual VersionRecord GetVersionRecord() = 0;

  /// Asks the shell for the special folder `csidl` (the shell's own numbers). Returns the shell's
  /// status, 0 for success; only then is `list` set. Nobody releases the list.
  virtual std::int32_t SpecialFolderLocation(std::int32_t csidl, ItemIdList& list) = 0;

  /// Asks the shell for the path of `list`. The text crosses the call in the system's code page;
  /// what comes back in place of all of `buffer` is padded with blanks. Returns what the shell
  /// returns, 1 for success.
  virtual std::int32_t PathFromItemIdList(ItemIdList list, PathBuffer& buffer) = 0;

 private:
  /// What the host has set for the calling thread; null without one.
  virtual std::shared_ptr<ReportListener> Listener() = 0;

  /// Whether a box would be seen: not in a service, nor in a task without a desktop.
  virtual bool IsDesktopVisible() = 0;

  /// Shows all of `report`, whatever its length, in a modal message box of style Report::kStyle, or
  /// in a window like it where a message box is too small, and returns once it is closed.
  virtual void ShowBox(const Report& report) = 0;

  /// Writes caption and text to where the platform's programs put what went wrong, and waits for
  /// nobody. What cannot be written is lost.
  virtual void WriteToErrorChannel(const Report& report) = 0;
};

}  // namespace brindlex
