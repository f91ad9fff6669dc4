#include "persistence/collection_save_restore.h"
#include "platform/win32/automation/bstr_builder.h"
#include "server/Brindlex.h"
#include "server/classes/arguments.h"
#include "server/classes/classes.h"
#include "server/classes/co_collection.h"
#include "server/classes/the_platform.h"
#include "server/com/coclass.h"

namespace brindlex {
namespace {

/// Saving and restoring as hosts see it.
class CoCollectionSaveRestore final
    : public Coclass<CoCollectionSaveRestore, _clsCollectionSaveRestore,
                     ::clsCollectionSaveRestore> {
 public:
  CoCollectionSaveRestore() : operations_(ThePlatform()) {}

  STDMETHODIMP GetMemberNamesLate(IDispatch* myObj, _clsCollection** result) override {
    return RunFor(result,
                  [&] { *result = ToResult(operations_.GetMemberNamesLate(ObjectArg(myObj))); });
  }

  STDMETHODIMP FieldNamesCollection(BSTR asDelimitedString, VARIANT recordEndMarker,
                                    VARIANT fieldEndMarker, _clsCollection** result) override {
    return RunFor(result, [&] {
      *result = ToResult(operations_.FieldNamesCollection(
          ViewOf(asDelimitedString), TextArg(recordEndMarker), TextArg(fieldEndMarker)));
    });
  }

  STDMETHODIMP ItemExists(IDispatch* myCol, BSTR myKey, VARIANT_BOOL* result) override {
    return RunFor(result, [&] {
      const bool exists = clsCollectionSaveRestore::ItemExists(CollectionOf(myCol), ViewOf(myKey));
      *result = exists ? VARIANT_TRUE : VARIANT_FALSE;
    });
  }

  STDMETHODIMP AsDelimitedToCollection(BSTR savedInfo, IDispatch* createObject,
                                       VARIANT recordEndMarker, VARIANT fieldEndMarker,
                                       VARIANT keyProperty, _clsCollection** result) override {
    return RunFor(result, [&] {
      *result = ToResult(operations_.AsDelimitedToCollection(
          ViewOf(savedInfo), ObjectArg(createObject), TextArg(recordEndMarker),
          TextArg(fieldEndMarker), TextArg(keyProperty)));
    });
  }

  STDMETHODIMP GetObjectFromString(BSTR inputString, IDispatch* objectSample,
                                   IDispatch** result) override {
    return RunFor(result, [&] {
      *result =
          ToResult(operations_.GetObjectFromString(ViewOf(inputString), ObjectArg(objectSample)));
    });
  }

  STDMETHODIMP AsDelimitedFromObject(IDispatch* myObj, BSTR* result) override {
    return RunFor(result,
                  [&] { *result = NewBstr(operations_.AsDelimitedFromObject(ObjectArg(myObj))); });
  }

  STDMETHODIMP WorkingCol(BSTR collectionName, IDispatch* myCreator, VARIANT workingColKey,
                          _clsCollection** result) override {
    return RunFor(result, [&] {
      *result = ToResult(operations_.WorkingCol(ViewOf(collectionName), ObjectArg(myCreator),
                                                TextArg(workingColKey)));
    });
  }

  STDMETHODIMP MultiDataColString(IDispatch** newCol, BSTR* name, BSTR* result) override {
    if (newCol == nullptr || name == nullptr) return E_POINTER;
    return RunFor(result, [&] {
      // The host may change its variable while the call runs.
      const Text ownName(ViewOf(*name));
      BstrBuilder text;
      operations_.MultiDataColString(CollectionOf(*newCol), ownName, text);
      *result = text.Detach();
    });
  }

  STDMETHODIMP AsDelimitedFromCollection(IDispatch* myObjects, VARIANT recordEndMarker,
                                         VARIANT fieldEndMarker, VARIANT /*collectionName*/,
                                         BSTR* result) override {
    return RunFor(result, [&] {
      BstrBuilder text;
      operations_.AsDelimitedFromCollection(CollectionOf(myObjects), TextArg(recordEndMarker),
                                            TextArg(fieldEndMarker), text);
      *result = text.Detach();
    });
  }

  STDMETHODIMP get_MultiDataString(BSTR* result) override {
    return RunFor(result, [&] {
      BstrBuilder text;
      operations_.MultiDataString(text);
      *result = text.Detach();
    });
  }

  STDMETHODIMP put_MultiDataString(BSTR value) override {
    return Run([&] { operations_.SetMultiDataString(ViewOf(value)); });
  }

  STDMETHODIMP get_RefuseMarkers(VARIANT_BOOL* result) override {
    return RunFor(result, [&] { *result = ToVariantBool(operations_.RefuseMarkers()); });
  }

  STDMETHODIMP put_RefuseMarkers(VARIANT_BOOL value) override {
    return Run([&] { operations_.SetRefuseMarkers(value != VARIANT_FALSE); });
  }

  STDMETHODIMP StoreCollection(IDispatch* newCol, BSTR name, VARIANT_BOOL* result) override {
    return RunFor(result, [&] {
      // The host may change its variable while the call runs.
      const Text ownName(ViewOf(name));
      *result = ToVariantBool(operations_.StoreCollection(CollectionOf(newCol), ownName));
    });
  }

  STDMETHODIMP RemoveCollection(BSTR name, VARIANT_BOOL* result) override {
    return RunFor(result,
                  [&] { *result = ToVariantBool(operations_.RemoveCollection(ViewOf(name))); });
  }

  STDMETHODIMP CollectionNames(_clsCollection** result) override {
    return RunFor(result, [&] { *result = ToResult(operations_.CollectionNames()); });
  }

 private:
  clsCollectionSaveRestore operations_;
};

}  // namespace

IDispatch* NewCollectionSaveRestore() { return new CoCollectionSaveRestore; }

}  // namespace brindlex
