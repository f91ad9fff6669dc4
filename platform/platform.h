#pragma once

#include <memory>
#include <string>

#include "automation/collection.h"
#include "platform/file_replacement.h"
#include "platform/file_system.h"
#include "platform/report_services.h"
#include "platform/shell_folders.h"
#include "platform/system_version.h"

namespace brindlex {

/// Every service of the system that the component's operations use. There is one implementation
/// over Windows and one in memory, for tests. Every function may throw RuntimeError; all are called
/// on the thread of the caller's apartment.
class Platform : public ReportServices, public ShellFolders, public SystemVersion {
 public:
  /// A new, empty collection that the host can receive.
  virtual CollectionRef NewCollection() = 0;

  /// A new file-system object. Error 429 when the system has none.
  virtual std::unique_ptr<FileSystem> NewFileSystem() = 0;

  /// `text` in the system's code page, such that it converts back to itself. Error 5, with a
  /// description that names the position, when the code page cannot hold it.
  virtual std::string InCodePage(TextView text) = 0;

  /// A new, empty file that is to replace the file `path`, which need not exist. Its name is none
  /// that anything in the folder has. Error 70 when `path` is a folder or a link, or the folder may
  /// not be written to; 68 for a device, 76 when there is no such folder, 52 for a name that no
  /// file can have.
  virtual std::unique_ptr<FileReplacement> NewFileReplacement(TextView path) = 0;
};

}  // namespace brindlex
