#pragma once

#include <windows.h>

#include <oaidl.h>

#include <string>
#include <vector>

namespace brindlex::verify {

/// An owned automation value.
class Value {
 public:
  Value() noexcept { VariantInit(&value_); }
  explicit Value(long number) noexcept;
  explicit Value(double number) noexcept;
  explicit Value(bool flag) noexcept;
  explicit Value(const std::wstring& text);
  /// Adds a reference of its own; null is Nothing.
  explicit Value(IDispatch* object) noexcept;
  Value(const Value& other);
  Value& operator=(Value other) noexcept;
  ~Value() { VariantClear(&value_); }

  VARIANT& Get() noexcept { return value_; }
  const VARIANT& Get() const noexcept { return value_; }
  /// The object in it; null for anything else.
  IDispatch* Object() const noexcept;
  /// As the run time converts it to text for the locale en-US; "Nothing", "object" or "no text"
  /// otherwise.
  std::wstring Text() const;

 private:
  VARIANT value_;
};

/// What one late-bound call came to.
struct Outcome {
  HRESULT status = E_FAIL;
  Value value;
  std::wstring description;  // of the error, as a host would show it

  /// The value as text, or "error 0x... description".
  std::wstring Text() const;
};

/// Looks `member` up in `object` and calls it as a script does, as method or property.
Outcome Call(IDispatch* object, const wchar_t* member, std::vector<Value> arguments = {});

/// Sets a property; an object is set by reference.
Outcome Put(IDispatch* object, const wchar_t* member, const Value& value);

/// A new object of the class with this ProgID, from the activation context in force or the
/// registry.
Value Create(const wchar_t* progId);

}  // namespace brindlex::verify
