#include "server/the_platform.h"

#include "server/co_collection.h"
#include "server/thread_state.h"

namespace brindlex {

namespace {

std::shared_ptr<ReportListener> FindListener() {
  const auto state = CurrentThreadState();
  return state == nullptr ? nullptr : state->listener;
}

}  // namespace

Win32Platform& ThePlatform() {
  static Win32Platform platform(MakeCollection, FindListener);
  return platform;
}

}  // namespace brindlex
