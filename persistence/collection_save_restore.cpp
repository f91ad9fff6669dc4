#include "persistence/collection_save_restore.h"

#include <utility>

#include "automation/runtime_error.h"
#include "environment/report.h"
#include "environment/trap.h"
#include "persistence/guarded_text.h"

namespace brindlex {
namespace {

constexpr TextView kGetMemberNames = u"GetMemberNames";
constexpr TextView kGetNewObject = u"GetNewObject";
constexpr TextView kMembersCol = u"MembersCol";

/// `collection`, which a caller handed in. Error 91 when it is no collection.
const Collection& Given(const CollectionRef& collection) {
  if (collection == nullptr) throw RuntimeError(error_number::kObjectNotSet);
  return *collection;
}

bool IsEmpty(const CollectionRef& collection) {
  return collection == nullptr || collection->Count() < 1;
}

/// Whether `object` has entries. An object that cannot even be counted is no collection.
bool HoldsEntries(const CollectionRef& object) {
  try {
    return !IsEmpty(object);
  } catch (const RuntimeError& error) {
    if (error.number != error_number::kNoSuchMember) throw;
    return false;
  }
}

std::vector<Text> TextsOf(const Collection& collection) {
  std::vector<Text> texts;
  const auto walk = collection.Enumerate();
  for (Text text; walk->NextText(text);) texts.push_back(text);
  return texts;
}

}  // namespace

clsCollectionSaveRestore::clsCollectionSaveRestore(Platform& platform)
    : platform_(platform), textData_(platform) {}

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
  return TrapSilently([&] { Given(myCol).TextUnder(myKey); });
}

bool clsCollectionSaveRestore::ObjectItemExists(const CollectionRef& myCol,
                                                TextView myKey) noexcept {
  return TrapSilently([&] { Given(myCol).ObjectUnder(myKey); });
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
  Save(myObjects, recordEndMarker, fieldEndMarker, nullptr, result);
}

bool clsCollectionSaveRestore::Save(const CollectionRef& myObjects,
                                    const OptionalText& recordEndMarker,
                                    const OptionalText& fieldEndMarker, const Markers* around,
                                    TextBuilder& result) {
  std::vector<Text> names;
  std::size_t reading = TextView::npos;
  const bool refusesMarkers = refuseMarkers_;
  bool isSaved = false;
  Trap(
      [&](CurrentLine& line) {
        line = 1;
        const std::int32_t count = Given(myObjects).Count();
        isSaved = count == 0;
        if (isSaved) return;
        line = 2;
        const Markers markers = MarkersOr(DefaultMarkers(), recordEndMarker, fieldEndMarker);
        line = 3;
        const Object first = FirstObject(*myObjects);
        names = NamesToSave(first);
        line = 4;
        if (names.empty()) GoToHandler({});
        line = 5;
        std::optional<GuardedText> guarded;
        if (refusesMarkers) {
          guarded.emplace(markers, around, result, reading).AppendHeader(names);
        } else {
          AppendHeader(names, markers, result);
        }
        const auto access = first.Adapter().Access(names);
        const auto walk = myObjects->Enumerate();
        std::int32_t written = 0;
        for (Object object; walk->NextObject(object);) {
          if (guarded) {
            guarded->AppendRecord(object, *access, names.size());
          } else {
            access->AppendTexts(object, markers.fieldEnd, result, reading);
            result.AppendMarker(markers.recordEnd);
          }
          ExpectRecords(count, ++written, result);
        }
        isSaved = true;
      },
      [&](const PendingError& pending) {
        result.Clear();
        Report report = TaggedReport(u"Error DFC", u"Error DFC", pending);
        report.text.append(u" Member Name: ");
        if (reading < names.size()) report.text.append(names[reading]);
        platform_.ShowReport(report);
      });
  return isSaved;
}

