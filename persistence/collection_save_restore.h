#pragma once

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "automation/collection.h"
#include "automation/object.h"
#include "automation/optional_text.h"
#include "automation/text.h"
#include "environment/trap.h"
#include "persistence/delimited_text.h"
#include "persistence/named_collections.h"
#include "persistence/text_data.h"
#include "platform/platform.h"

namespace brindlex {

struct RestoreHeader;

/// Turns collections of record objects into one delimited text and back, and keeps several named
/// collections in one text.
///
/// Every operation but ItemExists and FieldNamesCollection traps its failures, shows one report and
/// returns its empty value: empty text, no collection, Nothing. An operation may run while another
/// of the same instance waits for its report to be closed. To be used on one thread.
class clsCollectionSaveRestore {
 public:
  /// `platform` must outlive the instance and what it returns.
  explicit clsCollectionSaveRestore(Platform& platform);

  /// The member names of any object: the collection of its MembersCol as it is, if that has
  /// entries; otherwise its readable properties in declaration order, each name under itself as
  /// key. A MembersCol of a foreign class is copied: each name has itself as key if the foreign
  /// collection finds it under that key and no earlier name has it. A failure shows "Error GMNL".
  CollectionRef GetMemberNamesLate(const Object& myObj);

  /// The field names in the header of `asDelimitedString`, each under itself as key; no collection
  /// when the first record end is missing or is before the third character. Not trapped: error
  /// 457 for a name that comes twice, 5 for an empty marker.
  CollectionRef FieldNamesCollection(TextView asDelimitedString,
                                     const OptionalText& recordEndMarker,
                                     const OptionalText& fieldEndMarker);

  /// True when `myCol` has an entry under `myKey` that can be taken as text; false on any failure,
  /// without a report.
  static bool ItemExists(const CollectionRef& myCol, TextView myKey) noexcept;

  /// A new collection of the records in `savedInfo`, in its order, made by `createObject`; keyed by
  /// the field that is named exactly `keyProperty`, as far as it is not empty. No collection, and
  /// no report, for a text without records. A failure shows "Error ADTC"; nothing of a text that
  /// cannot be restored whole is returned.
  CollectionRef AsDelimitedToCollection(TextView savedInfo, const Object& createObject,
                                        const OptionalText& recordEndMarker = {},
                                        const OptionalText& fieldEndMarker = {},
                                        const OptionalText& keyProperty = {});

  /// The first record restored from `inputString`; Nothing for empty text. A failure, a text
  /// without records included, shows the report located in GetObjectFromString.
  Object GetObjectFromString(TextView inputString, const Object& objectSample);

  /// The text of a collection of `myObj` alone. A failure shows "Error DFO".
  Text AsDelimitedFromObject(const Object& myObj);

  /// The collection stored under `collectionName` in MultiDataString; no collection when there is
  /// none or it is empty. A failure shows "Error creating working collection".
  CollectionRef WorkingCol(TextView collectionName, const Object& myCreator,
                           const OptionalText& workingColKey = {});

  /// MultiDataString with `newCol` stored under `name`: in the place of the collection of that
  /// name, otherwise at the end. MultiDataString itself is not changed. A failure shows "Error
  /// saving working collection". Takes the time of saving `newCol` and copying the text.
  Text MultiDataColString(const CollectionRef& newCol, TextView name);

  /// The same text, built in `result`, which is empty before and after a failure.
  void MultiDataColString(const CollectionRef& newCol, TextView name, TextBuilder& result);

  /// The text of `myObjects`: a header with the member names of the first, then one record for
  /// each; empty text for an empty collection. A failure shows "Error DFC" with the name of the
  /// member that was being read.
  Text AsDelimitedFromCollection(const CollectionRef& myObjects,
                                 const OptionalText& recordEndMarker = {},
                                 const OptionalText& fieldEndMarker = {});

  /// The same text, built in `result`, which is empty before and after a failure.
  void AsDelimitedFromCollection(const CollectionRef& myObjects,
                                 const OptionalText& recordEndMarker,
                                 const OptionalText& fieldEndMarker, TextBuilder& result);

  /// Whether saving refuses what a restore would read as something else: a value or a member name
  /// that holds one of the markers (in a collection for MultiDataString also the two of the text
  /// around it), or whose line break a restore would drop. "Error DFC" then names the member and
  /// the reason, with number 0, and the result is empty; that of MultiDataColString is empty too,
  /// as it is then after any report of a save. Off in a new instance: values are written as they
  /// are.
  bool RefuseMarkers() const { return refuseMarkers_; }
  void SetRefuseMarkers(bool refuse) { refuseMarkers_ = refuse; }

