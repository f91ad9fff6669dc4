#include "platform/win32/automation/dispatch_adapter.h"

#include <utility>

#include "automation/runtime_error.h"
#include "platform/win32/automation/dispatch_access.h"
#include "platform/win32/automation/late_binding.h"
#include "platform/win32/automation/type_information.h"
#include "platform/win32/automation/variant.h"

namespace brindlex {
namespace {

IDispatch& DispatchOf(void* object) { return *static_cast<IDispatch*>(object); }

}  // namespace

Object DispatchAdapter::Wrap(ComPtr<IDispatch> object) const noexcept {
  if (!object) return {};
  return {*this, object.Detach()};
}

void DispatchAdapter::AddRef(void* object) const noexcept { DispatchOf(object).AddRef(); }

void DispatchAdapter::Release(void* object) const noexcept { DispatchOf(object).Release(); }

Object DispatchAdapter::CallForObject(void* object, MemberName name) const {
  return Wrap(ObjectYieldedBy(DispatchOf(object), name));
}

CollectionRef DispatchAdapter::CallForCollection(void* object, MemberName name) const {
  ComPtr<IDispatch> collection = ObjectYieldedBy(DispatchOf(object), name);
  if (!collection) return nullptr;
  if (adapt_ != nullptr) return adapt_(collection.Get());
  return std::make_shared<DispatchCollection>(*this, std::move(collection));
}

bool DispatchAdapter::FlagOf(const Object& object, MemberName name) const {
  IDispatch& dispatch = DispatchOf(object.Self(*this));
  return brindlex::FlagOf(Invoke(dispatch, MemberId(dispatch, name), kGet).Get());
}

std::vector<Text> DispatchAdapter::PropertyGetNames(void* object) const {
  return PropertyGetNamesOf(DispatchOf(object));
}

std::unique_ptr<MemberAccess> DispatchAdapter::Access(std::span<const Text> names) const {
  return MakeDispatchAccess(*this, names);
}

}  // namespace brindlex
