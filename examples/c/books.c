/* Keeps a list of books in a file, in C: early bound, through the interfaces of the type library,
   and for the number at the end late bound, by names alone. With gcc of mingw-w64, and Brindlex.h
   and Brindlex_i.c beside the component:

     gcc -I include examples/c/books.c include/Brindlex_i.c -o books.exe -lole32 -loleaut32 -luuid
 */

#define COBJMACROS

#include <windows.h>

#include <oleauto.h>
#include <stdio.h>
#include <stdlib.h>

#include "Brindlex.h"

static void Require(BOOL holds, const char* what) {
  if (holds) return;
  printf("FAILED: %s\n", what);
  exit(1);
}

static void* Create(REFCLSID classId, REFIID interfaceId) {
  void* object = NULL;
  Require(SUCCEEDED(CoCreateInstance(classId, NULL, CLSCTX_INPROC_SERVER, interfaceId, &object)),
          "the class is registered");
  return object;
}

/* ---- VARIANTs that borrow what is in them ---------------------------------------------------- */

static VARIANT Omitted(void) {
  VARIANT value;
  VariantInit(&value);
  V_VT(&value) = VT_ERROR;
  V_ERROR(&value) = DISP_E_PARAMNOTFOUND;
  return value;
}

static VARIANT OfText(BSTR text) {
  VARIANT value;
  VariantInit(&value);
  V_VT(&value) = VT_BSTR;
  V_BSTR(&value) = text;
  return value;
}

static VARIANT OfNumber(LONG number) {
  VARIANT value;
  VariantInit(&value);
  V_VT(&value) = VT_I4;
  V_I4(&value) = number;
  return value;
}

/* ---- The record: a book with a title and a price, and their creator -------------------------- */

enum { kTitle = 1, kPrice, kGetMemberNames, kGetNewObject };

/* Both are late-bound objects, IDispatch and nothing else, and live on one thread. */
typedef struct LateBound {
  IDispatch dispatch;
  ULONG references;
  BOOL isCreator;
  BSTR title;
  double price;
} LateBound;

static LateBound* NewLateBound(BOOL isCreator, const WCHAR* title, double price);

static LateBound* Self(IDispatch* dispatch) { return (LateBound*)dispatch; }

static HRESULT STDMETHODCALLTYPE Query(IDispatch* self, REFIID id, void** result) {
  const BOOL isOurs = IsEqualIID(id, &IID_IUnknown) || IsEqualIID(id, &IID_IDispatch);
  *result = isOurs ? self : NULL;
  if (isOurs) IDispatch_AddRef(self);
  return isOurs ? S_OK : E_NOINTERFACE;
}

static ULONG STDMETHODCALLTYPE AddRef(IDispatch* self) { return ++Self(self)->references; }

static ULONG STDMETHODCALLTYPE Release(IDispatch* self) {
  const ULONG left = --Self(self)->references;
  if (left == 0) {
    SysFreeString(Self(self)->title);
    free(self);
  }
  return left;
}

static HRESULT STDMETHODCALLTYPE GetTypeInfoCount(IDispatch* self, UINT* count) {
  (void)self;
  *count = 0;
  return S_OK;
}

static HRESULT STDMETHODCALLTYPE GetTypeInfo(IDispatch* self, UINT index, LCID locale,
                                             ITypeInfo** info) {
  (void)self, (void)index, (void)locale;
  *info = NULL;
  return DISP_E_BADINDEX;
}

static HRESULT STDMETHODCALLTYPE GetIDsOfNames(IDispatch* self, REFIID reserved, LPOLESTR* names,
                                               UINT count, LCID locale, DISPID* ids) {
  static const WCHAR* const kNames[] = {L"Title", L"Price", L"GetMemberNames", L"GetNewObject"};
  (void)reserved, (void)count, (void)locale;
  *ids = DISPID_UNKNOWN;
  for (DISPID id = kTitle; id <= kGetNewObject; ++id) {
    const BOOL has = (id == kGetNewObject) == Self(self)->isCreator;
    if (has && lstrcmpiW(names[0], kNames[id - kTitle]) == 0) *ids = id;
  }
  return *ids == DISPID_UNKNOWN ? DISP_E_UNKNOWNNAME : S_OK;
}

