#pragma once

#include <oaidl.h>

#include <string>
#include <vector>

#include "platform/win32/automation/variant.h"

namespace brindlex::testing {

/// One call through IDispatch::Invoke, put together as a host does it.
class LateCall {
 public:
  static constexpr UINT kNoWrongArgument = 4711;

  /// Looks `member` up.
  LateCall(IDispatch& object, const wchar_t* member);
  LateCall(IDispatch& object, DISPID member) : object_(object), member_(member) {}
  LateCall(const LateCall&) = delete;
  LateCall& operator=(const LateCall&) = delete;
  ~LateCall();

  LateCall& By(WORD flags);
  LateCall& In(LCID locale);
  /// The next argument by place, in written order. Borrowed, as all arguments are but the owned.
  LateCall& With(const VARIANT& argument);
  LateCall& WithOwned(Variant argument);
  LateCall& WithNamed(DISPID name, const VARIANT& argument);
  /// Sets a property as hosts do, with the value under the name that is made for it.
  HRESULT Put(const VARIANT& value);

  HRESULT Run();

  const VARIANT& Result() const { return result_.Get(); }
  const EXCEPINFO& Exception() const { return exception_; }
  std::u16string Source() const { return std::u16string(ViewOf(exception_.bstrSource)); }
  std::u16string Description() const { return std::u16string(ViewOf(exception_.bstrDescription)); }
  /// Its place in the reversed order of the arguments.
  UINT WrongArgument() const { return wrongArgument_; }

 private:
  IDispatch& object_;
  DISPID member_;
  WORD flags_ = DISPATCH_METHOD | DISPATCH_PROPERTYGET;
  LCID locale_ = LOCALE_USER_DEFAULT;
  std::vector<VARIANT> placed_;
  std::vector<VARIANT> named_;
  std::vector<DISPID> names_;
  std::vector<Variant> owned_;
  Variant result_;
  EXCEPINFO exception_{};
  UINT wrongArgument_ = kNoWrongArgument;
};

/// The ids of a member and its parameters; a failure fails the test.
std::vector<DISPID> IdsOf(IDispatch& object, std::vector<std::wstring> names);

Variant OfLong(long number);
Variant OfDouble(double number);

/// `value` passed by reference: as a typed variable, as a script's variable, and as a script's
/// variable that refers to a typed one. `holder` must live as long as the result.
VARIANT TypedReference(const Variant& value);
VARIANT VariableReference(const Variant& value);
VARIANT NestedReference(const Variant& value, VARIANT& holder);

/// A value in words to compare: "Empty", "long 3", "text abc", "True", "Nothing"; a collection of
/// ours as its entries in brackets, a text record of ours as "{data|name}".
std::u16string Shown(const VARIANT& value);

}  // namespace brindlex::testing
