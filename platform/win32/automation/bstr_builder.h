#pragma once

#include <array>
#include <cstddef>

#include "automation/text_builder.h"
#include "platform/win32/automation/variant.h"

namespace brindlex {

/// Builds a text where a host will take it, so that a long one is never in memory twice. A short
/// one is built in the builder itself, and allocated once, when its length is known.
class BstrBuilder final : public TextBuilder {
 public:
  /// The text, for the caller to free; never null. Throws std::bad_alloc; the text then stays.
  BSTR Detach();

  void Clear() noexcept override;

 private:
  Memory Provide(std::size_t least) override;

  /// Most saved objects fit, and it is small beside the smallest stacks of threads.
  static constexpr std::size_t kShort = 1024;

  std::array<char16_t, kShort> short_;
  /// Of a text that has outgrown `short_`: as long as there is memory, so longer than the text.
  Bstr text_;
};

}  // namespace brindlex
