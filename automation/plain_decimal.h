#pragma once

#include "automation/text.h"

namespace brindlex {

/// Numbers in plain decimal text, whatever the user's locale. A number is, in this order: an
/// optional "+" or "-"; at least one digit, with an optional point before, among or after the
/// digits; an optional "E" or "e" with an optional sign and at least one digit. Blanks are space,
/// tab and line feed. No grouping, currency, hexadecimal or trailing signs. Values are rounded to
/// the nearest double. Any thread may call.

/// Whether the whole of `text`, but for blanks around it, is a number within the range of doubles.
bool IsPlainDecimal(TextView text);

/// The number that the whole of `text` is, but for blanks around it. Error 13 when it is none, 6
/// when it is beyond the largest double.
double PlainDecimalValue(TextView text);

/// The longest number that `text` begins with, blanks ignored everywhere; 0 when it begins with
/// none. Error 6 when it is beyond the largest double.
double LeadingPlainDecimal(TextView text);

}  // namespace brindlex
