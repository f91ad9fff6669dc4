#pragma once

#include <oaidl.h>

#include "bases/number.h"
#include "platform/win32/automation/variant.h"

namespace brindlex {

/// An argument as the number bases take it, read when it is made: any variant, by value or by
/// reference, an object as its default property yields. Throws the error of an object without one
/// (91 for Nothing, 438), or the error that its property raises; a null (94) and what is neither
/// number nor text (13) fail only when their value is read. Text is borrowed from the argument.
class NumberArg {
 public:
  explicit NumberArg(const VARIANT& argument);
  operator const Number&() const { return number_; }  // NOLINT: converts to its number

 private:
  void Read(const VARIANT& value);
  void ReadWritten(const VARIANT& value);

  /// The value of a reference or of an object's default property.
  Variant found_;
  Bstr text_;
  Number number_;
};

}  // namespace brindlex
