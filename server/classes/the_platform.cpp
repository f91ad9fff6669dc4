#include "server/classes/the_platform.h"

#include "server/classes/co_collection.h"
#include "server/classes/thread_state.h"
#include "server/runtime/never_destroyed.h"

namespace brindlex {

namespace {

std::shared_ptr<ReportListener> FindListener() {
  const auto state = CurrentThreadState();
  return state == nullptr ? nullptr : state->listener;
}

}  // namespace

Win32Platform& ThePlatform() {
  static NeverDestroyed<Win32Platform> platform(MakeCollection, CollectionOf, FindListener);
  return platform.Get();
}

}  // namespace brindlex
