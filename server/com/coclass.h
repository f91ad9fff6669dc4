#pragma once

#include <oaidl.h>
#include <ocidl.h>

#include <atomic>
#include <utility>

#include "platform/win32/automation/com_ptr.h"
#include "server/com/call.h"
#include "server/com/error_info.h"
#include "server/com/module.h"
#include "server/com/type_library.h"
#include "server/dispatch_tables.h"

namespace brindlex {

/// What all coclasses share: IUnknown, IDispatch over the table of the interface's members that is
/// made from its description, ISupportErrorInfo and IProvideClassInfo. `Interface` is the default
/// interface, `Class` the name
/// that carries the class id, and `Inner` are interfaces for use within the component, with their
/// ids as kId. Objects are made with one reference, by `new`.
template <class Self, class Interface, class Class, class... Inner>
class Coclass : public Interface,
                public ISupportErrorInfo,
                public IProvideClassInfo,
                public Inner... {
  static_assert(!kMembersOf<Interface>.empty());

 public:
  Coclass(const Coclass&) = delete;
  Coclass& operator=(const Coclass&) = delete;

  // IUnknown
  STDMETHODIMP QueryInterface(REFIID id, void** result) override {
    if (result == nullptr) return E_POINTER;
    *result = Find(id);
    if (*result == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) {
      // What the object owns may use it once more at its own end, which must not end it twice.
      references_ = 1;
      delete static_cast<Self*>(this);
    }
    return left;
  }

  // IDispatch
  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    return index == 0 ? LoadTypeInfo(__uuidof(Interface), info) : DISP_E_BADINDEX;
  }
  STDMETHODIMP GetIDsOfNames(REFIID reserved, LPOLESTR* names, UINT count, LCID,
                             DISPID* ids) override {
    return GetIdsOfNames(kMembersOf<Interface>, reserved, names, count, ids);
  }
  STDMETHODIMP Invoke(DISPID member, REFIID reserved, LCID, WORD flags, DISPPARAMS* params,
                      VARIANT* result, EXCEPINFO* exception, UINT* wrongArgument) override {
    return InvokeMember(kMembersOf<Interface>, *this, member, reserved, flags, params, result,
                        exception, wrongArgument);
  }

  // ISupportErrorInfo
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID id) override {
    return id == __uuidof(Interface) ? S_OK : S_FALSE;
  }

  // IProvideClassInfo
  STDMETHODIMP GetClassInfo(ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    return LoadTypeInfo(__uuidof(Class), info);
  }

 protected:
  Coclass() = default;
  ~Coclass() = default;

  /// Runs the body of a vtable method. The object lives until it ends even if the host releases it
  /// meanwhile; a failure becomes a status and the thread's error object.
  template <class Body>
  HRESULT Run(Body&& body) noexcept {
    const ComPtr<Interface> alive(this);
    try {
      std::forward<Body>(body)();
      return S_OK;
    } catch (...) {
      return ReportCaughtError(__uuidof(Interface));
    }
  }

  /// As above, for a method whose result goes to `*result`: E_POINTER when `result` is null; the
  /// type's empty value unless the body stores another.
  template <class Result, class Body>
  HRESULT RunFor(Result* result, Body&& body) noexcept {
    if (result == nullptr) return E_POINTER;
    *result = {};
    return Run(std::forward<Body>(body));
  }

 private:
  void* Find(REFIID id) {
    if (id == IID_IUnknown || id == IID_IDispatch || id == __uuidof(Interface)) {
      return static_cast<Interface*>(this);
    }
    if (id == IID_ISupportErrorInfo) return static_cast<ISupportErrorInfo*>(this);
    if (id == IID_IProvideClassInfo) return static_cast<IProvideClassInfo*>(this);
    void* found = nullptr;
    static_cast<void>(((id == Inner::kId && (found = static_cast<Inner*>(this), true)) || ...));
    return found;
  }

  std::atomic<ULONG> references_{1};
  module::Use use_;
};

}  // namespace brindlex
