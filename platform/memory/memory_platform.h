#pragma once

#include <functional>
#include <vector>

#include "platform/memory/fault.h"
#include "platform/memory/memory_object.h"
#include "platform/platform.h"

namespace brindlex {

/// The system's services in memory: a test reads what was asked of them and lets any call fail.
class MemoryPlatform : public Platform {
 public:
  /// Records `report`, then runs whileShown.
  void ShowReport(const Report& report) override;

  /// A MemoryCollection of Family.
  CollectionRef NewCollection() override;

  /// The objects of the host, the collections of this platform included.
  const MemoryFamily& Family() const { return family_; }

  /// Every report that was shown, in order.
  std::vector<Report> reports;

  /// What the host does before it closes a report; it may call the component again.
  std::function<void()> whileShown;

  /// Lets a service call fail. Calls of all services are counted together.
  Fault fault;

 private:
  MemoryFamily family_;
};

}  // namespace brindlex
