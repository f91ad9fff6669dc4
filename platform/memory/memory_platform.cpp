#include "platform/memory/memory_platform.h"

namespace brindlex {

void MemoryPlatform::ShowReport(const Report& report) {
  fault.Pass();
  reports.push_back(report);
  // A copy, since it may replace itself.
  const auto callback = whileShown;
  if (callback) callback();
}

CollectionRef MemoryPlatform::NewCollection() {
  fault.Pass();
  return family_.NewCollection();
}

}  // namespace brindlex