  /// The multi-collection text that WorkingCol and MultiDataColString work on. It is parsed when it
  /// is first needed, into an index of its collections; the time of all other calls is that of the
  /// collection that they are for. Beside the text, the index holds about 100 bytes for each
  /// collection.
  Text MultiDataString() const;
  void MultiDataString(TextBuilder& result) const;

  /// Throws std::bad_alloc; the text is then as it was. A text that MultiDataColString made of this
  /// one is compared with it, and not copied.
  void SetMultiDataString(TextView text);

  /// Stores `newCol` in MultiDataString, which is afterwards what MultiDataColString would have
  /// returned at the beginning of the call. Returns true when it is stored. After any report of the
  /// call, that of a text that cannot be restored or of a collection that cannot be saved included,
  /// MultiDataString is not changed, and the result is false.
  bool StoreCollection(const CollectionRef& newCol, TextView name);

  /// Removes the collection that WorkingCol finds as `name`; returns whether there was one. The
  /// others are then written as MultiDataColString writes them; without any, the text is empty. A
  /// failure shows "Error RC" and changes nothing.
  bool RemoveCollection(TextView name);

  /// A new collection of the names that WorkingCol finds, in the order of the text, each under
  /// itself as key. A failure shows "Error CN" and returns no collection.
  CollectionRef CollectionNames();

 private:
  struct MultiData;

  /// How far a save has come.
  struct SaveProgress {
    std::vector<Text> names;
    /// The index of the name whose member is being read.
    std::size_t reading = TextView::npos;
  };

  /// Runs split(), whose failure shows the report of splitting, and fails with error 9 then, as
  /// there is nothing to index.
  template <class Split>
  void SplitString(Split&& split);
  std::unique_ptr<RecordParser> RecordsOf(TextView text, const Markers& markers);
  const FieldViews& FieldsOf(const RecordParser& record);
  /// AsDelimitedFromCollection; returns whether there was no report. `around` are the markers of
  /// the layer in which the text will be a value; null when it stands alone.
  bool SaveCollection(const CollectionRef& myObjects, const OptionalText& recordEndMarker,
                      const OptionalText& fieldEndMarker, const Markers* around,
                      TextBuilder& result);
  template <class Objects>
  bool Save(const Objects& objects, const OptionalText& recordEndMarker,
            const OptionalText& fieldEndMarker, const Markers* around, TextBuilder& result);
  void ReportFailedSave(const PendingError& pending, const SaveProgress& progress);

  CollectionRef PropertiesOf(const Object& object);
  CollectionRef CopyOf(const Collection& foreign);
  CollectionRef MembersOf(const Object& sample);
  std::vector<Text> NamesToSave(const Object& first);
  /// AsDelimitedToCollection, whose objects a Result takes.
  template <class Result>
  auto Restore(TextView savedInfo, const Object& createObject, const OptionalText& recordEndMarker,
               const OptionalText& fieldEndMarker, const OptionalText& keyProperty)
      -> decltype(std::declval<Result>().Take());
  /// An object of `creator` for each record after the header.
  template <class Result>
  auto RestoreObjects(RecordParser& records, const RestoreHeader& header, const Object& sample,
                      const Object& creator, CurrentLine& line);
  void ReportFailedRestore(const PendingError& pending);

  /// Parses the text of `data` unless that is done; returns false after a report.
  bool Parse(MultiData& data);
  void ParseCollections(TextView text, NamedCollections& found, CurrentLine& line);
  /// Replaces `data` by a copy if any call beside the caller uses it.
  void MakeOwn(std::shared_ptr<MultiData>& data) const;
  /// Makes `data`, changed by `change`, the text of this instance.
  void Put(std::shared_ptr<MultiData> data, const NamedCollections::Change& change);
  void ReportFailedStoring(const PendingError& pending);
  /// Appends the text of `collections` with `change`; returns whether there was no report.
  bool WriteWithChange(const NamedCollections& collections, const NamedCollections::Change& change,
                       TextBuilder& result);

  Platform& platform_;
  TextDataAdapter textData_;
  /// The markers of the inner layer, set when the instance is made.
  const Text InternalFieldEnd = InternalMarkers().fieldEnd;
  const Text InternalRecordEnd = InternalMarkers().recordEnd;
  bool refuseMarkers_ = false;
  /// Shared, so that a call keeps its text while the host, re-entering, sets another.
  std::shared_ptr<MultiData> multiData_;
};

}  // namespace brindlex
