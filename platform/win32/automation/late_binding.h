#pragma once

#include <dispex.h>
#include <oaidl.h>

#include <optional>
#include <span>

#include "automation/object.h"
#include "platform/win32/automation/com_ptr.h"
#include "platform/win32/automation/hresult.h"
#include "platform/win32/automation/variant.h"

namespace brindlex {

/// Calls a member; reads a property; both at once, for objects that distinguish them when the
/// caller cannot.
inline constexpr WORD kCall = DISPATCH_METHOD;
inline constexpr WORD kGet = DISPATCH_PROPERTYGET;
inline constexpr WORD kCallOrGet = DISPATCH_METHOD | DISPATCH_PROPERTYGET;

/// The dispatch id of the member that `object` knows as `name`: by GetIDsOfNames, or where that
/// refuses, without regard to letter case, by IDispatchEx. Error 438 when there is no such member.
DISPID MemberId(IDispatch& object, MemberName name, LCID locale = GetUserDefaultLCID());

/// `name` as GetIDsOfNames takes it: as one that may be written to, which no object does.
inline LPOLESTR AsAsked(MemberName name) {
  return const_cast<LPOLESTR>(reinterpret_cast<const OLECHAR*>(name));
}

/// The object's own answer alone: whether GetIDsOfNames knows `name`, whose id it then puts into
/// `member`.
inline HRESULT AskForId(IDispatch& object, MemberName name, LCID locale, DISPID& member) {
  LPOLESTR asked = AsAsked(name);
  return object.GetIDsOfNames(IID_NULL, &asked, 1, locale, &member);
}

/// As MemberId, of an object whose GetIDsOfNames has refused with `refusal`. `extended`, null at
/// first, keeps its IDispatchEx, for a caller that asks one object for many names.
DISPID MemberIdByDispatchEx(IDispatch& object, BSTR name, HRESULT refusal,
                            ComPtr<IDispatchEx>& extended);

/// What the member yields for `arguments` (in their written order, which this function reverses in
/// place for the call). Throws the member's own error as ErrorOf has it. `lastError` receives what
/// the call has left as the thread's last error, whether it failed or not.
Variant Invoke(IDispatch& object, DISPID member, WORD flags, std::span<VARIANT> arguments = {},
               DWORD* lastError = nullptr);

/// What the property yields, as Invoke has it, for a caller that asks many objects: the locale is
/// the caller's to find, and the value replaces the content of `result`.
inline void GetInto(Variant& result, IDispatch& object, DISPID member, LCID locale) {
  DISPPARAMS none{};
  EXCEPINFO exception{};
  UINT wrongArgument = 0;
  const HRESULT status = object.Invoke(member, IID_NULL, locale, kGet, &none, result.Receive(),
                                       &exception, &wrongArgument);
  if (FAILED(status)) ThrowErrorOf(status, exception);
}

/// Sets a property. Throws the property's own error, with `lastError` as above.
void Let(IDispatch& object, DISPID member, VARIANT& value, LCID locale = GetUserDefaultLCID(),
         DWORD* lastError = nullptr);

/// What the object's default property yields, followed until it is no object. Error 91 for Nothing,
/// 438 without a default property, 13 when the objects never lead to a value.
Variant DefaultValueOf(const VARIANT& object);

}  // namespace brindlex
