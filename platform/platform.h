#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "automation/collection.h"
#include "automation/object.h"
#include "environment/report.h"
#include "platform/file_system.h"

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

/// Every service of the system that the component's operations use. There is one implementation
/// over Windows and one in memory, for tests. Every function may throw RuntimeError; all are called
/// on the thread of the caller's apartment.
class Platform {
 public:
  Platform() = default;
  Platform(const Platform&) = delete;
  Platform& operator=(const Platform&) = delete;
  virtual ~Platform() = default;

  /// Shows `report` in a modal message box of style Report::kStyle and returns once it is closed.
  /// The host may call the component again before that.
  virtual void ShowReport(const Report& report) = 0;

  /// A new, empty collection that can be handed out to the host.
  virtual CollectionRef NewCollection() = 0;

  /// What the system says about its release; zeros where it says nothing.
  virtual VersionRecord GetVersionRecord() = 0;

  /// Asks the shell for the special folder `csidl` (the shell's own numbers). Returns the shell's
  /// status, 0 for success; only then is `list` set. Nobody releases the list.
  virtual std::int32_t SpecialFolderLocation(std::int32_t csidl, ItemIdList& list) = 0;

  /// Asks the shell for the path of `list`. The text crosses the call in the system's code page;
  /// what comes back in place of all of `buffer` is padded with blanks. Returns what the shell
  /// returns, 1 for success.
  virtual std::int32_t PathFromItemIdList(ItemIdList list, PathBuffer& buffer) = 0;

  /// A new file-system object. Error 429 when the system has none.
  virtual std::unique_ptr<FileSystem> NewFileSystem() = 0;
};

}  // namespace brindlex
