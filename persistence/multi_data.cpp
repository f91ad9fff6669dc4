// The part of clsCollectionSaveRestore that works on several named collections in one text.

#include <utility>

#include "automation/runtime_error.h"
#include "environment/report.h"
#include "environment/trap.h"
#include "persistence/collection_save_restore.h"
#include "persistence/multi_data.h"
#include "persistence/record_writer.h"
#include "persistence/restore_header.h"
#include "persistence/text_data.h"

namespace brindlex {
namespace {

/// Appends the text of `collections`, of which one may be left out.
void WritePlain(const NamedCollections& collections,
                std::optional<NamedCollections::Position> without, TextBuilder& result) {
  const Markers markers = DefaultMarkers();
  std::size_t reading = 0;
  PlainRecordWriter writer(markers, result, reading);
  result.Reserve(collections.TextSize());
  collections.AppendTo(writer, nullptr, without);
}

}  // namespace

// ---- The text ----------------------------------------------------------------------------------

Text clsCollectionSaveRestore::MultiDataString() const {
  StringTextBuilder text;
  MultiDataString(text);
  return text.Take();
}

void clsCollectionSaveRestore::MultiDataString(TextBuilder& result) const {
  if (multiData_->units != nullptr) {
    result.Reserve(multiData_->size);
    result.Append(multiData_->View());
  } else if (multiData_->collections) {
    WritePlain(*multiData_->collections, std::nullopt, result);
  }
}

void clsCollectionSaveRestore::SetMultiDataString(TextView text) {
  const auto& collections = multiData_->collections;
  if (collections && collections->AreReadBack()) {
    if (const auto change = collections->FindChange(text)) return Put(multiData_, *change);
  }
  multiData_ = std::make_shared<MultiData>(ShareUnits(text), text.size());
}

bool clsCollectionSaveRestore::Parse(MultiData& data) {
  if (data.collections) return true;
  Trap(
      [&](CurrentLine& line) {
        NamedCollections found(data.units, data.size);
        ParseCollections(data.View(), found, line);
        found.EndAdding();
        if (!data.collections) data.collections = std::move(found);
      },
      [&](const PendingError& pending) { ReportFailedRestore(pending); });
  return data.collections.has_value();
}

void clsCollectionSaveRestore::ParseCollections(TextView text, NamedCollections& found,
                                                CurrentLine& line) {
  line = 1;
  if (text.empty()) return;
  line = 3;
  const CollectionRef members = MembersOf(textData_.NewCreator());
  line = 4;
  const Markers markers = DefaultMarkers();
  const auto records = RecordsOf(text, markers);
  if (!HasHeaderAndRecord(*records)) return;
  line = 5;
  const RestoreHeader header = ReadHeader(records->Fields(), *members, kNameColumn);
  const auto data = header.LastColumn(kDataColumn);
  const auto name = header.LastColumn(kNameColumn);
  for (std::size_t number = 1; records->Next(); ++number) {
    line = 6;
    const FieldViews& values = FieldsOf(*records);
    RequireAll(values, header.properties.size(), number);
    line = 8;
    found.Add(data ? values[*data] : TextView(), name ? values[*name] : TextView(),
              KeyOf(values, header.keyColumns));
  }
}

CollectionRef clsCollectionSaveRestore::WorkingCol(TextView collectionName, const Object& myCreator,
                                                   const OptionalText& workingColKey) {
  CollectionRef result;
  Trap(
      [&](CurrentLine&) {
        const std::shared_ptr<MultiData> data = multiData_;
        if (!Parse(*data)) return;
        const auto found = data->collections->Find(collectionName);
        if (!found) return;
        result = AsDelimitedToCollection(data->collections->Data(*found), myCreator,
                                         InternalRecordEnd, InternalFieldEnd, workingColKey);
      },
      [&](const PendingError& pending) {
        platform_.ShowReport(
            TaggedReport(u"Error DFO", u"Error creating working collection", pending));
      });
  return result;
}

Text clsCollectionSaveRestore::MultiDataColString(const CollectionRef& newCol, TextView name) {
  StringTextBuilder result;
  MultiDataColString(newCol, name, result);
  return result.Take();
}

void clsCollectionSaveRestore::MultiDataColString(const CollectionRef& newCol, TextView name,
                                                  TextBuilder& result) {
  Trap(
      [&](CurrentLine&) {
        const std::shared_ptr<MultiData> data = multiData_;
        const NamedCollections none;
        const NamedCollections& collections = Parse(*data) ? *data->collections : none;
        const bool needsInner = refuseMarkers_;
        const Markers outer = DefaultMarkers();
        StringTextBuilder inner;
        const bool isSaved =
            SaveCollection(newCol, InternalRecordEnd, InternalFieldEnd, &outer, inner);
        if (needsInner && !isSaved) return;
        WriteWithChange(collections, {inner.View(), name}, result);
      },
      [&](const PendingError& pending) {
        result.Clear();
        ReportFailedStoring(pending);
      });
}

bool clsCollectionSaveRestore::StoreCollection(const CollectionRef& newCol, TextView name) {
  bool isStored = false;
  Trap(
      [&](CurrentLine&) {
        std::shared_ptr<MultiData> data = multiData_;
        if (!Parse(*data)) return;
        const Markers outer = DefaultMarkers();
        StringTextBuilder inner;
        if (!SaveCollection(newCol, InternalRecordEnd, InternalFieldEnd, &outer, inner)) return;
        const NamedCollections::Change change = {inner.View(), name};
        const bool isReadBack = NamedCollections::IsReadBack(change.data, change.name);
        if (isReadBack && data->collections->AreReadBack()) {
          Put(std::move(data), change);
        } else {
          StringTextBuilder text;
          if (!WriteWithChange(*data->collections, change, text)) return;
          SetMultiDataString(text.View());
        }
        isStored = true;
      },
      [&](const PendingError& pending) { ReportFailedStoring(pending); });
  return isStored;
}

void clsCollectionSaveRestore::ReportFailedStoring(const PendingError& pending) {
  platform_.ShowReport(TaggedReport(u"Error DFO", u"Error saving working collection", pending));
}

bool clsCollectionSaveRestore::RemoveCollection(TextView name) {
  bool wasThere = false;
  Trap(
      [&](CurrentLine&) {
        std::shared_ptr<MultiData> data = multiData_;
        if (!Parse(*data)) return;
        const auto found = data->collections->Find(name);
        if (!found) return;
        if (data->collections->AreReadBack()) {
          MakeOwn(data);
          data->collections->Remove(*found);
          data->units = nullptr;
          multiData_ = std::move(data);
        } else {
          StringTextBuilder text;
          WritePlain(*data->collections, found, text);
          SetMultiDataString(text.View());
        }
        wasThere = true;
      },
      [&](const PendingError& pending) {
        platform_.ShowReport(TaggedReport(u"Error RC", u"Error RC", pending));
      });
  return wasThere;
}

CollectionRef clsCollectionSaveRestore::CollectionNames() {
  CollectionRef result;
  Trap(
      [&](CurrentLine&) {
        const std::shared_ptr<MultiData> data = multiData_;
        if (!Parse(*data)) return;
        const CollectionRef names = platform_.NewCollection();
        for (const Text& name : data->collections->Names()) names->Add(name, name);
        result = names;
      },
      [&](const PendingError& pending) {
        platform_.ShowReport(TaggedReport(u"Error CN", u"Error CN", pending));
      });
  return result;
}

void clsCollectionSaveRestore::MakeOwn(std::shared_ptr<MultiData>& data) const {
  const long ownUses = data == multiData_ ? 2 : 1;
  if (data.use_count() > ownUses) data = std::make_shared<MultiData>(*data);
}

void clsCollectionSaveRestore::Put(std::shared_ptr<MultiData> data,
                                   const NamedCollections::Change& change) {
  MakeOwn(data);
  data->collections->Put(change.data, change.name);
  data->units = nullptr;
  multiData_ = std::move(data);
}

bool clsCollectionSaveRestore::WriteWithChange(const NamedCollections& collections,
                                               const NamedCollections::Change& change,
                                               TextBuilder& result) {
  SaveProgress progress;
  const bool refusesMarkers = refuseMarkers_;
  bool isWritten = false;
  Trap(
      [&](CurrentLine& line) {
        line = 5;
        progress.names = {Text(kDataColumn), Text(kNameColumn)};
        const Markers markers = DefaultMarkers();
        PlainRecordWriter plain(markers, result, progress.reading);
        std::optional<ValidatingRecordWriter> validating;
        if (refusesMarkers) validating.emplace(markers, nullptr, result, progress.reading);
        RecordWriter& writer = refusesMarkers ? static_cast<RecordWriter&>(*validating) : plain;
        result.Reserve(collections.TextSize(&change));
        collections.AppendTo(writer, &change);
        isWritten = true;
      },
      [&](const PendingError& pending) {
        result.Clear();
        ReportFailedSave(pending, progress);
      });
  return isWritten;
}

}  // namespace brindlex
