#include "platform/win32/dispatch_family.h"

#include <utility>

#include "automation/runtime_error.h"
#include "platform/win32/hresult.h"
#include "platform/win32/late_binding.h"
#include "platform/win32/type_information.h"
#include "platform/win32/variant.h"

namespace brindlex {
namespace {

IDispatch& DispatchOf(void* object) { return *static_cast<IDispatch*>(object); }

ComPtr<IDispatch> ObjectYieldedBy(IDispatch& object, BSTR name) {
  return ObjectOf(Invoke(object, MemberId(object, name), kCallOrGet).Get());
}

/// Looks the dispatch id up for every object anew: objects that look alike may still give one name
/// different ids.
class DispatchAccess : public MemberAccess {
 public:
  DispatchAccess(const DispatchFamily& family, std::vector<Text> names)
      : MemberAccess(std::move(names)), family_(family) {
    for (const Text& name : Names()) names_.emplace_back(name);
  }

  void AppendText(const Object& object, std::size_t member, TextBuilder& text) override {
    IDispatch& dispatch = DispatchOf(object.Self(family_));
    const DISPID id = MemberId(dispatch, names_[member].Get());
    Variant storage;
    text.Append(ViewAsText(Invoke(dispatch, id, kGet).Get(), storage));
  }

  void LetText(const Object& object, std::size_t member, TextView value) override {
    IDispatch& dispatch = DispatchOf(object.Self(family_));
    const DISPID id = MemberId(dispatch, names_[member].Get());
    Variant text = Variant::OfText(value);
    Let(dispatch, id, text.Get());
  }

  Object CallForObject(const Object& object, std::size_t member) override {
    IDispatch& dispatch = DispatchOf(object.Self(family_));
    return family_.Wrap(ObjectYieldedBy(dispatch, names_[member].Get()).Get());
  }

 private:
  const DispatchFamily& family_;
  std::vector<Bstr> names_;
};

}  // namespace

Object DispatchFamily::Wrap(IDispatch* object) const noexcept {
  if (object == nullptr) return {};
  object->AddRef();
  return {*this, object};
}

void DispatchFamily::AddRef(void* object) const noexcept { DispatchOf(object).AddRef(); }

void DispatchFamily::Release(void* object) const noexcept { DispatchOf(object).Release(); }

Object DispatchFamily::CallForObject(void* object, TextView name) const {
  return Wrap(ObjectYieldedBy(DispatchOf(object), Bstr(name).Get()).Get());
}

CollectionRef DispatchFamily::CallForCollection(void* object, TextView name) const {
  ComPtr<IDispatch> collection = ObjectYieldedBy(DispatchOf(object), Bstr(name).Get());
  if (!collection) return nullptr;
  return std::make_shared<DispatchCollection>(*this, std::move(collection));
}

bool DispatchFamily::FlagOf(const Object& object, TextView name) const {
  const Bstr member(name);
  IDispatch& dispatch = DispatchOf(object.Self(*this));
  return brindlex::FlagOf(Invoke(dispatch, MemberId(dispatch, member.Get()), kGet).Get());
}

std::vector<Text> DispatchFamily::PropertyGetNames(void* object) const {
  return PropertyGetNamesOf(DispatchOf(object));
}

std::unique_ptr<MemberAccess> DispatchFamily::Access(std::vector<Text> names) const {
  return std::make_unique<DispatchAccess>(*this, std::move(names));
}

}  // namespace brindlex
