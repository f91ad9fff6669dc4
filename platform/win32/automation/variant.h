#pragma once

#include <oaidl.h>
#include <oleauto.h>

#include <cstdint>
#include <utility>

#include "automation/text.h"
#include "platform/win32/automation/com_ptr.h"

namespace brindlex {

/// The length of `text`, which is not null, in bytes: it is in the four bytes before the text.
inline UINT BytesOf(BSTR text) noexcept { return reinterpret_cast<const UINT*>(text)[-1]; }

/// The units of `text`, which may be null (empty); valid as long as the BSTR.
inline TextView ViewOf(BSTR text) noexcept {
  if (text == nullptr) return {};
  return {reinterpret_cast<const char16_t*>(text), BytesOf(text) / sizeof(OLECHAR)};
}

/// A new BSTR with the units of `text`, which the caller frees; never null. Throws std::bad_alloc.
BSTR NewBstr(TextView text);

/// A new BSTR of `length` units without content, as NewBstr has it.
BSTR NewBstr(std::size_t length);

/// An owned BSTR.
class Bstr {
 public:
  Bstr() noexcept = default;
  explicit Bstr(TextView text) : text_(NewBstr(text)) {}
  static Bstr OfLength(std::size_t length) {
    Bstr made;
    made.text_ = NewBstr(length);
    return made;
  }
  Bstr(Bstr&& other) noexcept : text_(std::exchange(other.text_, nullptr)) {}
  Bstr& operator=(Bstr&& other) noexcept {
    std::swap(text_, other.text_);
    return *this;
  }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  ~Bstr() { SysFreeString(text_); }

  BSTR Get() const noexcept { return text_; }
  BSTR* Receive() noexcept {
    SysFreeString(std::exchange(text_, nullptr));
    return &text_;
  }
  /// Hands the BSTR over to the caller.
  BSTR Detach() noexcept { return std::exchange(text_, nullptr); }
  TextView View() const noexcept { return ViewOf(text_); }

  /// Gives it another length; its content is any then. Throws std::bad_alloc; it stays then.
  void Resize(std::size_t length);

 private:
  BSTR text_ = nullptr;
};

/// Makes `value`, which is of whatever content, Empty.
inline void MakeEmpty(VARIANT& value) noexcept { value.vt = VT_EMPTY; }

/// Releases what `value` owns and makes it Empty. The kinds that most values are of are dealt with
/// in place, since the system's function costs more than the rest of reading a property.
inline void Clear(VARIANT& value) noexcept {
  switch (value.vt) {
    case VT_EMPTY:
      return;
    case VT_BSTR:
      SysFreeString(value.bstrVal);
      break;
    case VT_I2:
    case VT_I4:
    case VT_R8:
    case VT_BOOL:
    case VT_DATE:
      break;
    default:
      VariantClear(&value);
  }
  MakeEmpty(value);
}

/// An owned automation variant; made Empty.
class Variant {
 public:
  Variant() noexcept { MakeEmpty(value_); }
  /// A copy of `value` with every reference followed. Throws RuntimeError.
  explicit Variant(const VARIANT& value);
  explicit Variant(TextView text) : Variant() { *this = OfText(text); }
  Variant(Variant&& other) noexcept : value_(other.value_) { MakeEmpty(other.value_); }
  Variant& operator=(Variant&& other) noexcept {
    std::swap(value_, other.value_);
    return *this;
  }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  ~Variant() { Clear(value_); }

  static Variant OfText(TextView text);
  /// An object reference that adds a reference of its own; null is Nothing.
  static Variant OfObject(IDispatch* object) noexcept;

  const VARIANT& Get() const noexcept { return value_; }
  VARIANT& Get() noexcept { return value_; }
  VARIANT* Receive() noexcept {
    Clear(value_);
    return &value_;
  }

 private:
  VARIANT value_;
};

/// The system's conversion and copying, whose declarations lack the const that they keep, made safe
/// against references to nothing: E_INVALIDARG. `copy` must be Empty, and is when copying fails.
HRESULT ChangeType(VARIANT& converted, const VARIANT& value, USHORT flags, VARTYPE type) noexcept;
HRESULT CopyValue(VARIANT& copy, const VARIANT& value) noexcept;

/// True for the marker of an omitted optional argument.
bool IsMissing(const VARIANT& value) noexcept;

/// `value` with a reference to a variant followed; the result may still be a reference to a value
/// of another type, or to nothing.
const VARIANT& Dereferenced(const VARIANT& value) noexcept;

/// `value` as text: numbers, dates and currency in the user's locale, booleans as "True" or
/// "False", Empty as nothing, an object by its default property. A view of the text in `value`, or
/// of what was made of it and put into `storage`; `value` may be that of `storage`. Error 94 for
/// Null, 91 for Nothing, 13 for what has no text, 5 for a reference to nothing, or the error of the
/// object's default property.
TextView ViewAsText(const VARIANT& value, Variant& storage);

/// `value` as text, as ViewAsText has it.
Text TextOf(const VARIANT& value);

/// `value` as a 32-bit whole number, fractions rounded half to even. Error 13 when it is not a
/// number, 6 when it does not fit, 94 for Null.
std::int32_t WholeNumberOf(const VARIANT& value);

/// `value` as a flag: a number other than 0, or the word for true in the user's locale or in
/// English; Empty is false. Error 13 for text that is neither word nor number, 94 for Null.
bool FlagOf(const VARIANT& value);

/// The object that `value` refers to; null for Nothing. Error 424 when it is not an object
/// reference, 430 when the object does not do automation.
ComPtr<IDispatch> ObjectOf(const VARIANT& value);

}  // namespace brindlex
