/* A host that leaves its report listener by a jump, as the error handling of Ruby, Lua and many C
   programs does: the component's call never returns, and the listener must be told of the next
   report all the same. */

#define COBJMACROS
#include <windows.h>

#include <oleauto.h>
#include <stdio.h>

static void* back[5];
static int calls = 0;
static int jumps = 1;

static HRESULT STDMETHODCALLTYPE Query(IDispatch* self, REFIID id, void** result) {
  *result = IsEqualIID(id, &IID_IUnknown) || IsEqualIID(id, &IID_IDispatch) ? self : NULL;
  return *result == NULL ? E_NOINTERFACE : S_OK;
}
static ULONG STDMETHODCALLTYPE Count(IDispatch* self) { return self == NULL ? 0 : 1; }
static HRESULT STDMETHODCALLTYPE CountTypes(IDispatch* self, UINT* count) {
  *count = 0;
  return self == NULL ? E_POINTER : S_OK;
}
static HRESULT STDMETHODCALLTYPE GetType(IDispatch* self, UINT index, LCID locale,
                                         ITypeInfo** type) {
  *type = NULL;
  return self == NULL && index == 0 && locale == 0 ? E_POINTER : E_NOTIMPL;
}
static HRESULT STDMETHODCALLTYPE FindName(IDispatch* self, REFIID id, LPOLESTR* names, UINT count,
                                          LCID locale, DISPID* ids) {
  (void)self, (void)id, (void)names, (void)count, (void)locale;
  *ids = 1;
  return S_OK;
}
static HRESULT STDMETHODCALLTYPE Call(IDispatch* self, DISPID member, REFIID id, LCID locale,
                                      WORD flags, DISPPARAMS* arguments, VARIANT* result,
                                      EXCEPINFO* exception, UINT* wrongArgument) {
  (void)self, (void)member, (void)id, (void)locale, (void)flags, (void)arguments, (void)result;
  (void)exception;
  *wrongArgument = 0;
  ++calls;
  if (jumps) __builtin_longjmp(back, 1);
  return S_OK;
}

static IDispatchVtbl table = {Query, Count, Count, CountTypes, GetType, FindName, Call};
static IDispatch listener = {&table};

static IDispatch* Create(const wchar_t* name) {
  CLSID id;
  IDispatch* object = NULL;
  if (FAILED(CLSIDFromProgID(name, &id))) return NULL;
  CoCreateInstance(&id, NULL, CLSCTX_INPROC_SERVER, &IID_IDispatch, (void**)&object);
  return object;
}

static HRESULT Invoke(IDispatch* object, wchar_t* name, WORD flags, VARIANT* argument) {
  DISPID member = 0;
  DISPID put = DISPID_PROPERTYPUT;
  DISPPARAMS arguments = {argument, NULL, 1, 0};
  if (flags == DISPATCH_PROPERTYPUTREF) {
    arguments.rgdispidNamedArgs = &put;
    arguments.cNamedArgs = 1;
  }
  IDispatch_GetIDsOfNames(object, &IID_NULL, &name, 1, 0, &member);
  return IDispatch_Invoke(object, member, &IID_NULL, 0, flags, &arguments, NULL, NULL, NULL);
}

/* A save of Nothing, which is reported. */
static __attribute__((noinline)) void Fail(IDispatch* saver) {
  VARIANT nothing;
  if (__builtin_setjmp(back) != 0) return;
  VariantInit(&nothing);
  nothing.vt = VT_DISPATCH;
  nothing.pdispVal = NULL;
  Invoke(saver, L"AsDelimitedFromCollection", DISPATCH_METHOD, &nothing);
}

int main(void) {
  CoInitialize(NULL);
  IDispatch* const saver = Create(L"Brindlex.clsCollectionSaveRestore");
  IDispatch* const environment = Create(L"Brindlex.clsEnvironment");
  if (saver == NULL || environment == NULL) return 1;
  VARIANT argument;
  VariantInit(&argument);
  argument.vt = VT_DISPATCH;
  argument.pdispVal = &listener;
  if (FAILED(Invoke(environment, L"ReportListener", DISPATCH_PROPERTYPUTREF, &argument))) return 1;
  Fail(saver);
  Fail(saver);
  jumps = 0;
  Fail(saver);
  if (calls != 3) {
    printf("the listener was called %d times of 3\n", calls);
    return 1;
  }
  printf("all passed\n");
  return 0;
}
