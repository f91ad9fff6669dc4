#pragma once

#include "persistence/collection_save_restore.h"
#include "server/Brindlex.h"
#include "server/com/coclass.h"

namespace brindlex {

/// Saving and restoring as hosts see it.
class CoCollectionSaveRestore final
    : public Coclass<CoCollectionSaveRestore, _clsCollectionSaveRestore,
                     ::clsCollectionSaveRestore> {
 public:
  CoCollectionSaveRestore();

  STDMETHODIMP GetMemberNamesLate(IDispatch* myObj, _clsCollection** result) override;
  STDMETHODIMP FieldNamesCollection(BSTR asDelimitedString, VARIANT recordEndMarker,
                                    VARIANT fieldEndMarker, _clsCollection** result) override;
  STDMETHODIMP ItemExists(IDispatch* myCol, BSTR myKey, VARIANT_BOOL* result) override;
  STDMETHODIMP AsDelimitedToCollection(BSTR savedInfo, IDispatch* createObject,
                                       VARIANT recordEndMarker, VARIANT fieldEndMarker,
                                       VARIANT keyProperty, _clsCollection** result) override;
  STDMETHODIMP GetObjectFromString(BSTR inputString, IDispatch* objectSample,
                                   IDispatch** result) override;
  STDMETHODIMP AsDelimitedFromObject(IDispatch* myObj, BSTR* result) override;
  STDMETHODIMP WorkingCol(BSTR collectionName, IDispatch* myCreator, VARIANT workingColKey,
                          _clsCollection** result) override;
  STDMETHODIMP MultiDataColString(IDispatch** newCol, BSTR* name, BSTR* result) override;
  STDMETHODIMP AsDelimitedFromCollection(IDispatch* myObjects, VARIANT recordEndMarker,
                                         VARIANT fieldEndMarker, VARIANT collectionName,
                                         BSTR* result) override;
  STDMETHODIMP get_MultiDataString(BSTR* result) override;
  STDMETHODIMP put_MultiDataString(BSTR value) override;
  STDMETHODIMP get_RefuseMarkers(VARIANT_BOOL* result) override;
  STDMETHODIMP put_RefuseMarkers(VARIANT_BOOL value) override;

 private:
  clsCollectionSaveRestore operations_;
};

}  // namespace brindlex
