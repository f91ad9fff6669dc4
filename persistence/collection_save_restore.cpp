#include "persistence/collection_save_restore.h"

#include <utility>

#include "automation/runtime_error.h"
#include "environment/report.h"
#include "environment/trap.h"
#include "persistence/multi_data.h"
#include "persistence/record_writer.h"
#include "persistence/restore_header.h"
#include "persistence/restore_reports.h"

namespace brindlex {
namespace {

constexpr MemberName kGetMemberNames = u"GetMemberNames";
constexpr MemberName kGetNewObject = u"GetNewObject";
constexpr MemberName kMembersCol = u"MembersCol";

/// The collection of a caller's reference. Error 91 when it is no collection.
const Collection& Required(const CollectionRef& collection) {
  if (collection == nullptr) throw RuntimeError(error_number::kObjectNotSet);
  return *collection;
}

bool IsEmpty(const CollectionRef& collection) {
  return collection == nullptr || collection->Count() < 1;
}

/// Whether `object` has entries. An object without a count is no collection.
bool HoldsEntries(const CollectionRef& object) {
  try {
    return !IsEmpty(object);
  } catch (const RuntimeError& error) {
    if (error.number != error_number::kNoSuchMember) throw;
    return false;
  }
}

std::vector<Text> TextsOf(const Collection& collection) {
  constexpr std::size_t kUsual = 8;
  std::vector<Text> texts;
  texts.reserve(kUsual);
  collection.ForEachText([&texts](TextView text) {
    texts.emplace_back(text);
    return true;
  });
  return texts;
}

/// The objects of a collection, to be saved.
class CollectionObjects {
 public:
  explicit CollectionObjects(const CollectionRef& collection) : collection_(collection) {}

  std::int32_t Count() const { return Required(collection_).Count(); }
  Object First() const { return collection_->First(); }
  template <class Visit>
  void ForEach(Visit&& visit) const {
    collection_->ForEachObject([&visit](const Object& object) {
      visit(object);
      return true;
    });
  }

 private:
  const CollectionRef& collection_;
};

/// One object, to be saved as the only one of a collection.
class OneObject {
 public:
  explicit OneObject(const Object& object) : object_(object) {}

  static std::int32_t Count() { return 1; }
  const Object& First() const { return object_; }
  template <class Visit>
  void ForEach(Visit&& visit) const {
    visit(object_);
  }

 private:
  const Object& object_;
};

/// Writes the header `names` and a record for each of `objects`, which are about `count`; `first`
/// is the first of them.
template <class Objects>
void WriteObjects(const Objects& objects, std::int32_t count, const Object& first,
                  const std::vector<Text>& names, RecordWriter& writer, TextBuilder& text) {
  writer.AppendHeader(names);
  const auto access = first.Adapter().Access(names);
  std::int32_t written = 0;
  objects.ForEach([&](const Object& object) {
    writer.AppendRecord(object, *access);
    HintSize(count, ++written, text);
  });
}

/// Collects what is restored in a collection that can be handed out.
class InCollection {
 public:
  void Begin(const ObjectAdapter& adapter) { collection_ = adapter.NewCollection(); }
  void Add(Object object, std::optional<TextView> key) { collection_->Add(std::move(object), key); }
  CollectionRef Take() { return std::move(collection_); }

 private:
  CollectionRef collection_;
};

/// Collects what is restored, for one call.
class InList {
 public:
  void Begin(const ObjectAdapter& /*adapter*/) {}
  void Add(Object object, std::optional<TextView> /*key*/) {
    objects_.push_back(std::move(object));
  }
  std::vector<Object> Take() { return std::move(objects_); }

