#include "server/the_platform.h"

#include "server/co_collection.h"
#include "server/never_destroyed.h"
#include "server/thread_state.h"

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
