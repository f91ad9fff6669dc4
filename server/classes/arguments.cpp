#include "server/classes/arguments.h"

#include "platform/win32/automation/hresult.h"
#include "platform/win32/automation/variant.h"
#include "server/classes/the_platform.h"

namespace brindlex {

Object ObjectArg(IDispatch* object) {
  return ThePlatform().Dispatch().Wrap(ComPtr<IDispatch>(object));
}

TextArg::TextArg(const VARIANT& argument) {
  if (IsMissing(argument) || Dereferenced(argument).vt == VT_EMPTY) return;
  try {
    text_ = TextOf(argument);
    read_ = text_;
  } catch (const RuntimeError& error) {
    read_ = OptionalText::ConversionFailed(error);
  }
}

IDispatch* ToResult(const Object& object) {
  if (object.IsNothing()) return nullptr;
  auto* const dispatch = static_cast<IDispatch*>(object.Self(ThePlatform().Dispatch()));
  dispatch->AddRef();
  return dispatch;
}

_clsCollection* ToResult(const CollectionRef& collection) {
  if (collection == nullptr) return nullptr;
  const auto object = ComPtr<IDispatch>::Adopt(ToResult(collection->AsObject()));
  auto result = object.As<_clsCollection>();
  if (!result) throw ErrorOf(E_NOINTERFACE);
  return result.Detach();
}

}  // namespace brindlex
