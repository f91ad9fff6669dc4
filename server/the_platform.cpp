#include "server/the_platform.h"

#include "server/co_collection.h"

namespace brindlex {

Win32Platform& ThePlatform() {
  static Win32Platform platform(MakeCollection);
  return platform;
}

}  // namespace brindlex
