#pragma once

#include "platform/number_text.h"

namespace brindlex {

/// The readings of the system, by the user's locale and settings, in the component's own
/// floating-point environment (FloatingPointScope). Text is read up to its first NUL.
///
/// LeadingNumber alone knows no locale. Beside decimal numbers, whose exponent may also be a "D",
/// it reads "&H" with hexadecimal and "&O" or a bare "&" with octal digits: up to 16 bits as a
/// 16-bit number with its sign (&HFFFF is -1), unless a "&" follows, beyond that as one of 32 bits;
/// error 6 beyond these.
class Win32NumberText : public NumberText {
 public:
  bool IsNumeric(TextView text) const override;
  double ToDouble(TextView text) const override;
  std::int32_t ToWhole(TextView text) const override;
  double LeadingNumber(TextView text) const override;
  Text ToText(double value) const override;
  bool BeginsWithZero(double value) const override;
};

}  // namespace brindlex