/* The fields in the order in which they are written, each under itself as key. */
static IDispatch* MemberNames(void) {
  static const WCHAR* const kFields[] = {L"Title", L"Price"};
  _clsCollection* names = Create(&CLSID_clsCollection, &IID__clsCollection);
  for (int field = 0; field < 2; ++field) {
    BSTR name = SysAllocString(kFields[field]);
    _clsCollection_Add(names, OfText(name), OfText(name), Omitted(), Omitted());
    SysFreeString(name);
  }
  return (IDispatch*)names;
}

static HRESULT Get(LateBound* self, DISPID id, VARIANT* result) {
  switch (id) {
    case kTitle:
      V_VT(result) = VT_BSTR;
      V_BSTR(result) = SysAllocString(self->title);
      return S_OK;
    case kPrice:
      V_VT(result) = VT_R8;
      V_R8(result) = self->price;
      return S_OK;
    case kGetMemberNames:
      V_VT(result) = VT_DISPATCH;
      V_DISPATCH(result) = MemberNames();
      return S_OK;
    case kGetNewObject:
      V_VT(result) = VT_DISPATCH;
      V_DISPATCH(result) = &NewLateBound(FALSE, L"", 0)->dispatch;
      return S_OK;
    default:
      return DISP_E_MEMBERNOTFOUND;
  }
}

/* Restoring brings every value as text, and the property converts it. */
static HRESULT Put(LateBound* self, DISPID id, VARIANT* value) {
  VARIANT converted;
  VariantInit(&converted);
  const HRESULT status = VariantChangeType(&converted, value, 0, id == kTitle ? VT_BSTR : VT_R8);
  if (FAILED(status)) return status;
  if (id == kTitle) {
    SysFreeString(self->title);
    self->title = V_BSTR(&converted);
  } else {
    self->price = V_R8(&converted);
  }
  return S_OK;
}

static HRESULT STDMETHODCALLTYPE Invoke(IDispatch* self, DISPID id, REFIID reserved, LCID locale,
                                        WORD flags, DISPPARAMS* arguments, VARIANT* result,
                                        EXCEPINFO* exception, UINT* wrongArgument) {
  (void)reserved, (void)locale, (void)exception;
  if (wrongArgument != NULL) *wrongArgument = 0;
  if ((flags & DISPATCH_PROPERTYPUT) != 0) return Put(Self(self), id, arguments->rgvarg);
  return result == NULL ? S_OK : Get(Self(self), id, result);
}

static IDispatchVtbl kLateBound = {Query,       AddRef,        Release, GetTypeInfoCount,
                                   GetTypeInfo, GetIDsOfNames, Invoke};

static LateBound* NewLateBound(BOOL isCreator, const WCHAR* title, double price) {
  LateBound* made = malloc(sizeof *made);
  Require(made != NULL, "there is memory");
  made->dispatch.lpVtbl = &kLateBound;
  made->references = 1;
  made->isCreator = isCreator;
  made->title = SysAllocString(title);
  made->price = price;
  return made;
}

/* ---- The list -------------------------------------------------------------------------------- */

static void AddBook(_clsCollection* list, const WCHAR* title, double price) {
  VARIANT entry;
  VariantInit(&entry);
  V_VT(&entry) = VT_DISPATCH;
  V_DISPATCH(&entry) = &NewLateBound(FALSE, title, price)->dispatch;
  Require(SUCCEEDED(_clsCollection_Add(list, entry, Omitted(), Omitted(), Omitted())),
          "a book is added");
  VariantClear(&entry);
}

