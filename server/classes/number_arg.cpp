#include "server/classes/number_arg.h"

#include "automation/runtime_error.h"
#include "platform/win32/automation/hresult.h"
#include "platform/win32/automation/late_binding.h"

namespace brindlex {
namespace {

/// The whole number in `value`, of a type that 32 bits with a sign can hold.
std::int32_t WholeIn(const VARIANT& value) {
  switch (value.vt) {
    case VT_I1:
      return static_cast<signed char>(value.cVal);
    case VT_UI1:
      return value.bVal;
    case VT_I2:
      return value.iVal;
    case VT_UI2:
      return value.uiVal;
    default:
      return value.lVal;
  }
}

}  // namespace

NumberArg::NumberArg(const VARIANT& argument) {
  const VARIANT& value = Dereferenced(argument);
  const auto type = static_cast<VARTYPE>(value.vt & ~VT_BYREF);
  if (type == VT_DISPATCH || type == VT_UNKNOWN) {
    found_ = DefaultValueOf(value);
    Read(found_.Get());
  } else if (value.vt != type && (type & VT_ARRAY) == 0) {
    found_ = Variant(value);
    Read(found_.Get());
  } else {
    Read(value);
  }
}

void NumberArg::Read(const VARIANT& value) {
  switch (value.vt) {
    case VT_EMPTY:
      number_ = std::monostate();
      break;
    case VT_BOOL:
      number_ = value.boolVal != VARIANT_FALSE;
      break;
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_I4:
    case VT_INT:
      number_ = WholeIn(value);
      break;
    case VT_R8:
      number_ = value.dblVal;
      break;
    case VT_BSTR:
      number_ = ViewOf(value.bstrVal);
      break;
    case VT_UI4:
    case VT_UINT:
    case VT_I8:
    case VT_UI8:
    case VT_R4:
    case VT_CY:
    case VT_DECIMAL:
    case VT_DATE:
      ReadWritten(value);
      break;
    case VT_NULL:
      number_ = ConversionFailed{RuntimeError(error_number::kInvalidUseOfNull)};
      break;
    default:
      number_ = ConversionFailed{RuntimeError(error_number::kTypeMismatch)};
  }
}

void NumberArg::ReadWritten(const VARIANT& value) {
  Variant number;
  Check(ChangeType(number.Get(), value, 0, VT_R8));
  Variant text;
  Check(ChangeType(text.Get(), value, 0, VT_BSTR));
  *text_.Receive() = std::exchange(text.Get().bstrVal, nullptr);
  // A date has a value, and yet no numeric test takes it for a number.
  number_ = WrittenNumber{number.Get().dblVal, text_.View(), value.vt != VT_DATE};
}

}  // namespace brindlex
