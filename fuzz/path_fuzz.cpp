// Any path, of any units: the component takes the file name that the naive model takes.

#include "appfiles/text_files.h"
#include "fuzz/agreement.h"
#include "fuzz/input.h"
#include "tests/core/appfiles/naive_path.h"

namespace brindlex {
namespace {

void Compare(const Text& path) {
  MemoryPlatform platform;
  Require(naive::FileNameFromPath(path) == FileNameFromPath(platform, path), "the file name");
  RequireReports({}, platform);
}

}  // namespace
}  // namespace brindlex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  brindlex::Input input(data, size);
  const bool isOfUnits = input.TakeBelow(4) == 0;
  brindlex::Compare(isOfUnits ? input.RestOfUnits() : input.Rest());
  return 0;
}
