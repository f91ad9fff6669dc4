#include "platform/win32/automation/variant.h"

#include <new>

#include "automation/runtime_error.h"
#include "platform/win32/automation/floating_point_scope.h"
#include "platform/win32/automation/hresult.h"
#include "platform/win32/automation/late_binding.h"

namespace brindlex {
namespace {

bool IsObjectReference(const VARIANT& value) noexcept {
  const VARTYPE type = value.vt & static_cast<VARTYPE>(~VT_BYREF);
  return type == VT_DISPATCH || type == VT_UNKNOWN;
}

/// Whether `value` is a reference to nothing, or one that refers from variant to variant without an
/// end. The system's functions follow whatever they get.
bool LeadsNowhere(const VARIANT& value) noexcept {
  constexpr int kMostSteps = 3;
  const VARIANT* reached = &value;
  for (int step = 0; step < kMostSteps; ++step) {
    if ((reached->vt & VT_BYREF) == 0) return false;
    if (reached->byref == nullptr) return true;
    if (reached->vt != (VT_BYREF | VT_VARIANT)) return false;
    reached = reached->pvarVal;
  }
  return true;
}

/// Whether `value` is a decimal with more places or another sign than there are, which some
/// releases of the system write past the end of their buffer.
bool IsBrokenDecimal(const VARIANT& value) noexcept {
  constexpr BYTE kMostPlaces = 28;
  const bool isReference = value.vt == (VT_BYREF | VT_DECIMAL);
  if (value.vt != VT_DECIMAL && !isReference) return false;
  const DECIMAL& decimal = isReference ? *value.pdecVal : value.decVal;
  return decimal.scale > kMostPlaces || (decimal.sign & ~DECIMAL_NEG) != 0;
}

void RequireValue(const VARIANT& value) {
  if (LeadsNowhere(value)) throw ErrorOf(E_INVALIDARG);
}

IUnknown* UnknownIn(const VARIANT& value) noexcept {
  return (value.vt & VT_BYREF) != 0 ? *value.ppunkVal : value.punkVal;
}

/// `value` converted to `type` in the user's locale. Error 94 for Null, else as conversion fails.
Variant Converted(const VARIANT& value, VARTYPE type) {
  const VARIANT& actual = Dereferenced(value);
  RequireValue(actual);
  if (IsObjectReference(actual)) return Converted(DefaultValueOf(actual).Get(), type);
  if ((actual.vt & ~VT_BYREF) == VT_NULL) throw RuntimeError(error_number::kInvalidUseOfNull);
  Variant converted;
  Check(ChangeType(converted.Get(), actual, 0, type));
  return converted;
}

HRESULT SystemChangeType(VARIANT& converted, const VARIANT& value, USHORT flags,
                         VARTYPE type) noexcept {
  return VariantChangeTypeEx(&converted, const_cast<VARIANT*>(&value), GetUserDefaultLCID(), flags,
                             type);
}

/// What the default property of `object` yields, with the statuses that the system's conversion of
/// an object has: a value of the wrong type when it yields nothing.
HRESULT ReadDefaultValue(const VARIANT& object, Variant& value) noexcept {
  try {
    value = DefaultValueOf(object);
    return S_OK;
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return DISP_E_TYPEMISMATCH;
  }
}

constexpr std::size_t kLongestBstr = 0x7FFFFFF0U / sizeof(char16_t);

BSTR Allocated(const char16_t* text, std::size_t length) {
  BSTR made = nullptr;
  if (length <= kLongestBstr) {
    made = SysAllocStringLen(reinterpret_cast<const wchar_t*>(text), static_cast<UINT>(length));
  }
  if (made == nullptr) throw std::bad_alloc();
  return made;
}

}  // namespace

BSTR NewBstr(TextView text) { return Allocated(text.data(), text.size()); }

BSTR NewBstr(std::size_t length) { return Allocated(nullptr, length); }

void Bstr::Resize(std::size_t length) {
  if (length > kLongestBstr ||
      SysReAllocStringLen(&text_, nullptr, static_cast<UINT>(length)) == FALSE) {
    throw std::bad_alloc();
  }
}

Variant::Variant(const VARIANT& value) : Variant() {
  Check(CopyValue(value_, Dereferenced(value)));
}

Variant Variant::OfText(TextView text) {
  Variant made;
  made.value_.bstrVal = NewBstr(text);
  made.value_.vt = VT_BSTR;
  return made;
}

Variant Variant::OfObject(IDispatch* object) noexcept {
  Variant made;
  made.value_.vt = VT_DISPATCH;
  made.value_.pdispVal = ComPtr<IDispatch>(object).Detach();
  return made;
}

HRESULT ChangeType(VARIANT& converted, const VARIANT& value, USHORT flags, VARTYPE type) noexcept {
  if (LeadsNowhere(value) || IsBrokenDecimal(value)) return E_INVALIDARG;
  if (type == VT_DISPATCH || type == VT_UNKNOWN)
    return SystemChangeType(converted, value, flags, type);
  // Read here and not by the system, so that the host's object runs in the host's environment and
  // has all that a strict object asks for.
  Variant read;
  const VARIANT* source = &value;
  if (IsObjectReference(value)) {
    const HRESULT status = ReadDefaultValue(value, read);
    if (FAILED(status)) return status;
    source = &read.Get();
  }
  const FloatingPointScope ownEnvironment;
  return SystemChangeType(converted, *source, flags, type);
}

HRESULT CopyValue(VARIANT& copy, const VARIANT& value) noexcept {
  if (LeadsNowhere(value)) {
    VariantInit(&copy);
    return E_INVALIDARG;
  }
  // What most values are, which the system's function takes much longer for.
  if (value.vt == VT_BSTR && value.bstrVal != nullptr && BytesOf(value.bstrVal) % 2 == 0) {
    copy.bstrVal = SysAllocStringLen(value.bstrVal, BytesOf(value.bstrVal) / 2);
    copy.vt = copy.bstrVal != nullptr ? VT_BSTR : VT_EMPTY;
    return copy.bstrVal != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  const HRESULT status = VariantCopyInd(&copy, const_cast<VARIANT*>(&value));
  // The system leaves the type of what it could not copy.
  if (FAILED(status)) VariantInit(&copy);
  return status;
}

bool IsMissing(const VARIANT& value) noexcept {
  const VARIANT& actual = Dereferenced(value);
  if (actual.vt == VT_ERROR) return actual.scode == DISP_E_PARAMNOTFOUND;
  return actual.vt == (VT_BYREF | VT_ERROR) && !LeadsNowhere(actual) &&
         *actual.pscode == DISP_E_PARAMNOTFOUND;
}

const VARIANT& Dereferenced(const VARIANT& value) noexcept {
  return value.vt == (VT_BYREF | VT_VARIANT) && value.pvarVal != nullptr ? *value.pvarVal : value;
}

TextView ViewAsText(const VARIANT& value, Variant& storage) {
  const VARIANT& actual = Dereferenced(value);
  RequireValue(actual);
  if (IsObjectReference(actual)) {
    storage = DefaultValueOf(actual);
    return ViewAsText(storage.Get(), storage);
  }
  const auto word = [](VARIANT_BOOL flag) -> TextView {
    return flag != VARIANT_FALSE ? u"True" : u"False";
  };
  switch (actual.vt) {
    case VT_BSTR:
      return ViewOf(actual.bstrVal);
    case VT_BSTR | VT_BYREF:
      return ViewOf(*actual.pbstrVal);
    case VT_EMPTY:
      return {};
    case VT_BOOL:
      return word(actual.boolVal);
    case VT_BOOL | VT_BYREF:
      return word(*actual.pboolVal);
    default:
      storage = Converted(actual, VT_BSTR);
      return ViewOf(storage.Get().bstrVal);
  }
}

Text TextOf(const VARIANT& value) {
  Variant storage;
  return Text(ViewAsText(value, storage));
}

std::int32_t WholeNumberOf(const VARIANT& value) { return Converted(value, VT_I4).Get().lVal; }

bool FlagOf(const VARIANT& value) {
  return Converted(value, VT_BOOL).Get().boolVal != VARIANT_FALSE;
}

ComPtr<IDispatch> ObjectOf(const VARIANT& value) {
  const VARIANT& actual = Dereferenced(value);
  RequireValue(actual);
  if (!IsObjectReference(actual)) throw RuntimeError(error_number::kObjectRequired);
  if (actual.vt == VT_DISPATCH) return ComPtr<IDispatch>(actual.pdispVal);
  const ComPtr<IUnknown> unknown(UnknownIn(actual));
  if (!unknown) return nullptr;
  ComPtr<IDispatch> object = unknown.As<IDispatch>();
  if (!object) throw RuntimeError(error_number::kNoAutomation);
  return object;
}

}  // namespace brindlex