 private:
  std::vector<Object> objects_;
};

}  // namespace

clsCollectionSaveRestore::clsCollectionSaveRestore(Platform& platform)
    : platform_(platform), textData_(platform), multiData_(std::make_shared<MultiData>()) {}

// ---- Member names ------------------------------------------------------------------------------

CollectionRef clsCollectionSaveRestore::GetMemberNamesLate(const Object& myObj) {
  CollectionRef result;
  Trap(
      [&](CurrentLine&) {
        CollectionRef listed;
        IgnoreErrors([&] { listed = myObj.CallForCollection(kMembersCol); });
        if (!HoldsEntries(listed)) {
          result = PropertiesOf(myObj);
        } else {
          result = listed->IsOwn() ? listed : CopyOf(*listed);
        }
      },
      [&](const PendingError& pending) {
        platform_.ShowReport(TaggedReport(u"Error GMNL", u"Error GMNL", pending));
      });
  return result;
}

CollectionRef clsCollectionSaveRestore::PropertiesOf(const Object& object) {
  CollectionRef names = platform_.NewCollection();
  for (const Text& name : object.PropertyGetNames()) names->Add(name, name);
  return names;
}

CollectionRef clsCollectionSaveRestore::CopyOf(const Collection& foreign) {
  CollectionRef copy = platform_.NewCollection();
  for (const Text& name : TextsOf(foreign)) {
    bool isKey = false;
    IgnoreErrors([&] {
      foreign.TextUnder(name);
      isKey = true;
    });
    if (isKey && !ItemExists(copy, name)) {
      copy->Add(name, name);
    } else {
      copy->Add(name, std::nullopt);
    }
  }
  return copy;
}

std::vector<Text> clsCollectionSaveRestore::NamesToSave(const Object& first) {
  CollectionRef names;
  IgnoreErrors([&] {
    CollectionRef own = first.CallForCollection(kGetMemberNames);
    if (!IsEmpty(own)) names = std::move(own);
  });
  if (names == nullptr) names = GetMemberNamesLate(first);
  return names == nullptr ? std::vector<Text>() : TextsOf(*names);
}

CollectionRef clsCollectionSaveRestore::MembersOf(const Object& sample) {
  CollectionRef members = sample.CallForCollection(kGetMemberNames);
  if (IsEmpty(members)) members = GetMemberNamesLate(sample);
  if (IsEmpty(members)) GoToHandler({});
  return members;
}

CollectionRef clsCollectionSaveRestore::FieldNamesCollection(TextView asDelimitedString,
                                                             const OptionalText& recordEndMarker,
                                                             const OptionalText& fieldEndMarker) {
  const Markers markers = MarkersOr(DefaultMarkers(), recordEndMarker, fieldEndMarker);
  const auto names = HeaderNames(asDelimitedString, markers);
  if (!names) return nullptr;
  CollectionRef result = platform_.NewCollection();
  for (const TextView name : *names) result->Add(name, name);
  return result;
}

bool clsCollectionSaveRestore::ItemExists(const CollectionRef& myCol, TextView myKey) noexcept {
  return TrapSilently([&] { Required(myCol).TextUnder(myKey); });
}

// ---- Objects to text ---------------------------------------------------------------------------

Text clsCollectionSaveRestore::AsDelimitedFromCollection(const CollectionRef& myObjects,
                                                         const OptionalText& recordEndMarker,
                                                         const OptionalText& fieldEndMarker) {
  StringTextBuilder result;
  AsDelimitedFromCollection(myObjects, recordEndMarker, fieldEndMarker, result);
  return result.Take();
}

void clsCollectionSaveRestore::AsDelimitedFromCollection(const CollectionRef& myObjects,
                                                         const OptionalText& recordEndMarker,
                                                         const OptionalText& fieldEndMarker,
                                                         TextBuilder& result) {
  SaveCollection(myObjects, recordEndMarker, fieldEndMarker, nullptr, result);
}

bool clsCollectionSaveRestore::SaveCollection(const CollectionRef& myObjects,
                                              const OptionalText& recordEndMarker,
                                              const OptionalText& fieldEndMarker,
                                              const Markers* around, TextBuilder& result) {
  return Save(CollectionObjects(myObjects), recordEndMarker, fieldEndMarker, around, result);
}

template <class Objects>
bool clsCollectionSaveRestore::Save(const Objects& objects, const OptionalText& recordEndMarker,
                                    const OptionalText& fieldEndMarker, const Markers* around,
                                    TextBuilder& result) {
  SaveProgress progress;
  const bool refusesMarkers = refuseMarkers_;
  bool isSaved = false;
  Trap(
      [&](CurrentLine& line) {
        line = 1;
        const std::int32_t count = objects.Count();
        if (count != 0) {
          line = 2;
          const Markers markers = MarkersOr(DefaultMarkers(), recordEndMarker, fieldEndMarker);
          line = 3;
          const Object& first = objects.First();
          progress.names = NamesToSave(first);
          line = 4;
          if (progress.names.empty()) GoToHandler({});
          line = 5;
          PlainRecordWriter plain(markers, result, progress.reading);
          std::optional<ValidatingRecordWriter> validating;
          if (refusesMarkers) validating.emplace(markers, around, result, progress.reading);
          RecordWriter& writer = refusesMarkers ? static_cast<RecordWriter&>(*validating) : plain;
          WriteObjects(objects, count, first, progress.names, writer, result);
        }
        isSaved = true;
      },
      [&](const PendingError& pending) {
        result.Clear();
        ReportFailedSave(pending, progress);
      });
  return isSaved;
}

void clsCollectionSaveRestore::ReportFailedSave(const PendingError& pending,
                                                const SaveProgress& progress) {
  Report report = TaggedReport(u"Error DFC", u"Error DFC", pending);
  report.text.append(u" Member Name: ");
  if (progress.reading < progress.names.size()) {
    report.text.append(progress.names[progress.reading]);
  }
  platform_.ShowReport(report);
}

Text clsCollectionSaveRestore::AsDelimitedFromObject(const Object& myObj) {
  Text result;
  Trap(
      [&](CurrentLine&) {
        StringTextBuilder text;
        Save(OneObject(myObj), {}, {}, nullptr, text);
        result = text.Take();
      },
      [&](const PendingError& pending) {
        platform_.ShowReport(TaggedReport(u"Error DFO", u"Error DFO", pending));
      });
  return result;
}

// ---- Text to objects ---------------------------------------------------------------------------

template <class Split>
void clsCollectionSaveRestore::SplitString(Split&& split) {
  bool isSplit = false;
  Trap(
      [&](CurrentLine&) {
        std::forward<Split>(split)();
        isSplit = true;
      },
      [&](const PendingError& pending) {
        platform_.ShowReport(
            LocatedReport(u"in Brindlex.clsCollectionSaveRestore.SplitString ", pending));
      });
  if (!isSplit) throw RuntimeError(error_number::kSubscriptOutOfRange);
}

std::unique_ptr<RecordParser> clsCollectionSaveRestore::RecordsOf(TextView text,
                                                                  const Markers& markers) {
  std::unique_ptr<RecordParser> records;
  SplitString([&] { records = ParseRecords(text, markers); });
  return records;
}

const FieldViews& clsCollectionSaveRestore::FieldsOf(const RecordParser& record) {
  const FieldViews* fields = nullptr;
  SplitString([&] { fields = &record.Fields(); });
  return *fields;
}

template <class Result>
auto clsCollectionSaveRestore::Restore(TextView savedInfo, const Object& createObject,
                                       const OptionalText& recordEndMarker,
                                       const OptionalText& fieldEndMarker,
                                       const OptionalText& keyProperty)
    -> decltype(std::declval<Result>().Take()) {
  decltype(std::declval<Result>().Take()) result{};
  Trap(
      [&](CurrentLine& line) {
        line = 1;
        if (savedInfo.empty()) return;
        line = 2;
        const Markers markers = MarkersOr(DefaultMarkers(), recordEndMarker, fieldEndMarker);
        const TextView keyName = keyProperty.Read().value_or(TextView());
        line = 3;
        const Object sample = createObject.CallForObject(kGetNewObject);
        const CollectionRef members = MembersOf(sample);
        line = restore_line::kSplitRecords;
        const auto records = RecordsOf(savedInfo, markers);
        if (!HasHeaderAndRecord(*records)) return;
        line = 5;
        const RestoreHeader header = ReadHeader(records->Fields(), *members, keyName);
        result = RestoreObjects<Result>(*records, header, sample, createObject, line);
      },
      [&](const PendingError& pending) { ReportFailedRestore(pending); });
  return result;
}

template <class Result>
auto clsCollectionSaveRestore::RestoreObjects(RecordParser& records, const RestoreHeader& header,
                                              const Object& sample, const Object& creator,
                                              CurrentLine& line) {
  const auto access = sample.Adapter().Access(header.properties);
  Result result;
  result.Begin(sample.Adapter());
  for (std::size_t number = 1; records.Next(); ++number) {
    line = restore_line::kSplitFields;
    const FieldViews& values = FieldsOf(records);
    RequireAll(values, access->Count(), number);
    line = 7;
    Object object = creator.CallForObject(kGetNewObject);
    object.Adapter();
    access->LetTexts(object, values);
    line = restore_line::kAddRecord;
    result.Add(std::move(object), KeyOf(values, header.keyColumns));
  }
  return result.Take();
}

CollectionRef clsCollectionSaveRestore::AsDelimitedToCollection(TextView savedInfo,
                                                                const Object& createObject,
                                                                const OptionalText& recordEndMarker,
                                                                const OptionalText& fieldEndMarker,
                                                                const OptionalText& keyProperty) {
  return Restore<InCollection>(savedInfo, createObject, recordEndMarker, fieldEndMarker,
                               keyProperty);
}

void clsCollectionSaveRestore::ReportFailedRestore(const PendingError& pending) {
  platform_.ShowReport(TaggedReport(kRestoreCaption, kRestoreCaption, pending));
}

Object clsCollectionSaveRestore::GetObjectFromString(TextView inputString,
                                                     const Object& objectSample) {
  Object result;
  Trap(
      [&](CurrentLine&) {
        if (inputString.empty()) return;
        std::vector<Object> objects = Restore<InList>(inputString, objectSample, {}, {}, {});
        if (objects.empty()) throw RuntimeError(error_number::kObjectNotSet);
        result = std::move(objects.front());
      },
      [&](const PendingError& pending) {
        platform_.ShowReport(
            LocatedReport(u"in zrKX4.clsCollectionSaveRestore.GetObjectFromString ", pending));
      });
  return result;
}

}  // namespace brindlex
