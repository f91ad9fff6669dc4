#pragma once

#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "platform/memory/fault.h"
#include "platform/memory/memory_files.h"
#include "platform/memory/memory_object.h"
#include "platform/platform.h"

namespace brindlex {

/// The system's services in memory: a test reads what was asked of them and lets any call fail.
class MemoryPlatform : public Platform {
 public:
  /// A MemoryCollection of Adapter.
  CollectionRef NewCollection() override;

  VersionRecord GetVersionRecord() override;

  /// Succeeds for the folders in `shellFolders`.
  std::int32_t SpecialFolderLocation(std::int32_t csidl, ItemIdList& list) override;

  /// Puts the folder's text at the start of `buffer` and leaves the rest as it is.
  std::int32_t PathFromItemIdList(ItemIdList list, PathBuffer& buffer) override;

  /// Over `disk`.
  std::unique_ptr<FileSystem> NewFileSystem() override;

  std::string InCodePage(TextView text) override;

  /// Over `disk`; the temporary file is `path` followed by ".~saving-" and a number.
  std::unique_ptr<FileReplacement> NewFileReplacement(TextView path) override;

  /// The objects of the host, the collections of this platform included.
  const MemoryAdapter& Adapter() const { return adapter_; }

  /// Every report that was shown in a box, in order.
  std::vector<Report> reports;

  /// Who receives reports instead.
  std::shared_ptr<ReportListener> listener;

  /// Whether a box would be seen, and the reports that went to the error channel.
  bool isDesktopVisible = true;
  std::vector<Report> errorChannel;

  /// What the host does before it closes a report; it may call the component again.
  std::function<void()> whileShown;

  VersionRecord version{6, 1, 7601, 2};

  /// What the shell knows of a special folder.
  struct ShellFolder {
    /// At most 260 characters.
    Text path;
    std::int32_t pathStatus = 1;
  };
  std::map<std::int32_t, ShellFolder> shellFolders;

  MemoryDisk disk;

  /// Lets a service call fail. Calls of all services, files and streams included, are counted
  /// together.
  Fault fault;

 private:
  std::shared_ptr<ReportListener> Listener() override { return listener; }
  bool IsDesktopVisible() override { return isDesktopVisible; }
  /// Records `report`, then runs whileShown.
  void ShowBox(const Report& report) override;
  void WriteToErrorChannel(const Report& report) override { errorChannel.push_back(report); }

  MemoryAdapter adapter_;

 public:
  /// What the file system yields as the system folder; must be of Adapter.
  Object systemFolder;
};

}  // namespace brindlex
