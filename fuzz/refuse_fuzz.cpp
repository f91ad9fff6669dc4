// Saves that refuse markers, with any values, member names and markers, alone and as one collection
// of several in a text: what is saved is read back as the same values, by the component and by the
// naive model, and whatever would not be is refused with the report that the model has for it.

#include <algorithm>

#include "fuzz/agreement.h"
#include "fuzz/input.h"
#include "persistence/collection_save_restore.h"
#include "tests/core/persistence/naive_guard.h"

namespace brindlex {
namespace {

constexpr std::size_t kMostOfAMarker = 3;
constexpr std::size_t kMostOfAName = 3;
constexpr std::size_t kMostOfAValue = 9;

using Rows = std::vector<naive::Texts>;

/// Whether any of `rows` holds one of `markers`.
bool HoldsMarker(const Rows& rows, const naive::Markers& markers) {
  return std::ranges::any_of(rows, [&](const naive::Texts& row) {
    return std::ranges::any_of(row, [&](const Text& value) {
      return naive::Contains(value, markers.fieldEnd) || naive::Contains(value, markers.recordEnd);
    });
  });
}

std::vector<naive::Record> RecordsOf(const Rows& rows) {
  std::vector<naive::Record> records;
  records.reserve(rows.size());
  for (const naive::Texts& row : rows) records.push_back({row, {}});
  return records;
}

class Comparison {
 public:
  explicit Comparison(Input& input) {
    for (std::size_t i = input.TakeBelow(3) + 1; i > 0; --i) {
      // One that begins with another letter is another member.
      members_.push_back(Text(1, static_cast<char16_t>(u'a' + i)) + input.TakeText(kMostOfAName));
    }
    rows_.resize(input.TakeBelow(4));
    for (naive::Texts& row : rows_) {
      for (std::size_t i = 0; i < members_.size(); ++i)
        row.push_back(input.TakeText(kMostOfAValue));
    }
    class_ = ClassOf(platform_.Adapter(), members_);
    store_.SetRefuseMarkers(true);
  }

  void Alone(const naive::Markers& markers) {
    const auto refusal = naive::Refusal(members_, rows_, markers, nullptr);
    Require(refusal || !HoldsMarker(rows_, markers), "a value that holds a marker");
    const Text saved =
        store_.AsDelimitedFromCollection(Collection(), markers.recordEnd, markers.fieldEnd);
    RequireRefusal(refusal);
    if (refusal) {
      Require(saved.empty(), "what is refused is not saved");
      return;
    }
    Require(saved == naive::Save(members_, rows_, markers), "the text that is saved");
    if (rows_.empty()) return;
    RequireSame(naive::Restore(saved, members_, markers, {}));
    RequireRecords(RecordsOf(rows_),
                   store_.AsDelimitedToCollection(saved, NewCreator(platform_.Adapter(), class_),
                                                  markers.recordEnd, markers.fieldEnd),
                   platform_.Adapter());
    RequireReports({}, platform_);
  }

  /// As the only one of several collections in one text.
  void AmongOthers(const Text& name) {
    const naive::Markers inner{u"\u00BB", u"\u0160"};
    const naive::Markers outer;
    auto refusal = naive::Refusal(members_, rows_, inner, &outer);
    Require(refusal || !HoldsMarker(rows_, inner), "a value that holds an inner marker");
    Require(refusal || !HoldsMarker(rows_, outer), "a value that holds an outer marker");
    const Text data = naive::Save(members_, rows_, inner);
    const naive::Texts columns = {u"DataString", u"Name"};
    if (!refusal) refusal = naive::Refusal(columns, {{data, name}}, outer, nullptr);
    const Text stored = store_.MultiDataColString(Collection(), name);
    RequireRefusal(refusal);
    if (refusal) {
      Require(stored.empty(), "what is refused is not stored");
      return;
    }
    Require(stored == naive::Save(columns, {{data, name}}, outer), "the text that is stored");
    if (rows_.empty()) return;
    store_.SetMultiDataString(stored);
    RequireRecords(RecordsOf(rows_),
                   store_.WorkingCol(name, NewCreator(platform_.Adapter(), class_)),
                   platform_.Adapter());
    RequireReports({}, platform_);
  }

 private:
  void RequireRefusal(const std::optional<naive::Report>& refusal) {
    if (refusal) {
      RequireReports({*refusal}, platform_);
    } else {
      RequireReports({}, platform_);
    }
  }

  void RequireSame(const naive::Restored& restored) const {
    Require(restored.reports.empty() && restored.records.has_value(), "what is saved can be read");
    Require(std::ranges::equal(*restored.records, rows_, {}, &naive::Record::values),
            "what is saved comes back");
  }

  CollectionRef Collection() {
    CollectionRef collection = platform_.Adapter().NewCollection();
    for (const naive::Texts& row : rows_) {
      collection->Add(NewRecord(platform_.Adapter(), class_, row), std::nullopt);
    }
    return collection;
  }

  MemoryPlatform platform_;
  naive::Texts members_;
  Rows rows_;
  std::shared_ptr<RecordClass> class_;
  clsCollectionSaveRestore store_{platform_};
};

void Compare(Input input) {
  const bool isAlone = input.TakeBelow(2) == 0;
  const Text recordEnd = input.TakeText(kMostOfAMarker);
  const Text fieldEnd = input.TakeText(kMostOfAMarker);
  Comparison comparison(input);
  if (isAlone) {
    naive::Markers markers;
    if (!recordEnd.empty()) markers.recordEnd = recordEnd;
    if (!fieldEnd.empty()) markers.fieldEnd = fieldEnd;
    comparison.Alone(markers);
  } else {
    comparison.AmongOthers(u"n" + recordEnd + fieldEnd);
  }
}

}  // namespace
}  // namespace brindlex

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  brindlex::Compare({data, size});
  return 0;
}
