#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "automation/collection.h"
#include "automation/object.h"
#include "automation/optional_text.h"
#include "automation/text.h"
#include "persistence/delimited_text.h"
#include "persistence/text_data.h"
#include "platform/platform.h"

namespace brindlex {

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
  /// when the first record end is missing or stands before the third character. Not trapped: error
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

  /// MultiDataString with `newCol` stored under `name`: in the place of the block of that name,
  /// otherwise at the end. MultiDataString itself is not changed. A failure shows "Error saving
  /// working collection".
  Text MultiDataColString(const CollectionRef& newCol, TextView name);

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
  /// that holds a marker in force (in a collection for MultiDataString also the two of the text
  /// around it), or whose line break a restore would drop. "Error DFC" then names the member and
  /// says why, with number 0, and the result is empty; that of MultiDataColString is empty too, as
  /// it is then after any report of a save. Off in a new instance: values are written as they are.
  bool RefuseMarkers() const { return refuseMarkers_; }
  void SetRefuseMarkers(bool refuse) { refuseMarkers_ = refuse; }

  /// The multi-collection text that WorkingCol and MultiDataColString work on.
  const Text& MultiDataString() const { return *multiDataString_; }
  void SetMultiDataString(TextView text) { multiDataString_ = std::make_shared<const Text>(text); }

 private:
  struct Header;

  /// Runs split(), whose failure shows the report of splitting; error 9 then, as there is nothing
  /// to index.
  template <class Split>
  void SplitString(Split&& split);
  std::unique_ptr<RecordWalk> RecordsOf(TextView text, const Markers& markers);
  const FieldViews& FieldsOf(const RecordWalk& record);
  static bool ObjectItemExists(const CollectionRef& myCol, TextView myKey) noexcept;

  /// AsDelimitedFromCollection; says whether there was no report. `around` are the markers of the
  /// layer in which the text will be a value; null when it stands alone.
  bool Save(const CollectionRef& myObjects, const OptionalText& recordEndMarker,
            const OptionalText& fieldEndMarker, const Markers* around, TextBuilder& result);

  CollectionRef PropertiesOf(const Object& object);
  CollectionRef CopyOf(const Collection& foreign);
  CollectionRef MembersOf(const Object& sample);
  std::vector<Text> NamesToSave(const Object& first);
  static Header ReadHeader(const FieldViews& names, const Collection& members,
                           TextView keyProperty);
  CollectionRef RestoreBlocks();

  Platform& platform_;
  TextDataAdapter textData_;
  /// The markers of the inner layer, set when the instance is made.
  const Text InternalFieldEnd = InternalMarkers().fieldEnd;
  const Text InternalRecordEnd = InternalMarkers().recordEnd;
  bool refuseMarkers_ = false;
  /// Shared, so that a call keeps its text while the host, re-entering, sets another.
  std::shared_ptr<const Text> multiDataString_ = std::make_shared<const Text>();
};

}  // namespace brindlex
