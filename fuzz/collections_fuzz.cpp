// Any sequence of assigning and damaging the text of several collections, and of storing, reading,
// listing and removing them, in the text and beside it, also from within one another: the component
// agrees with the naive model, which reads and writes the whole text for each operation, and
// records without markers come back as they were stored.
//
// BRINDLEX_FUZZ_STEPS=1 in the environment prints the number of operations when the program ends.

#include <algorithm>
#include <cstdlib>
#include <iostream>

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

/// Whether `before` is empty or has the header that the component writes. With another one the
/// names may be in a column that gives no keys, and the text ends up with two collections of one
/// name.
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

/// Counts operations, and prints their number if it is asked to.
class StepCounter {
 public:
  StepCounter() = default;
  StepCounter(const StepCounter&) = delete;
  StepCounter& operator=(const StepCounter&) = delete;
  ~StepCounter() {
    if (std::getenv("BRINDLEX_FUZZ_STEPS") != nullptr)
      std::cerr << "operations: " << steps_ << '\n';
  }
  void Count() { ++steps_; }

 private:
  std::uint64_t steps_ = 0;
};

StepCounter steps;

class Comparison {
 public:
  explicit Comparison(Input& input) : input_(input) {
    class_->onUse = [this](RecordClass::Use, TextView) { UseMeanwhile(); };
  }

  void Step() {
    steps.Count();
    switch (input_.TakeBelow(9)) {
      case 0:
        Set(input_.TakeText(120));
        break;
      case 1:
        Set(model_.text + input_.TakeText(40));
        break;
      case 2:
        Set(model_.text);
        break;
      case 3:
      case 4:
        StoreInNewText();
        break;
      case 5:
        StoreHere();
        break;
      case 6:
        Remove();
        break;
      case 7:
        ListNames();
        break;
      default:
        Work();
    }
    Require(model_.text == store_.MultiDataString(), "the text");
  }

  std::size_t TextSize() const { return model_.text.size(); }

 private:
  void Set(const Text& text) {
    store_.SetMultiDataString(text);
    model_.text = text;
  }

  /// Runs `operation` with a further operation, perhaps, within one of its calls of the host.
  template <class Operation>
  auto Interrupted(Operation&& operation) {
    usesLeft_ = input_.TakeBelow(8);
    auto result = operation();
    usesLeft_ = 0;
    return result;
  }

  void StoreInNewText() {
    const Text name = input_.TakeText(kMostOfAName);
    const std::vector<naive::Texts> rows = TakeRows();
    const CollectionRef collection = CollectionFrom(rows);
    const bool isAssigned = input_.TakeBelow(4) != 0;
    const bool wasOwn = IsOwn(model_.text);
    naive::Collections stored = model_;
    const auto expected = stored.Store(name, kMembers, rows);
    const Text text = Interrupted([&] { return store_.MultiDataColString(collection, name); });
    Require(stored.text == text, "the text that is stored");
    RequireReports(expected, platform_);
    if (!isAssigned) return;
    Set(text);
    if (wasOwn) RequireKept(name, rows);
  }

  void StoreHere() {
    const Text name = input_.TakeText(kMostOfAName);
    const std::vector<naive::Texts> rows = TakeRows();
    const CollectionRef collection = CollectionFrom(rows);
    const bool wasOwn = IsOwn(model_.text);
    naive::Collections stored = model_;
    const auto expected = stored.StoreHere(name, kMembers, rows);
    const bool isStored = Interrupted([&] { return store_.StoreCollection(collection, name); });
    Require(isStored == expected.empty(), "whether it is stored");
    RequireReports(expected, platform_);
    if (!isStored) return;
    model_ = stored;
    if (wasOwn) RequireKept(name, rows);
  }

  void Remove() {
    const Text name = input_.TakeText(kMostOfAName);
    const auto expected = model_.Remove(name);
    Require(store_.RemoveCollection(name) == expected.wasThere, "whether it was there");
    RequireReports(expected.reports, platform_);
  }

  void ListNames() {
    const auto expected = model_.AllNames();
    const CollectionRef names = store_.CollectionNames();
    RequireReports(expected.reports, platform_);
    Require(expected.names.has_value() == (names != nullptr), "whether there are names");
    if (names == nullptr) return;
    naive::Texts listed;
    for (const auto& entry : CollectionIn(Adapter(), names).entries) {
      listed.push_back(std::get<Text>(entry.value));
      Require(entry.key == listed.back(), "the key of a name");
    }
    Require(listed == *expected.names, "the names");
  }

  void Work() {
    const TextView key = kKeys[input_.TakeBelow(std::size(kKeys))];
    const Text name = input_.TakeText(kMostOfAName);
    const auto expected = model_.Working(name, kMembers, Text(key));
    const CollectionRef working =
        Interrupted([&] { return store_.WorkingCol(name, creator_, key); });
    RequireRecords(expected.records, working, Adapter());
    RequireReports(expected.reports, platform_);
  }

  void UseMeanwhile() {
    if (usesLeft_ == 0 || --usesLeft_ != 0) return;
    // The reports of the two would mix.
    if (!platform_.reports.empty()) return;
    steps.Count();
    switch (input_.TakeBelow(4)) {
      case 0:
        Set(input_.TakeText(60));
        break;
      case 1:
        StoreHere();
        break;
      case 2:
        Remove();
        break;
      default:
        Work();
    }
  }

  std::vector<naive::Texts> TakeRows() {
    std::vector<naive::Texts> rows(input_.TakeBelow(4));
    for (naive::Texts& row : rows) row = {input_.TakeText(9), input_.TakeText(9)};
    return rows;
  }

  void RequireKept(const Text& name, const std::vector<naive::Texts>& rows) {
    if (!IsKept(name, rows)) return;
    std::vector<naive::Record> kept;
    kept.reserve(rows.size());
    for (const naive::Texts& row : rows) kept.push_back({row, {}});
    RequireRecords(kept, store_.WorkingCol(name, creator_), Adapter());
    RequireReports({}, platform_);
  }

  const MemoryAdapter& Adapter() const { return platform_.Adapter(); }

  CollectionRef CollectionFrom(const std::vector<naive::Texts>& rows) {
    CollectionRef collection = Adapter().NewCollection();
    for (const naive::Texts& row : rows) {
      collection->Add(NewRecord(Adapter(), class_, row), std::nullopt);
    }
    return collection;
  }

  Input& input_;
  MemoryPlatform platform_;
  const std::shared_ptr<RecordClass> class_ = ClassOf(Adapter(), kMembers);
  const Object creator_ = NewCreator(Adapter(), class_);
  clsCollectionSaveRestore store_{platform_};
  naive::Collections model_;
  /// Uses of the host's records until one of them does something else; 0 for never.
  std::size_t usesLeft_ = 0;
};

void Compare(Input input) {
  constexpr int kMostSteps = 64;
  constexpr std::size_t kLongestText = 4000;
  Comparison comparison(input);
  for (int step = 0; step < kMostSteps && !input.IsUsedUp(); ++step) {
    comparison.Step();
    if (comparison.TextSize() > kLongestText) break;
  }
}

}  // namespace
}  // namespace brindlex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  brindlex::Compare({data, size});
  return 0;
}