/* Prints every book, as For Each would go, and returns what they cost together. */
static double List(_clsCollection* list) {
  IUnknown* unknown = NULL;
  IEnumVARIANT* entries = NULL;
  VARIANT entry;
  double sum = 0;
  Require(SUCCEEDED(_clsCollection_get__NewEnum(list, &unknown)), "the list can be walked");
  IUnknown_QueryInterface(unknown, &IID_IEnumVARIANT, (void**)&entries);
  VariantInit(&entry);
  while (IEnumVARIANT_Next(entries, 1, &entry, NULL) == S_OK) {
    const LateBound* book = Self(V_DISPATCH(&entry));
    printf("%ls costs %g\n", book->title, book->price);
    sum += book->price;
    VariantClear(&entry);
  }
  IEnumVARIANT_Release(entries);
  IUnknown_Release(unknown);
  return sum;
}

/* What the file holds after `text` was saved there; the caller frees it. */
static BSTR KeptInFile(BSTR text) {
  _clsAppFiles* files = Create(&CLSID_clsAppFiles, &IID__clsAppFiles);
  WCHAR name[MAX_PATH];
  GetTempPathW(MAX_PATH, name);
  lstrcatW(name, L"c books.txt");
  BSTR path = SysAllocString(name);
  BSTR readBack = NULL;
  VARIANT_BOOL saved = VARIANT_FALSE;
  _clsAppFiles_SaveTextFile(files, path, text, VARIANT_FALSE, &saved);
  Require(saved == VARIANT_TRUE, "the text is saved");
  /* Over a file that exists, this one leaves either the old text or the new one, whatever happens.
   */
  _clsAppFiles_SaveTextFileSafely(files, path, text, VARIANT_FALSE, &saved);
  Require(saved == VARIANT_TRUE, "the text is saved safely");
  _clsAppFiles_ReadTextFile(files, path, VARIANT_FALSE, &readBack);
  Require(SysStringLen(readBack) == SysStringLen(text), "the file holds the text");
  DeleteFileW(path);
  SysFreeString(path);
  _clsAppFiles_Release(files);
  return readBack;
}

static void ShowAnError(_clsCollection* list) {
  BSTR key = SysAllocString(L"no such book");
  BSTR description = NULL;
  IErrorInfo* info = NULL;
  VARIANT entry;
  VariantInit(&entry);
  const HRESULT status = _clsCollection_get_Item(list, OfText(key), &entry);
  Require(GetErrorInfo(0, &info) == S_OK, "the error is explained");
  IErrorInfo_GetDescription(info, &description);
  printf("Error %ld: %ls\n", status & 0xFFFF, description);
  Require(status == (HRESULT)0x800A0005, "an absent key is error 5");
  SysFreeString(description);
  IErrorInfo_Release(info);
  SysFreeString(key);
}

static void KeepBooks(void) {
  _clsCollection* list = Create(&CLSID_clsCollection, &IID__clsCollection);
  _clsCollectionSaveRestore* saver =
      Create(&CLSID_clsCollectionSaveRestore, &IID__clsCollectionSaveRestore);
  AddBook(list, L"Moby Dick", 12.5);
  AddBook(list, L"Emma", 9);

  BSTR text = NULL;
  _clsCollectionSaveRestore_AsDelimitedFromCollection(saver, (IDispatch*)list, Omitted(), Omitted(),
                                                      Omitted(), &text);
  Require(SysStringLen(text) > 0, "the list becomes a text");
  BSTR readBack = KeptInFile(text);

  LateBound* creator = NewLateBound(TRUE, L"", 0);
  BSTR key = SysAllocString(L"Title");
  _clsCollection* restored = NULL;
  _clsCollectionSaveRestore_AsDelimitedToCollection(saver, readBack, &creator->dispatch, Omitted(),
                                                    Omitted(), OfText(key), &restored);
  Require(restored != NULL, "the file becomes a list again");
  Require(List(restored) == 21.5, "every book is as it was");

  BSTR emma = SysAllocString(L"EMMA");
  VARIANT found;
  VariantInit(&found);
  Require(SUCCEEDED(_clsCollection_get_Item(restored, OfText(emma), &found)),
          "Emma is found by her key, in any letter case");
  Require(Self(V_DISPATCH(&found))->price == 9, "and no other book");
  VariantClear(&found);
  ShowAnError(restored);

  SysFreeString(emma);
  SysFreeString(key);
  SysFreeString(readBack);
  SysFreeString(text);
  IDispatch_Release(&creator->dispatch);
  _clsCollection_Release(restored);
  _clsCollectionSaveRestore_Release(saver);
  _clsCollection_Release(list);
}

