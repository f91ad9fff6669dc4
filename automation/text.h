#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace brindlex {

/// A counted string of UTF-16 code units. Lone surrogates and embedded NULs are data like any
/// other.
using Text = std::u16string;

/// A borrowed run of UTF-16 code units; the owner must outlive it.
using TextView = std::u16string_view;

/// `number` in decimal, without padding; a minus sign comes first when it is negative.
Text DecimalText(std::int32_t number);

/// The code unit that `unit` is compared by when letter case does not count: Unicode simple case
/// folding within the Basic Multilingual Plane. Surrogates fold to themselves. Never fails; the
/// result does not depend on the locale.
inline char16_t FoldCase(char16_t unit) noexcept;

/// FoldCase of a unit after 'z'.
char16_t FoldCaseAfterAscii(char16_t unit) noexcept;

char16_t FoldCase(char16_t unit) noexcept {
  if (unit < u'A') return unit;
  if (unit <= u'z') return unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit;
  return FoldCaseAfterAscii(unit);
}

/// True when both texts have the same units after FoldCase.
bool EqualIgnoringCase(TextView left, TextView right);

/// `text` with every occurrence of `sought` replaced, from left to right and without looking at
/// what was put in. An empty `sought` occurs nowhere. Linear in the length of `text`.
Text ReplaceAll(TextView text, TextView sought, TextView replacement);

}  // namespace brindlex
