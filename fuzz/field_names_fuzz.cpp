// Any text, with any markers, empty ones included: the component finds the field names that the
// naive model finds, and fails where it fails.

#include <optional>

#include "fuzz/agreement.h"
#include "fuzz/input.h"
#include "persistence/collection_save_restore.h"

namespace brindlex {
namespace {

/// A marker as a caller hands it over: left out, or of up to three units.
std::optional<Text> TakeMarker(Input& input) {
  if (input.TakeBelow(2) == 0) return std::nullopt;
  return input.TakeText(3);
}

OptionalText Given(const std::optional<Text>& marker) {
  return marker ? OptionalText(*marker) : OptionalText();
}

struct Outcome {
  std::optional<naive::Texts> names;
  /// 0 when it did not fail.
  std::int32_t error = 0;
};

Outcome Expected(const Text& text, const std::optional<Text>& recordEnd,
                 const std::optional<Text>& fieldEnd) {
  naive::Markers markers;
  markers.recordEnd = recordEnd.value_or(markers.recordEnd);
  markers.fieldEnd = fieldEnd.value_or(markers.fieldEnd);
  if (markers.recordEnd.empty() || markers.fieldEnd.empty()) return {{}, 5};
  const auto found = naive::ReadFieldNames(text, markers);
  return found.duplicate ? Outcome{{}, 457} : Outcome{found.names};
}

Outcome Seen(MemoryPlatform& platform, const Text& text, const std::optional<Text>& recordEnd,
             const std::optional<Text>& fieldEnd) {
  clsCollectionSaveRestore store(platform);
  Outcome seen;
  try {
    const auto found = store.FieldNamesCollection(text, Given(recordEnd), Given(fieldEnd));
    if (found == nullptr) return seen;
    seen.names.emplace();
    for (const auto& entry : CollectionIn(platform.Adapter(), found).entries) {
      seen.names->push_back(std::get<Text>(entry.value));
      Require(entry.key == seen.names->back(), "the key of a name");
    }
  } catch (const RuntimeError& error) {
    seen.error = error.number;
  }
  return seen;
}

void Compare(Input input) {
  MemoryPlatform platform;
  const auto recordEnd = TakeMarker(input);
  const auto fieldEnd = TakeMarker(input);
  const Text text = input.Rest();
  const Outcome expected = Expected(text, recordEnd, fieldEnd);
  const Outcome seen = Seen(platform, text, recordEnd, fieldEnd);
  Require(expected.error == seen.error, "the error");
  Require(expected.names == seen.names, "the names");
  RequireReports({}, platform);
  Require(platform.Adapter().LiveObjects() == 0, "the objects that are left");
}

}  // namespace
}  // namespace brindlex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  brindlex::Compare({data, size});
  return 0;
}
