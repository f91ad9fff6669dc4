// Any units, scanned for any two from any start: the scan of several units at a time lists what
// the scan of one after the other lists and what is there, and neither reads beyond the text.

#include <algorithm>
#include <memory>
#include <vector>

#include "fuzz/agreement.h"
#include "fuzz/input.h"
#include "persistence/marker_scan.h"

namespace brindlex {
namespace {

template <class Matcher>
std::vector<const char16_t*> PlacesIn(TextView text, char16_t one, char16_t other) {
  using Scan = MarkerScan<Matcher>;
  Scan scan(text, one, other);
  std::vector<const char16_t*> places;
  while (!scan.IsAtEnd()) {
    const std::size_t listed = places.size();
    places.resize(listed + Scan::kRoom);
    const char16_t** const end = scan.List(places.data() + listed);
    places.resize(static_cast<std::size_t>(end - places.data()));
  }
  return places;
}

void CompareFrom(TextView text, char16_t one, char16_t other) {
  std::vector<const char16_t*> expected;
  for (const char16_t& unit : text) {
    if (unit == one || unit == other) expected.push_back(&unit + 1);
  }
  Require(PlacesIn<ScalarMatcher>(text, one, other) == expected, "the places, one by one");
  Require(PlacesIn<FastestMatcher>(text, one, other) == expected, "the places, together");
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
