#include "platform/win32/late_binding.h"

#include <dispex.h>

#include <algorithm>

#include "automation/runtime_error.h"
#include "platform/win32/hresult.h"

namespace brindlex {
namespace {

HRESULT IdByDispatchEx(IDispatch& object, BSTR name, DISPID& member) {
  const auto extended = ComPtr<IDispatch>(&object).As<IDispatchEx>();
  if (!extended) return DISP_E_UNKNOWNNAME;
  return extended->GetDispID(name, fdexNameCaseInsensitive, &member);
}

void InvokeRaw(IDispatch& object, DISPID member, WORD flags, DISPPARAMS& parameters,
               VARIANT* result) {
  EXCEPINFO exception{};
  UINT wrongArgument = 0;
  const HRESULT status = object.Invoke(member, IID_NULL, GetUserDefaultLCID(), flags, &parameters,
                                       result, &exception, &wrongArgument);
  if (FAILED(status)) throw ErrorOf(status, exception);
}

}  // namespace

DISPID MemberId(IDispatch& object, BSTR name) {
  DISPID member = DISPID_UNKNOWN;
  const HRESULT status = object.GetIDsOfNames(IID_NULL, &name, 1, GetUserDefaultLCID(), &member);
  if (SUCCEEDED(status)) return member;
  if (SUCCEEDED(IdByDispatchEx(object, name, member))) return member;
  throw status == E_NOTIMPL ? RuntimeError(error_number::kNoSuchMember) : ErrorOf(status);
}

Variant Invoke(IDispatch& object, DISPID member, WORD flags, std::span<VARIANT> arguments) {
  std::reverse(arguments.begin(), arguments.end());
  DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
  Variant result;
  InvokeRaw(object, member, flags, parameters, result.Receive());
  return result;
}

void Let(IDispatch& object, DISPID member, VARIANT& value) {
  DISPID valueName = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{&value, &valueName, 1, 1};
  InvokeRaw(object, member, DISPATCH_PROPERTYPUT, parameters, nullptr);
}

Variant DefaultValueOf(const VARIANT& object) {
  constexpr int kLongestChain = 16;
  Variant value(object);
  for (int step = 0; step < kLongestChain; ++step) {
    const VARTYPE type = value.Get().vt;
    if (type != VT_DISPATCH && type != VT_UNKNOWN) return value;
    const ComPtr<IDispatch> reference = ObjectOf(value.Get());
    if (!reference) throw RuntimeError(error_number::kObjectNotSet);
    value = Variant(Invoke(*reference.Get(), DISPID_VALUE, kCallOrGet).Get());
  }
  throw RuntimeError(error_number::kTypeMismatch);
}

}  // namespace brindlex
