#pragma once

#include <unknwn.h>

#include <atomic>

#include "server/com/module.h"

namespace brindlex {

/// The IUnknown of an object with one interface beside it: counted from one reference, which the
/// maker holds, and deleted at none. It keeps the module loaded while it lives. `Self` is the final
/// class, whose destructor may be private when this class is its friend.
template <class Self, class Interface>
class CountedObject : public Interface {
 public:
  CountedObject(const CountedObject&) = delete;
  CountedObject& operator=(const CountedObject&) = delete;

  STDMETHODIMP QueryInterface(REFIID id, void** result) override {
    if (result == nullptr) return E_POINTER;
    const bool known = id == IID_IUnknown || id == __uuidof(Interface);
    *result = known ? static_cast<Interface*>(this) : nullptr;
    if (!known) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }
  STDMETHODIMP_(ULONG) Release() override {
    const ULONG left = --references_;
    if (left == 0) delete static_cast<Self*>(this);
    return left;
  }

 protected:
  CountedObject() = default;
  ~CountedObject() = default;

 private:
  std::atomic<ULONG> references_{1};
  module::Use use_;
};

}  // namespace brindlex