/* ---- Late bound ------------------------------------------------------------------------------ */

/* Calls a method by its name. The last argument comes first. Reports an error in `exception`. */
static VARIANT Call(IDispatch* object, const WCHAR* method, VARIANT* arguments, UINT count,
                    EXCEPINFO* exception) {
  DISPPARAMS parameters = {arguments, NULL, count, 0};
  DISPID id = DISPID_UNKNOWN;
  VARIANT result;
  LPOLESTR name = (LPOLESTR)method;
  VariantInit(&result);
  ZeroMemory(exception, sizeof *exception);
  Require(SUCCEEDED(IDispatch_GetIDsOfNames(object, &IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id)),
          "the method is known");
  const HRESULT status = IDispatch_Invoke(object, id, &IID_NULL, LOCALE_USER_DEFAULT,
                                          DISPATCH_METHOD, &parameters, &result, exception, NULL);
  Require(SUCCEEDED(status) || status == DISP_E_EXCEPTION, "the arguments fit");
  return result;
}

static void Convert(void) {
  CLSID classId;
  EXCEPINFO exception;
  Require(SUCCEEDED(CLSIDFromProgID(L"Brindlex.clsBases", &classId)), "the name is registered");
  IDispatch* bases = Create(&classId, &IID_IDispatch);
  VARIANT toBase16[] = {OfNumber(16), OfNumber(2026)};
  VARIANT text = Call(bases, L"ConvertDec2Base", toBase16, 2, &exception);
  printf("2026 in base 16: %ls\n", V_BSTR(&text));
  Require(lstrcmpW(V_BSTR(&text), L"7EA") == 0, "2026 is 7EA in base 16");
  VARIANT fromBase16[] = {OfNumber(16), text};
  VARIANT number = Call(bases, L"ConvertBase2Dec", fromBase16, 2, &exception);
  Require(V_VT(&number) == VT_R8 && V_R8(&number) == 2026, "and back");

  /* The tolerance goes by reference: the variable receives its absolute value. */
  double tolerance = -0.5;
  VARIANT fraction[4];
  V_VT(&fraction[0]) = VT_R8 | VT_BYREF;
  V_R8REF(&fraction[0]) = &tolerance;
  fraction[1] = Omitted();
  fraction[2] = OfNumber(16);
  V_VT(&fraction[3]) = VT_R8;
  V_R8(&fraction[3]) = 2.75;
  VARIANT digits = Call(bases, L"ConvertDec2Base", fraction, 4, &exception);
  printf("2.75 in base 16: %ls, tolerance %g\n", V_BSTR(&digits), tolerance);
  Require(lstrcmpW(V_BSTR(&digits), L"2.C") == 0, "2.75 is 2.C in base 16");
  Require(tolerance == 0.5, "the tolerance is written back");

  VARIANT fromBase1[] = {OfNumber(1), text};
  Call(bases, L"ConvertBase2Dec", fromBase1, 2, &exception);
  printf("Error %ld in %ls: %ls\n", exception.scode & 0xFFFF, exception.bstrSource,
         exception.bstrDescription);
  Require(exception.scode == (SCODE)0x800A000D, "base 1 is error 13");
  Require(lstrcmpW(exception.bstrSource, L"ConvertBase2Dec") == 0, "of the operation");
  Require(lstrcmpW(exception.bstrDescription, L"Invalid Base") == 0, "with its description");
  SysFreeString(exception.bstrSource);
  SysFreeString(exception.bstrDescription);
  SysFreeString(exception.bstrHelpFile);
  VariantClear(&digits);
  VariantClear(&text);
  IDispatch_Release(bases);
}

int main(void) {
  CoInitialize(NULL);
  KeepBooks();
  Convert();
  CoUninitialize();
  printf("books: done\n");
  return 0;
}