Text clsCollectionSaveRestore::AsDelimitedFromObject(const Object& myObj) {
  Text result;
  Trap(
      [&](CurrentLine&) {
        const auto alone = std::make_shared<InnerCollection>();
        alone->Add(myObj, std::nullopt);
        result = AsDelimitedFromCollection(alone);
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

std::unique_ptr<RecordWalk> clsCollectionSaveRestore::RecordsOf(TextView text,
                                                                const Markers& markers) {
  std::unique_ptr<RecordWalk> records;
  SplitString([&] { records = WalkRecords(text, markers); });
  return records;
}

const FieldViews& clsCollectionSaveRestore::FieldsOf(const RecordWalk& record) {
  const FieldViews* fields = nullptr;
  SplitString([&] { fields = &record.Fields(); });
  return *fields;
}

/// The columns of a text under restore.
struct clsCollectionSaveRestore::Header {
  /// As the record class spells them; blank for a column that the class does not have.
  std::vector<Text> properties;
  /// Those that the header names exactly as the property that keys are taken from.
  std::vector<std::size_t> keyColumns;
};

namespace {

/// How the class spells the member that the header calls `name`; the header's spelling when the
/// list holds something else under that key.
Text OwnSpelling(const Collection& members, TextView name) {
  Text own = members.TextUnder(name);
  return EqualIgnoringCase(own, name) ? own : Text(name);
}

}  // namespace

clsCollectionSaveRestore::Header clsCollectionSaveRestore::ReadHeader(const FieldViews& names,
                                                                      const Collection& members,
                                                                      TextView keyProperty) {
  Header header;
  for (const TextView name : names) {
    Text property;
    IgnoreErrors([&] { property = OwnSpelling(members, name); });
    if (!property.empty() && !keyProperty.empty() && name == keyProperty) {
      header.keyColumns.push_back(header.properties.size());
    }
    header.properties.push_back(std::move(property));
  }
  return header;
}

namespace {

/// GoToHandler when a record has not as many values as the header has names.
void RequireAll(const FieldViews& values, std::size_t expected, std::size_t recordNumber) {
  if (values.size() == expected) return;
  GoToHandler(Text(u"Fields in record don't match field list, record number ")
                  .append(DecimalText(static_cast<std::int32_t>(recordNumber))));
}

/// The first value that is not empty in one of `columns`.
std::optional<TextView> KeyOf(const FieldViews& values, const std::vector<std::size_t>& columns) {
  for (const std::size_t column : columns) {
    if (!values[column].empty()) return values[column];
  }
  return std::nullopt;
}

}  // namespace

CollectionRef clsCollectionSaveRestore::AsDelimitedToCollection(TextView savedInfo,
                                                                const Object& createObject,
                                                                const OptionalText& recordEndMarker,
                                                                const OptionalText& fieldEndMarker,
                                                                const OptionalText& keyProperty) {
  CollectionRef result;
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
        line = 4;
        const auto records = RecordsOf(savedInfo, markers);
        records->Next();
        if (!records->More() || !records->HasFields()) return;
        line = 5;
        const Header header = ReadHeader(records->Fields(), *members, keyName);
        const auto access = sample.Adapter().Access(header.properties);
        const auto creator = createObject.Adapter().Access({Text(kGetNewObject)});
        const CollectionRef collection = sample.Adapter().NewCollection();
        for (std::size_t number = 1; records->Next(); ++number) {
          line = 6;
          const FieldViews& values = FieldsOf(*records);
          RequireAll(values, header.properties.size(), number);
          line = 7;
          Object object = creator->CallForObject(createObject, 0);
          object.Adapter();
          access->LetTexts(object, values);
          line = 8;
          collection->Add(std::move(object), KeyOf(values, header.keyColumns));
        }
        result = collection;
      },
      [&](const PendingError& pending) {
        platform_.ShowReport(TaggedReport(u"Error ADTC", u"Error ADTC", pending));
      });
  return result;
}

Object clsCollectionSaveRestore::GetObjectFromString(TextView inputString,
                                                     const Object& objectSample) {
  Object result;
  Trap(
      [&](CurrentLine&) {
        if (inputString.empty()) return;
        result = FirstObject(Given(AsDelimitedToCollection(inputString, objectSample)));
      },
      [&](const PendingError& pending) {
        platform_.ShowReport(
            LocatedReport(u"in zrKX4.clsCollectionSaveRestore.GetObjectFromString ", pending));
      });
  return result;
}

// ---- Several collections in one text -----------------------------------------------------------

CollectionRef clsCollectionSaveRestore::RestoreBlocks() {
  const auto text = multiDataString_;
  return AsDelimitedToCollection(*text, textData_.NewCreator(), {}, {}, u"Name");
}

CollectionRef clsCollectionSaveRestore::WorkingCol(TextView collectionName, const Object& myCreator,
                                                   const OptionalText& workingColKey) {
  CollectionRef result;
  Trap(
      [&](CurrentLine&) {
        const CollectionRef blocks = RestoreBlocks();
        if (blocks == nullptr) return;
        Object block;
        IgnoreErrors([&] { block = blocks->ObjectUnder(collectionName); });
        if (block.IsNothing()) return;
        const Text& data = textData_.Block(block).DataString;
        result = AsDelimitedToCollection(data, myCreator, InternalRecordEnd, InternalFieldEnd,
                                         workingColKey);
      },
      [&](const PendingError& pending) {
        platform_.ShowReport(
            TaggedReport(u"Error DFO", u"Error creating working collection", pending));
      });
  return result;
}

Text clsCollectionSaveRestore::MultiDataColString(const CollectionRef& newCol, TextView name) {
  Text result;
  Trap(
      [&](CurrentLine&) {
        CollectionRef blocks = RestoreBlocks();
        if (blocks == nullptr) blocks = textData_.NewCollection();
        const bool needsInner = refuseMarkers_;
        const Markers outer = DefaultMarkers();
        StringTextBuilder inner;
        const bool isSaved = Save(newCol, InternalRecordEnd, InternalFieldEnd, &outer, inner);
        if (needsInner && !isSaved) return;
        clsTextData data{inner.Take(), Text(name)};
        if (ObjectItemExists(blocks, name)) {
          textData_.Block(blocks->ObjectUnder(name)) = std::move(data);
        } else {
          blocks->Add(textData_.NewBlock(std::move(data)), name);
        }
        result = AsDelimitedFromCollection(blocks);
      },
      [&](const PendingError& pending) {
        platform_.ShowReport(
            TaggedReport(u"Error DFO", u"Error saving working collection", pending));
      });
  return result;
}

}  // namespace brindlex
