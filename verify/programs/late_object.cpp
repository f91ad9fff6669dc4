#include "verify/programs/late_object.h"

#include <objbase.h>
#include <oleauto.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

namespace brindlex::verify {
namespace {

constexpr LCID kEnglish = 0x409;

Outcome Invoke(IDispatch* object, const wchar_t* member, WORD flags,
               std::vector<Value>& arguments) {
  Outcome outcome;
  DISPID id = 0;
  auto* name = const_cast<wchar_t*>(member);
  if (object == nullptr) return outcome;
  outcome.status = object->GetIDsOfNames(IID_NULL, &name, 1, kEnglish, &id);
  if (FAILED(outcome.status)) return outcome;
  std::vector<VARIANT> reversed;
  std::transform(arguments.rbegin(), arguments.rend(), std::back_inserter(reversed),
                 [](Value& argument) { return argument.Get(); });
  const bool isPut = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  DISPID putName = DISPID_PROPERTYPUT;
  DISPPARAMS parameters{reversed.data(), isPut ? &putName : nullptr,
                        static_cast<UINT>(reversed.size()), isPut ? 1U : 0U};
  EXCEPINFO exception{};
  outcome.status = object->Invoke(id, IID_NULL, kEnglish, flags, &parameters,
                                  isPut ? nullptr : &outcome.value.Get(), &exception, nullptr);
  if (outcome.status == DISP_E_EXCEPTION) {
    outcome.status = exception.scode;
    if (exception.bstrDescription != nullptr) outcome.description = exception.bstrDescription;
    SysFreeString(exception.bstrSource);
    SysFreeString(exception.bstrDescription);
    SysFreeString(exception.bstrHelpFile);
  }
  return outcome;
}

}  // namespace

Value::Value(long number) noexcept : Value() {
  value_.vt = VT_I4;
  value_.lVal = number;
}

Value::Value(double number) noexcept : Value() {
  value_.vt = VT_R8;
  value_.dblVal = number;
}

Value::Value(bool flag) noexcept : Value() {
  value_.vt = VT_BOOL;
  value_.boolVal = flag ? VARIANT_TRUE : VARIANT_FALSE;
}

Value::Value(const std::wstring& text) : Value() {
  value_.vt = VT_BSTR;
  value_.bstrVal = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
}

Value::Value(IDispatch* object) noexcept : Value() {
  value_.vt = VT_DISPATCH;
  value_.pdispVal = object;
  if (object != nullptr) object->AddRef();
}

Value::Value(const Value& other) : Value() {
  VariantCopy(&value_, const_cast<VARIANT*>(&other.value_));
}

Value& Value::operator=(Value other) noexcept {
  std::swap(value_, other.value_);
  return *this;
}

IDispatch* Value::Object() const noexcept {
  return value_.vt == VT_DISPATCH ? value_.pdispVal : nullptr;
}

std::wstring Value::Text() const {
  if (value_.vt == VT_DISPATCH) return value_.pdispVal == nullptr ? L"Nothing" : L"object";
  Value text;
  const auto status = VariantChangeTypeEx(&text.value_, const_cast<VARIANT*>(&value_), kEnglish,
                                          VARIANT_ALPHABOOL, VT_BSTR);
  if (FAILED(status)) return L"no text";
  return {text.value_.bstrVal, SysStringLen(text.value_.bstrVal)};
}

std::wstring Outcome::Text() const {
  if (SUCCEEDED(status)) return value.Text();
  wchar_t number[24];
  std::swprintf(number, 24, L"error 0x%08lX ", static_cast<unsigned long>(status));
  return number + description;
}

Outcome Call(IDispatch* object, const wchar_t* member, std::vector<Value> arguments) {
  return Invoke(object, member, DISPATCH_METHOD | DISPATCH_PROPERTYGET, arguments);
}

Outcome Put(IDispatch* object, const wchar_t* member, const Value& value) {
  std::vector<Value> arguments{value};
  const WORD flags = value.Get().vt == VT_DISPATCH ? DISPATCH_PROPERTYPUTREF : DISPATCH_PROPERTYPUT;
  return Invoke(object, member, flags, arguments);
}

Value Create(const wchar_t* progId) {
  CLSID id{};
  IDispatch* object = nullptr;
  if (FAILED(CLSIDFromProgID(progId, &id)) ||
      FAILED(CoCreateInstance(id, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                              reinterpret_cast<void**>(&object)))) {
    return Value(static_cast<IDispatch*>(nullptr));
  }
  const Value value(object);
  object->Release();
  return value;
}

}  // namespace brindlex::verify
