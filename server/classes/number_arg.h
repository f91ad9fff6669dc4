#pragma once

#include <oaidl.h>

#include "bases/number.h"
#include "platform/win32/automation/variant.h"

namespace brindlex {

/// An argument as the number bases take it, read when it is made: any variant, by value or by
/// reference, an object as its default property yields. Throws what an object without one is worth
/// (91 for Nothing, 438), or what its property raises; a null (94) and what is neither number nor
/// text (13) fail only when their value is asked for. Text is borrowed from the argument.
class NumberArg {
 public:
  explicit NumberArg(const VARIANT& argument);
  operator const Number&() const { return number_; }  // NOLINT: stands for its number

 private:
  void Read(const VARIANT& value);
  void ReadWritten(const VARIANT& value);

  /// What a reference or an object has led to.
  Variant found_;
  Bstr text_;
  Number number_;
};

}  // namespace brindlex
