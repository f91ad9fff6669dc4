#pragma once

#include "automation/collection.h"
#include "automation/object.h"
#include "environment/report.h"

namespace brindlex {

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
};

}  // namespace brindlex
