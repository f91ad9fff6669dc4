#include "platform/win32/automation/bstr_builder.h"

#include <algorithm>
#include <new>

namespace brindlex {
namespace {

/// A BSTR of `length` units with any content. A new one is filled with zeros by some systems, which
/// for a long text means that all of it goes through the caches once more; a grown one by none.
Bstr Unfilled(std::size_t length) {
  constexpr std::size_t kLong = 4096;
  Bstr made = Bstr::OfLength(length < kLong ? length : 0);
  if (length >= kLong) made.Resize(length);
  return made;
}

/// A BSTR of `length` units, of which the first are those of `text`.
Bstr WithLength(TextView text, std::size_t length) {
  Bstr made = Unfilled(length);
  std::copy(text.begin(), text.end(), reinterpret_cast<char16_t*>(made.Get()));
  return made;
}

/// Makes `text` end at `length` without moving it: the length, in bytes, is before the text.
void TruncateInPlace(BSTR text, std::size_t length) noexcept {
  auto* const bytes = reinterpret_cast<UINT*>(text) - 1;
  *bytes = static_cast<UINT>(length * sizeof(OLECHAR));
  text[length] = L'\0';
}

}  // namespace

BSTR BstrBuilder::Detach() {
  // The truncated part stays allocated with the text; a text that is short beside it is copied, and
  // so are those that the system keeps for use again by their length.
  constexpr std::size_t kLong = 65536;
  const std::size_t length = Size();
  const std::size_t capacity = text_.View().size();
  if (length == 0 || (length != capacity && (length < kLong || capacity - length > capacity / 4))) {
    text_ = Bstr(View());
  } else if (length != capacity) {
    TruncateInPlace(text_.Get(), length);
  }
  Forget();
  return text_.Detach();
}

void BstrBuilder::Clear() noexcept {
  text_ = Bstr();
  Forget();
}

TextBuilder::Memory BstrBuilder::Provide(std::size_t least) {
  if (least <= kShort) return {short_.data(), kShort};
  Bstr grown;
  try {
    grown = WithLength(View(), NextCapacity(least));
  } catch (const std::bad_alloc&) {
    grown = WithLength(View(), least);
  }
  text_ = std::move(grown);
  return {reinterpret_cast<char16_t*>(text_.Get()), text_.View().size()};
}

}  // namespace brindlex
