#pragma once

#include <memory>

#include "automation/collection.h"
#include "environment/system_services.h"
#include "platform/file_system.h"

namespace brindlex {

/// Every service of the system that the component's operations use. There is one implementation
/// over Windows and one in memory, for tests. Every function may throw RuntimeError; all are called
/// on the thread of the caller's apartment.
class Platform : public SystemServices {
 public:
  /// A new, empty collection that can be handed out to the host.
  virtual CollectionRef NewCollection() = 0;

  /// A new file-system object. Error 429 when the system has none.
  virtual std::unique_ptr<FileSystem> NewFileSystem() = 0;
};

}  // namespace brindlex
