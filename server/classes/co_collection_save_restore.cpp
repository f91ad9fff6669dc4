#include "server/classes/co_collection_save_restore.h"

#include "platform/win32/automation/bstr_builder.h"
#include "server/classes/co_collection.h"
#include "server/com/the_platform.h"
#include "server/com/values.h"

namespace brindlex {
CoCollectionSaveRestore::CoCollectionSaveRestore() : operations_(ThePlatform()) {}

STDMETHODIMP CoCollectionSaveRestore::GetMemberNamesLate(IDispatch* myObj,
                                                         _clsCollection** result) {
  return RunFor(result,
                [&] { *result = HandedOut(operations_.GetMemberNamesLate(GivenObject(myObj))); });
}

STDMETHODIMP CoCollectionSaveRestore::FieldNamesCollection(BSTR asDelimitedString,
                                                           VARIANT recordEndMarker,
                                                           VARIANT fieldEndMarker,
                                                           _clsCollection** result) {
  return RunFor(result, [&] {
    *result = HandedOut(operations_.FieldNamesCollection(
        ViewOf(asDelimitedString), GivenText(recordEndMarker), GivenText(fieldEndMarker)));
  });
}

STDMETHODIMP CoCollectionSaveRestore::ItemExists(IDispatch* myCol, BSTR myKey,
                                                 VARIANT_BOOL* result) {
  return RunFor(result, [&] {
    const bool exists = clsCollectionSaveRestore::ItemExists(CollectionOf(myCol), ViewOf(myKey));
    *result = exists ? VARIANT_TRUE : VARIANT_FALSE;
  });
}

STDMETHODIMP CoCollectionSaveRestore::AsDelimitedToCollection(
    BSTR savedInfo, IDispatch* createObject, VARIANT recordEndMarker, VARIANT fieldEndMarker,
    VARIANT keyProperty, _clsCollection** result) {
  return RunFor(result, [&] {
    *result = HandedOut(operations_.AsDelimitedToCollection(
        ViewOf(savedInfo), GivenObject(createObject), GivenText(recordEndMarker),
        GivenText(fieldEndMarker), GivenText(keyProperty)));
  });
}

STDMETHODIMP CoCollectionSaveRestore::GetObjectFromString(BSTR inputString, IDispatch* objectSample,
                                                          IDispatch** result) {
  return RunFor(result, [&] {
    *result =
        HandedOut(operations_.GetObjectFromString(ViewOf(inputString), GivenObject(objectSample)));
  });
}

STDMETHODIMP CoCollectionSaveRestore::AsDelimitedFromObject(IDispatch* myObj, BSTR* result) {
  return RunFor(result,
                [&] { *result = NewBstr(operations_.AsDelimitedFromObject(GivenObject(myObj))); });
}

STDMETHODIMP CoCollectionSaveRestore::WorkingCol(BSTR collectionName, IDispatch* myCreator,
                                                 VARIANT workingColKey, _clsCollection** result) {
  return RunFor(result, [&] {
    *result = HandedOut(operations_.WorkingCol(ViewOf(collectionName), GivenObject(myCreator),
                                               GivenText(workingColKey)));
  });
}

STDMETHODIMP CoCollectionSaveRestore::MultiDataColString(IDispatch** newCol, BSTR* name,
                                                         BSTR* result) {
  if (newCol == nullptr || name == nullptr) return E_POINTER;
  return RunFor(result, [&] {
    // The host may change its variable while the call runs.
    const Text ownName(ViewOf(*name));
    *result = NewBstr(operations_.MultiDataColString(CollectionOf(*newCol), ownName));
  });
}

STDMETHODIMP CoCollectionSaveRestore::AsDelimitedFromCollection(IDispatch* myObjects,
                                                                VARIANT recordEndMarker,
                                                                VARIANT fieldEndMarker,
                                                                VARIANT /*collectionName*/,
                                                                BSTR* result) {
  return RunFor(result, [&] {
    BstrBuilder text;
    operations_.AsDelimitedFromCollection(CollectionOf(myObjects), GivenText(recordEndMarker),
                                          GivenText(fieldEndMarker), text);
    *result = text.Detach();
  });
}

STDMETHODIMP CoCollectionSaveRestore::get_MultiDataString(BSTR* result) {
  return RunFor(result, [&] { *result = NewBstr(operations_.MultiDataString()); });
}

STDMETHODIMP CoCollectionSaveRestore::put_MultiDataString(BSTR value) {
  return Run([&] { operations_.SetMultiDataString(ViewOf(value)); });
}

STDMETHODIMP CoCollectionSaveRestore::get_RefuseMarkers(VARIANT_BOOL* result) {
  return RunFor(result, [&] { *result = FlagOf(operations_.RefuseMarkers()); });
}

STDMETHODIMP CoCollectionSaveRestore::put_RefuseMarkers(VARIANT_BOOL value) {
  return Run([&] { operations_.SetRefuseMarkers(value != VARIANT_FALSE); });
}

}  // namespace brindlex
