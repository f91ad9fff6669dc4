#include "tests/com/objects/late_call.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "server/Brindlex.h"

namespace brindlex::testing {

LateCall::LateCall(IDispatch& object, const wchar_t* member)
    : object_(object), member_(IdsOf(object, {member}).at(0)) {}

LateCall::~LateCall() {
  SysFreeString(exception_.bstrSource);
  SysFreeString(exception_.bstrDescription);
  SysFreeString(exception_.bstrHelpFile);
}

LateCall& LateCall::By(WORD flags) {
  flags_ = flags;
  return *this;
}

LateCall& LateCall::In(LCID locale) {
  locale_ = locale;
  return *this;
}

LateCall& LateCall::With(const VARIANT& argument) {
  placed_.push_back(argument);
  return *this;
}

LateCall& LateCall::WithOwned(Variant argument) {
  return With(owned_.emplace_back(std::move(argument)).Get());
}

LateCall& LateCall::WithNamed(DISPID name, const VARIANT& argument) {
  names_.push_back(name);
  named_.push_back(argument);
  return *this;
}

HRESULT LateCall::Put(const VARIANT& value) {
  return By(DISPATCH_PROPERTYPUT).WithNamed(DISPID_PROPERTYPUT, value).Run();
}

HRESULT LateCall::Run() {
  std::vector<VARIANT> arguments = named_;
  arguments.insert(arguments.end(), placed_.rbegin(), placed_.rend());
  DISPPARAMS params{arguments.data(), names_.data(), static_cast<UINT>(arguments.size()),
                    static_cast<UINT>(names_.size())};
  return object_.Invoke(member_, IID_NULL, locale_, flags_, &params, result_.Receive(), &exception_,
                        &wrongArgument_);
}

std::vector<DISPID> IdsOf(IDispatch& object, std::vector<std::wstring> names) {
  std::vector<LPOLESTR> pointers;
  pointers.reserve(names.size());
  for (std::wstring& name : names) pointers.push_back(name.data());
  std::vector<DISPID> ids(names.size(), 4711);
  EXPECT_EQ(S_OK,
            object.GetIDsOfNames(IID_NULL, pointers.data(), static_cast<UINT>(pointers.size()),
                                 LOCALE_USER_DEFAULT, ids.data()));
  return ids;
}

Variant OfLong(long number) {
  Variant value;
  value.Get().vt = VT_I4;
  value.Get().lVal = number;
  return value;
}

Variant OfDouble(double number) {
  Variant value;
  value.Get().vt = VT_R8;
  value.Get().dblVal = number;
  return value;
}

VARIANT TypedReference(const Variant& value) {
  VARIANT reference;
  reference.vt = static_cast<VARTYPE>(VT_BYREF | value.Get().vt);
  reference.byref = const_cast<LONGLONG*>(&value.Get().llVal);
  return reference;
}

VARIANT VariableReference(const Variant& value) {
  VARIANT reference;
  reference.vt = VT_BYREF | VT_VARIANT;
  reference.pvarVal = const_cast<VARIANT*>(&value.Get());
  return reference;
}

VARIANT NestedReference(const Variant& value, VARIANT& holder) {
  holder = TypedReference(value);
  VARIANT reference;
  reference.vt = VT_BYREF | VT_VARIANT;
  reference.pvarVal = &holder;
  return reference;
}

namespace {

std::u16string ShownEntries(_clsCollection& collection) {
  std::u16string text;
  long count = 0;
  EXPECT_EQ(S_OK, collection.get_Count(&count));
  for (long position = 1; position <= count; ++position) {
    Variant entry;
    EXPECT_EQ(S_OK, collection.get_Item(OfLong(position).Get(), entry.Receive()));
    if (position > 1) text += u", ";
    text += Shown(entry.Get());
  }
  return std::u16string(u"[").append(text).append(u"]");
}

std::u16string ShownRecord(_clsTextData& record) {
  Bstr data;
  Bstr name;
  EXPECT_EQ(S_OK, record.get_DataString(data.Receive()));
  EXPECT_EQ(S_OK, record.get_Name(name.Receive()));
  return std::u16string(u"{").append(data.View()).append(u"|").append(name.View()).append(u"}");
}

std::u16string ShownObject(IUnknown* object) {
  if (object == nullptr) return u"Nothing";
  const ComPtr<IUnknown> reference(object);
  if (const auto collection = reference.As<_clsCollection>()) {
    return ShownEntries(*collection.Get());
  }
  if (const auto record = reference.As<_clsTextData>()) return ShownRecord(*record.Get());
  if (reference.As<IEnumVARIANT>()) return u"enumerator";
  return u"object";
}

}  // namespace

std::u16string Shown(const VARIANT& value) {
  switch (value.vt) {
    case VT_EMPTY:
      return u"Empty";
    case VT_NULL:
      return u"Null";
    case VT_I4:
      return std::u16string(u"long ").append(DecimalText(value.lVal));
    case VT_R8:
      return std::u16string(u"double ").append(TextOf(value));
    case VT_BSTR:
      return std::u16string(u"text ").append(ViewOf(value.bstrVal));
    case VT_BOOL:
      return value.boolVal == VARIANT_TRUE ? u"True" : value.boolVal == 0 ? u"False" : u"bad flag";
    case VT_DISPATCH:
    case VT_UNKNOWN:
      return ShownObject(value.punkVal);
    default:
      return std::u16string(u"type ").append(DecimalText(value.vt));
  }
}

}  // namespace brindlex::testing
