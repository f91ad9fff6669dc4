// Any sequence of storing, taking out and damaging collections in one text: the component agrees
// with the naive model, and what holds no marker comes back as it was stored.

#include <algorithm>

#include "fuzz/agreement.h"
#include "fuzz/input.h"
#include "persistence/collection_save_restore.h"
#include "tests/core/persistence/naive_collections.h"

namespace brindlex {
namespace {

const naive::Texts kMembers = {u"Title", u"Count"};
constexpr TextView kKeys[] = {u"", u"Title", u"Count", u"title"};
constexpr std::size_t kMostOfAName = 6;

bool HoldsMarker(const Text& text) {
  return text.find_first_of(u"\u00A5\u0152\u00BB\u0160") != Text::npos;
}

/// Whether `before` is empty or has the header that the component writes. In another one the names
/// may stand in a column that gives no keys, and the text ends up with two blocks of one name.
bool IsOwn(const Text& before) {
  return before.empty() || before.starts_with(u"DataString\u00A5Name\u00A5\u0152");
}

/// Whether `rows` under `name` come back from a text. A line break at a record's start does not.
bool IsKept(const Text& name, const std::vector<naive::Texts>& rows) {
  if (name.empty() || rows.empty() || HoldsMarker(name)) return false;
  return std::ranges::all_of(rows, [](const naive::Texts& row) {
    return !row[0].starts_with(u"\r\n") && !HoldsMarker(row[0]) && !HoldsMarker(row[1]);
  });
}

class Comparison {
 public:
  void Set(Text text) {
    store_.SetMultiDataString(text);
    model_.text = std::move(text);
  }

  const Text& Stored() const { return model_.text; }

  void Store(Input& input) {
    const Text name = input.TakeText(kMostOfAName);
    std::vector<naive::Texts> rows(input.TakeBelow(4));
    for (naive::Texts& row : rows) row = {input.TakeText(9), input.TakeText(9)};
    const bool wasOwn = IsOwn(Stored());
    const Text stored = store_.MultiDataColString(CollectionFrom(rows), name);
    const auto expected = model_.Store(name, kMembers, rows);
    Require(model_.text == stored, "the text that is stored");
    RequireReports(expected, platform_);
    store_.SetMultiDataString(stored);
    if (!wasOwn || !IsKept(name, rows)) return;
    std::vector<naive::Record> kept;
    kept.reserve(rows.size());
    for (const naive::Texts& row : rows) kept.push_back({row, {}});
    RequireRecords(kept, store_.WorkingCol(name, creator_), Adapter());
    RequireReports({}, platform_);
  }

  void Work(Input& input) {
    const TextView key = kKeys[input.TakeBelow(std::size(kKeys))];
    const Text name = input.TakeText(kMostOfAName);
    const auto expected = model_.Working(name, kMembers, Text(key));
    RequireRecords(expected.records, store_.WorkingCol(name, creator_, key), Adapter());
    RequireReports(expected.reports, platform_);
  }

 private:
  const MemoryAdapter& Adapter() const { return platform_.Adapter(); }

  CollectionRef CollectionFrom(const std::vector<naive::Texts>& rows) {
    CollectionRef collection = Adapter().NewCollection();
    for (const naive::Texts& row : rows) {
      collection->Add(NewRecord(Adapter(), class_, row), std::nullopt);
    }
    return collection;
  }

  MemoryPlatform platform_;
  const std::shared_ptr<RecordClass> class_ = ClassOf(Adapter(), kMembers);
  const Object creator_ = NewCreator(Adapter(), class_);
  clsCollectionSaveRestore store_{platform_};
  naive::Collections model_;
};

void Compare(Input input) {
  Comparison comparison;
  // More steps than these say nothing new, and the texts grow with each.
  for (int step = 0; step < 8 && !input.IsUsedUp(); ++step) {
    switch (input.TakeBelow(4)) {
      case 0:
        comparison.Set(input.TakeText(120));
        break;
      case 1:
        comparison.Set(comparison.Stored() + input.TakeText(40));
        break;
      case 2:
        comparison.Store(input);
        break;
      default:
        comparison.Work(input);
    }
  }
}

}  // namespace
}  // namespace brindlex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  brindlex::Compare({data, size});
  return 0;
}
