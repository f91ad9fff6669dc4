#pragma once

#include <oaidl.h>

#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/variant.h"
#include "test_records.h"

namespace brindlex::testing {

/// A description from the test program's own type library.
ComPtr<ITypeInfo> TestTypeInfo(REFGUID id);

/// The description of `dual` as a vtable interface, which holds its own members only.
ComPtr<ITypeInfo> VtableInfoOf(const ComPtr<ITypeInfo>& dual);

/// A record with a property of every automation type, late bound through its type library: what
/// text means to each property is the system's own conversion. Calls through the vtable and through
/// IDispatch reach the same members.
class TypedRecord : public _DerivedRecord {
 public:
  /// A new record described as `id`, which is _TypedRecord or _DerivedRecord.
  static ComPtr<TypedRecord> New(REFIID id = IID__TypedRecord) {
    return ComPtr<TypedRecord>::Adopt(new TypedRecord(id));
  }

  static long Alive() { return alive; }

  TypedRecord(const TypedRecord&) = delete;
  TypedRecord& operator=(const TypedRecord&) = delete;

  /// Describes itself as a vtable interface instead of a dispatch interface.
  void DescribeVtable() { described_ = VtableInfoOf(info_); }

  short shortNumber = 0;
  long longNumber = 0;
  float single = 0;
  double doubleNumber = 0;
  CURRENCY money{};
  DATE day = 0;
  Bstr words;
  VARIANT_BOOL flag = VARIANT_FALSE;
  Variant any;
  DECIMAL exact{};
  unsigned char tiny = 0;
  ComPtr<IDispatch> thing;
  Bstr extra;
  long written = 0;
  /// What GetMemberNames yields.
  ComPtr<IDispatch> memberNames;

  STDMETHODIMP QueryInterface(REFIID id, void** result) override;
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override;

  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  STDMETHODIMP GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID locale,
                             DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID id, REFIID reserved, LCID locale, WORD flags, DISPPARAMS* params,
                      VARIANT* result, EXCEPINFO* exception, UINT* wrongArgument) override;

  STDMETHODIMP get_Short(short* result) override { return Get(shortNumber, result); }
  STDMETHODIMP put_Short(short value) override { return Put(value, shortNumber); }
  STDMETHODIMP get_Long(long* result) override { return Get(longNumber, result); }
  STDMETHODIMP put_Long(long value) override { return Put(value, longNumber); }
  STDMETHODIMP get_Single(float* result) override { return Get(single, result); }
  STDMETHODIMP put_Single(float value) override { return Put(value, single); }
  STDMETHODIMP get_Double(double* result) override { return Get(doubleNumber, result); }
  STDMETHODIMP put_Double(double value) override { return Put(value, doubleNumber); }
  STDMETHODIMP get_Money(CURRENCY* result) override { return Get(money, result); }
  STDMETHODIMP put_Money(CURRENCY value) override { return Put(value, money); }
  STDMETHODIMP get_Day(DATE* result) override { return Get(day, result); }
  STDMETHODIMP put_Day(DATE value) override { return Put(value, day); }
  STDMETHODIMP get_Words(BSTR* result) override { return Copy(words.Get(), result); }
  STDMETHODIMP put_Words(BSTR value) override { return Copy(value, words.Receive()); }
  STDMETHODIMP get_Flag(VARIANT_BOOL* result) override { return Get(flag, result); }
  STDMETHODIMP put_Flag(VARIANT_BOOL value) override { return Put(value, flag); }
  STDMETHODIMP get_Any(VARIANT* result) override { return CopyValue(*result, any.Get()); }
  STDMETHODIMP put_Any(VARIANT value) override { return CopyValue(*any.Receive(), value); }
  STDMETHODIMP get_Exact(DECIMAL* result) override { return Get(exact, result); }
  STDMETHODIMP put_Exact(DECIMAL value) override { return Put(value, exact); }
  STDMETHODIMP get_Tiny(unsigned char* result) override { return Get(tiny, result); }
  STDMETHODIMP put_Tiny(unsigned char value) override { return Put(value, tiny); }
  STDMETHODIMP get_Thing(IDispatch** result) override {
    return Get(ComPtr<IDispatch>(thing).Detach(), result);
  }
  STDMETHODIMP put_Thing(IDispatch* value) override { return Put(ComPtr<IDispatch>(value), thing); }
  STDMETHODIMP get_OnlyRead(long* result) override { return Get(42L, result); }
  STDMETHODIMP put_OnlyWritten(long value) override { return Put(value, written); }
  STDMETHODIMP DoNothing() override { return S_OK; }
  STDMETHODIMP get_Hidden(long* result) override { return Get(43L, result); }
  STDMETHODIMP get_Restricted(long* result) override { return Get(44L, result); }
  STDMETHODIMP GetMemberNames(IDispatch** result) override {
    return Get(ComPtr<IDispatch>(memberNames).Detach(), result);
  }
  STDMETHODIMP get_Extra(BSTR* result) override { return Copy(extra.Get(), result); }
  STDMETHODIMP put_Extra(BSTR value) override { return Copy(value, extra.Receive()); }
  STDMETHODIMP get_MemberNames(BSTR* result) override { return Get(BSTR(nullptr), result); }

 private:
  explicit TypedRecord(REFIID id) : info_(TestTypeInfo(id)), described_(info_) { ++alive; }
  virtual ~TypedRecord() { --alive; }

  template <class T>
  static HRESULT Get(T value, T* result) {
    *result = value;
    return S_OK;
  }
  template <class T>
  static HRESULT Put(T value, T& member) {
    member = value;
    return S_OK;
  }
  static HRESULT Copy(BSTR text, BSTR* copy) {
    *copy = SysAllocStringLen(text, SysStringLen(text));
    return *copy == nullptr ? E_OUTOFMEMORY : S_OK;
  }

  static inline long alive = 0;

  ULONG references_ = 1;
  ComPtr<ITypeInfo> info_;
  ComPtr<ITypeInfo> described_;
};

}  // namespace brindlex::testing
