#include "server/classes/classes.h"

#include <algorithm>
#include <new>

#include "platform/win32/automation/com_ptr.h"
#include "server/Brindlex.h"
#include "server/classes/co_app_files.h"
#include "server/classes/co_bases.h"
#include "server/classes/co_collection.h"
#include "server/classes/co_collection_save_restore.h"
#include "server/classes/co_environment.h"
#include "server/classes/co_text_data.h"
#include "server/com/counted_object.h"
#include "server/com/module.h"

namespace brindlex {
namespace {

template <class Coclass>
IUnknown* Create() {
  // Through the default interface, since an object has several bases that are IUnknown.
  return static_cast<IDispatch*>(new Coclass);
}

const ClassDescription kClasses[] = {
    {CLSID_clsCollection, IID__clsCollection, L"clsCollection", Create<CoCollection>},
    {CLSID_clsTextData, IID__clsTextData, L"clsTextData", Create<CoTextData>},
    {CLSID_clsCreateTextData, IID__clsCreateTextData, L"clsCreateTextData",
     Create<CoCreateTextData>},
    {CLSID_clsCollectionSaveRestore, IID__clsCollectionSaveRestore, L"clsCollectionSaveRestore",
     Create<CoCollectionSaveRestore>},
    {CLSID_clsEnvironment, IID__clsEnvironment, L"clsEnvironment", Create<CoEnvironment>},
    {CLSID_clsAppFiles, IID__clsAppFiles, L"clsAppFiles", Create<CoAppFiles>},
    {CLSID_clsBases, IID__clsBases, L"clsBases", Create<CoBases>},
};

class ClassFactory final : public CountedObject<ClassFactory, IClassFactory> {
 public:
  explicit ClassFactory(const ClassDescription& description) : description_(description) {}

  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID id, void** result) override {
    if (result == nullptr) return E_POINTER;
    *result = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    try {
      const auto object = ComPtr<IUnknown>::Adopt(description_.create());
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

std::span<const ClassDescription> Classes() { return kClasses; }

HRESULT GetClassFactory(REFCLSID classId, REFIID interfaceId, void** result) noexcept {
  if (result == nullptr) return E_POINTER;
  *result = nullptr;
  const auto classes = Classes();
  const auto found = std::find_if(classes.begin(), classes.end(),
                                  [&](const ClassDescription& c) { return c.classId == classId; });
  if (found == classes.end()) return CLASS_E_CLASSNOTAVAILABLE;
  const auto factory = ComPtr<IClassFactory>::Adopt(new (std::nothrow) ClassFactory(*found));
  return factory ? factory->QueryInterface(interfaceId, result) : E_OUTOFMEMORY;
}

}  // namespace brindlex
