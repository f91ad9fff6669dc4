#include "platform/win32/automation/late_binding.h"

#include <algorithm>

#include "automation/runtime_error.h"
#include "platform/win32/automation/hresult.h"

namespace brindlex {
namespace {

void InvokeRaw(IDispatch& object, DISPID member, WORD flags, DISPPARAMS& parameters,
               VARIANT* result, LCID locale, DWORD* lastError = nullptr) {
  EXCEPINFO exception{};
  UINT wrongArgument = 0;
  const HRESULT status = object.Invoke(member, IID_NULL, locale, flags, &parameters, result,
                                       &exception, &wrongArgument);
  // At once: throwing an exception is enough to change it.
  if (lastError != nullptr) *lastError = GetLastError();
  if (FAILED(status)) throw ErrorOf(status, exception);
}

}  // namespace

DISPID MemberId(IDispatch& object, MemberName name, LCID locale) {
  DISPID member = DISPID_UNKNOWN;
  const HRESULT status = AskForId(object, name, locale, member);
  if (SUCCEEDED(status)) return member;
  ComPtr<IDispatchEx> extended;
  return MemberIdByDispatchEx(object, Bstr(name).Get(), status, extended);
}

DISPID MemberIdByDispatchEx(IDispatch& object, BSTR name, HRESULT refusal,
                            ComPtr<IDispatchEx>& extended) {
  if (refusal != E_NOTIMPL) ClearErrorObject();
  if (!extended) extended = ComPtr<IDispatch>(&object).As<IDispatchEx>();
  if (!extended) ThrowErrorOf(refusal == E_NOTIMPL ? DISP_E_UNKNOWNNAME : refusal);
  DISPID member = DISPID_UNKNOWN;
  CheckHost(extended->GetDispID(name, fdexNameCaseInsensitive, &member));
  return member;
}

Variant Invoke(IDispatch& object, DISPID member, WORD flags, std::span<VARIANT> arguments,
               DWORD* lastError) {
  std::reverse(arguments.begin(), arguments.end());
  DISPPARAMS parameters{arguments.data(), nullptr, static_cast<UINT>(arguments.size()), 0};
  Variant result;
  InvokeRaw(object, member, flags, parameters, result.Receive(), GetUserDefaultLCID(), lastError);
  return result;
}

void Let(IDispatch& object, DISPID member, VARIANT& value, LCID locale, DWORD* lastError) {
  DISPID valueName = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{&value, &valueName, 1, 1};
  // Nobody wants the result, yet some objects write one without a check for null.
  Variant unwanted;
  InvokeRaw(object, member, DISPATCH_PROPERTYPUT, parameters, unwanted.Receive(), locale,
            lastError);
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
