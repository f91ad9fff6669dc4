#include "persistence/collection_save_restore.h"

#include <algorithm>
#include <utility>

#include "automation/runtime_error.h"
#include "environment/report.h"
#include "environment/trap.h"

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
        const std::vector<Text> names =
            HoldsEntries(listed) ? TextsOf(*listed) : myObj.PropertyGetNames();
        CollectionRef collection = platform_.NewCollection();
        for (const Text& name : names) collection->Add(name, name);
        result = std::move(collection);
      },
      [&](const PendingError& pending) {
        platform_.ShowReport(TaggedReport(u"Error GMNL", u"Error GMNL", pending));
      });
  return result;
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

namespace {

/// How many records a save writes before it makes room for all.
constexpr std::int32_t kSampleRecords = 64;

/// Makes room in `text`, which holds `written` records, for `count`: one allocation in place of
/// many that double, as far as the records are alike. The count is the host's word and may be
/// wrong, so the room is limited, and going without it is fine.
void ReserveFor(std::int32_t count, std::int32_t written, Text& text) {
  constexpr double kMost = 32.0 * 1024 * 1024;
  const double expected = 1.05 * count * static_cast<double>(text.size()) / written;
  try {
    text.reserve(static_cast<std::size_t>(std::min(expected, kMost)));
  } catch (const std::exception&) {
    return;
  }
}

}  // namespace

Text clsCollectionSaveRestore::AsDelimitedFromCollection(const CollectionRef& myObjects,
                                                         const OptionalText& recordEndMarker,
                                                         const OptionalText& fieldEndMarker) {
  Text result;
  std::vector<Text> names;
  std::size_t reading = TextView::npos;
  Trap(
      [&](CurrentLine& line) {
        line = 1;
        const std::int32_t count = Given(myObjects).Count();
        if (count == 0) return;
        line = 2;
        const Markers markers = MarkersOr(DefaultMarkers(), recordEndMarker, fieldEndMarker);
        line = 3;
        const Object first = FirstObject(*myObjects);
        names = NamesToSave(first);
        line = 4;
        if (names.empty()) GoToHandler({});
        line = 5;
        Text text;
        AppendHeader(names, markers, text);
        const auto access = first.Family().Access(names);
        const auto walk = myObjects->Enumerate();
        std::int32_t written = 0;
        for (Object object; walk->NextObject(object);) {
          for (reading = 0; reading < names.size(); ++reading) {
            access->AppendText(object, reading, text);
            text.append(markers.fieldEnd);
          }
          text.append(markers.recordEnd);
          if (++written == kSampleRecords) ReserveFor(count, written, text);
        }
        result = std::move(text);
      },
      [&](const PendingError& pending) {
        Report report = TaggedReport(u"Error DFC", u"Error DFC", pending);
        report.text.append(u" Member Name: ");
        if (reading < names.size()) report.text.append(names[reading]);
        platform_.ShowReport(report);
      });
  return result;
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

std::optional<DelimitedItems> clsCollectionSaveRestore::SplitString(TextView inputString,
                                                                    TextView delimiter) {
  std::optional<DelimitedItems> items;
  Trap([&](CurrentLine&) { items.emplace(inputString, delimiter); },
       [&](const PendingError& pending) {
         platform_.ShowReport(
             LocatedReport(u"in Brindlex.clsCollectionSaveRestore.SplitString ", pending));
       });
  return items;
}

/// The columns of a text under restore. `names` are as the header spells them, `properties` as the
/// record class does; a column that the class does not have is blank in both.
struct clsCollectionSaveRestore::Header {
  std::vector<Text> names;
  std::vector<Text> properties;
};

namespace {

/// `items`, which SplitString found. Error 9 when it found none: there is nothing to index.
DelimitedItems& Found(std::optional<DelimitedItems>& items) {
  if (!items) throw RuntimeError(error_number::kSubscriptOutOfRange);
  return *items;
}

/// How the class spells the member that the header calls `name`; the header's spelling when the
/// list holds something else under that key.
Text OwnSpelling(const Collection& members, TextView name) {
  Text own = members.TextUnder(name);
  return EqualIgnoringCase(own, name) ? own : Text(name);
}

}  // namespace

clsCollectionSaveRestore::Header clsCollectionSaveRestore::ReadHeader(TextView record,
                                                                      const Collection& members,
                                                                      const Markers& markers) {
  Header header;
  DelimitedItems names(record, markers.fieldEnd);
  for (TextView name; names.Next(name);) {
    Text property;
    IgnoreErrors([&] { property = OwnSpelling(members, name); });
    header.names.emplace_back(property.empty() ? TextView() : name);
    header.properties.push_back(std::move(property));
  }
  return header;
}

namespace {

/// The values of one record. GoToHandler when their count is not `expected`.
void ReadValues(DelimitedItems& items, std::size_t expected, std::size_t recordNumber,
                std::vector<TextView>& values) {
  values.clear();
  for (TextView value; items.Next(value);) values.push_back(value);
  if (values.size() == expected) return;
  GoToHandler(Text(u"Fields in record don't match field list, record number ")
                  .append(DecimalText(static_cast<std::int32_t>(recordNumber))));
}

/// The first value that is not empty in a column named exactly `keyProperty`; empty without one.
TextView KeyOf(const std::vector<TextView>& values, const std::vector<Text>& names,
               TextView keyProperty) {
  if (keyProperty.empty()) return {};
  for (std::size_t column = 0; column < names.size(); ++column) {
    if (names[column] == keyProperty && !values[column].empty()) return values[column];
  }
  return {};
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
        Text stripped;
        const TextView text = StripRecordBreaks(savedInfo, markers.recordEnd, stripped);
        if (text.empty()) return;
        auto split = SplitString(text, markers.recordEnd);
        DelimitedItems& records = Found(split);
        TextView record;
        records.Next(record);
        if (!records.More() || record.find(markers.fieldEnd) == TextView::npos) return;
        line = 5;
        const Header header = ReadHeader(record, *members, markers);
        const auto access = sample.Family().Access(header.properties);
        const CollectionRef collection = sample.Family().NewCollection();
        std::vector<TextView> values;
        for (std::size_t number = 1; records.Next(record); ++number) {
          line = 6;
          auto items = SplitString(record, markers.fieldEnd);
          ReadValues(Found(items), header.names.size(), number, values);
          line = 7;
          Object object = createObject.CallForObject(kGetNewObject);
          object.Family();
          for (std::size_t column = 0; column < values.size(); ++column) {
            if (!header.names[column].empty()) access->LetText(object, column, values[column]);
          }
          line = 8;
          const TextView key = KeyOf(values, header.names, keyName);
          collection->Add(std::move(object), key.empty() ? std::nullopt : std::optional(key));
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
        if (data.empty()) return;
        result = AsDelimitedToCollection(data, myCreator, internal_.recordEnd, internal_.fieldEnd,
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
        Given(newCol);
        CollectionRef blocks = RestoreBlocks();
        if (blocks == nullptr) blocks = textData_.NewCollection();
        clsTextData data{AsDelimitedFromCollection(newCol, internal_.recordEnd, internal_.fieldEnd),
                         Text(name)};
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
