// Any text, with any markers: the component restores what the naive model does, reports what it
// does, and saves what it restored as the model does.

#include "fuzz/agreement.h"
#include "fuzz/input.h"
#include "persistence/collection_save_restore.h"

namespace brindlex {
namespace {

const naive::Texts kClasses[] = {
    {u"a"}, {u"a", u"aa"}, {u"Title", u"Count", u"Note"}, {u"Name", u"b", u"Title"}};
constexpr TextView kKeys[] = {u"", u"a", u"Title", u"title"};
constexpr std::size_t kMostOfAMarker = 3;

OptionalText Given(const Text& marker) { return marker.empty() ? OptionalText() : marker; }

void Compare(Input input) {
  MemoryPlatform platform;
  const MemoryAdapter& adapter = platform.Adapter();
  clsCollectionSaveRestore store(platform);
  const naive::Texts& members = kClasses[input.TakeBelow(std::size(kClasses))];
  const TextView key = kKeys[input.TakeBelow(std::size(kKeys))];
  const Text recordEnd = input.TakeText(kMostOfAMarker);
  const Text fieldEnd = input.TakeText(kMostOfAMarker);
  naive::Markers markers;
  if (!recordEnd.empty()) markers.recordEnd = recordEnd;
  if (!fieldEnd.empty()) markers.fieldEnd = fieldEnd;
  const Text text = input.Rest();

  const auto expected = naive::Restore(text, members, markers, Text(key));
  const CollectionRef restored = store.AsDelimitedToCollection(
      text, NewCreator(adapter, ClassOf(adapter, members)), Given(recordEnd), Given(fieldEnd), key);
  RequireRecords(expected.records, restored, adapter);
  RequireReports(expected.reports, platform);
  if (restored == nullptr) return;

  std::vector<naive::Texts> rows;
  rows.reserve(expected.records->size());
  for (const naive::Record& record : *expected.records) rows.push_back(record.values);
  Require(naive::Save(members, rows, markers) ==
              store.AsDelimitedFromCollection(restored, Given(recordEnd), Given(fieldEnd)),
          "what is saved again");
  RequireReports({}, platform);
}

}  // namespace
}  // namespace brindlex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  brindlex::Compare({data, size});
  return 0;
}
