#include "server/com/class_factory.h"

#include <algorithm>
#include <new>

#include "platform/win32/automation/com_ptr.h"
#include "server/com/counted_object.h"
#include "server/com/module.h"

namespace brindlex {
namespace {

class ClassFactory final : public CountedObject<ClassFactory, IClassFactory> {
 public:
  explicit ClassFactory(const ClassDescription& description) : description_(description) {}

  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID id, void** result) override {
    if (result == nullptr) return E_POINTER;
    *result = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    try {
      const auto object = ComPtr<IDispatch>::Adopt(description_.create());
      return object->QueryInterface(id, result);
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    } catch (...) {
      return E_UNEXPECTED;
    }
  }
  STDMETHODIMP LockServer(BOOL lock) override {
    if (lock != FALSE) {
      module::AddUse();
    } else {
      module::ReleaseUse();
    }
    return S_OK;
  }

 private:
  const ClassDescription& description_;
};

}  // namespace

HRESULT GetClassFactory(std::span<const ClassDescription> classes, REFCLSID classId,
                        REFIID interfaceId, void** result) noexcept {
  if (result == nullptr) return E_POINTER;
  *result = nullptr;
  const auto found = std::find_if(classes.begin(), classes.end(),
                                  [&](const ClassDescription& c) { return c.classId == classId; });
  if (found == classes.end()) return CLASS_E_CLASSNOTAVAILABLE;
  const auto factory = ComPtr<IClassFactory>::Adopt(new (std::nothrow) ClassFactory(*found));
  return factory ? factory->QueryInterface(interfaceId, result) : E_OUTOFMEMORY;
}

}  // namespace brindlex
