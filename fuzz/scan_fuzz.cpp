// Any units, scanned for any two from any start: the scan of several units at a time stops where
// the scan of one after the other stops, and neither reads beyond the text.

#include <algorithm>
#include <memory>

#include "fuzz/agreement.h"
#include "fuzz/input.h"
#include "persistence/marker_scan.h"

namespace brindlex {
namespace {

void CompareFrom(TextView text, char16_t one, char16_t other) {
  MarkerScan<FastestMatch> scan(text, one, other);
  MarkerScan<ScalarMatch> model(text, one, other);
  const char16_t* const end = text.data() + text.size();
  for (const char16_t* expected = model.Next(); expected != end; expected = model.Next()) {
    Require(expected == scan.Next(), "where a unit stands");
    Require(*expected == one || *expected == other, "which unit stands there");
  }
  Require(scan.Next() == end, "the end of the text");
  Require(scan.Next() == end, "a scan behind its end");
}

void Compare(Input input) {
  const auto one = input.Take<char16_t>();
  const auto other = input.Take<char16_t>();
  const std::size_t start = input.TakeBelow(64);
  const bool isOfUnits = input.TakeBelow(2) == 0;
  const Text units = isOfUnits ? input.RestOfUnits() : input.PlainRest();
  // Memory of exactly this size, so that a read beyond it is seen.
  const auto memory = std::make_unique<char16_t[]>(units.size());
  std::copy(units.begin(), units.end(), memory.get());
  const TextView text(memory.get(), units.size());
  CompareFrom(text.substr(std::min(start, text.size())), one, other);
}

}  // namespace
}  // namespace brindlex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  brindlex::Compare({data, size});
  return 0;
}
