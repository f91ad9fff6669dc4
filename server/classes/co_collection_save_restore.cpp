#include "server/classes/co_collection_save_restore.h"

#include "platform/win32/automation/bstr_builder.h"
#include "server/classes/co_collection.h"
#include "server/com/the_platform.h"
#include "server/com/values.h"

namespace brindlex {
namespace {

CoCollectionSaveRestore& Self(IDispatch& self) {
  return static_cast<CoCollectionSaveRestore&>(self);
}

constexpr Member kSaveRestoreMembers[] = {
    {L"GetMemberNamesLate",
     1,
     DISPATCH_METHOD,
     [](IDispatch& self, Call& call) {
       return Self(self).GetMemberNamesLate(call.ObjectAt(0), call.ResultObject<_clsCollection>());
     },
     {Required(L"MyObj")}},
    {L"FieldNamesCollection",
     2,
     DISPATCH_METHOD,
     [](IDispatch& self, Call& call) {
       return Self(self).FieldNamesCollection(call.TextAt(0), call.ValueAt(1), call.ValueAt(2),
                                              call.ResultObject<_clsCollection>());
     },
     {Required(L"AsDelimitedString"), Optional(L"RecordEndMarker"), Optional(L"FieldEndMarker")}},
    {L"ItemExists",
     3,
     DISPATCH_METHOD,
     [](IDispatch& self, Call& call) {
       return Self(self).ItemExists(call.ObjectAt(0), call.TextAt(1), call.ResultFlag());
     },
     {Required(L"MyCol"), Required(L"MyKey")}},
    {L"AsDelimitedToCollection",
     4,
     DISPATCH_METHOD,
     [](IDispatch& self, Call& call) {
       return Self(self).AsDelimitedToCollection(call.TextAt(0), call.ObjectAt(1), call.ValueAt(2),
                                                 call.ValueAt(3), call.ValueAt(4),
                                                 call.ResultObject<_clsCollection>());
     },
     {Required(L"SavedInfo"), Required(L"CreateObject"), Optional(L"RecordEndMarker"),
      Optional(L"FieldEndMarker"), Optional(L"KeyProperty")}},
    {L"GetObjectFromString",
     5,
     DISPATCH_METHOD,
     [](IDispatch& self, Call& call) {
       return Self(self).GetObjectFromString(call.TextAt(0), call.ObjectAt(1),
                                             call.ResultObject<IDispatch>());
     },
     {Required(L"InputString"), Required(L"ObjectSample")}},
    {L"AsDelimitedFromObject",
     6,
     DISPATCH_METHOD,
     [](IDispatch& self, Call& call) {
       return Self(self).AsDelimitedFromObject(call.ObjectAt(0), call.ResultText());
     },
     {Required(L"MyObj")}},
    {L"WorkingCol",
     7,
     DISPATCH_METHOD,
     [](IDispatch& self, Call& call) {
       return Self(self).WorkingCol(call.TextAt(0), call.ObjectAt(1), call.ValueAt(2),
                                    call.ResultObject<_clsCollection>());
     },
     {Required(L"CollectionName"), Required(L"MyCreator"), Optional(L"WorkingColKey")}},
    {L"MultiDataColString",
     8,
     DISPATCH_METHOD,
     [](IDispatch& self, Call& call) {
       IDispatch* newCol = call.ObjectAt(0);
       BSTR name = call.TextAt(1);
       return Self(self).MultiDataColString(&newCol, &name, call.ResultText());
     },
     {Required(L"NewCol"), Required(L"Name")}},
    {L"AsDelimitedFromCollection",
     9,
     DISPATCH_METHOD,
     [](IDispatch& self, Call& call) {
       return Self(self).AsDelimitedFromCollection(
           call.ObjectAt(0), call.ValueAt(1), call.ValueAt(2), call.ValueAt(3), call.ResultText());
     },
     {Required(L"MyObjects"), Optional(L"RecordEndMarker"), Optional(L"FieldEndMarker"),
      Optional(L"CollectionName")}},
    {L"MultiDataString", 10, DISPATCH_PROPERTYGET,
     [](IDispatch& self, Call& call) { return Self(self).get_MultiDataString(call.ResultText()); }},
    {L"MultiDataString",
     10,
     DISPATCH_PROPERTYPUT,
     [](IDispatch& self, Call& call) { return Self(self).put_MultiDataString(call.TextAt(0)); },
     {Required(L"Value")}},
    {L"RefuseMarkers", 11, DISPATCH_PROPERTYGET,
     [](IDispatch& self, Call& call) { return Self(self).get_RefuseMarkers(call.ResultFlag()); }},
    {L"RefuseMarkers",
     11,
     DISPATCH_PROPERTYPUT,
     [](IDispatch& self, Call& call) { return Self(self).put_RefuseMarkers(call.FlagAt(0)); },
     {Required(L"Value")}},
};

}  // namespace

const std::span<const Member> CoCollectionSaveRestore::kMembers = kSaveRestoreMembers;

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
