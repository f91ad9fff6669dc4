#pragma once

#include "automation/text_builder.h"
#include "platform/win32/automation/variant.h"

namespace brindlex {

/// Builds a text where a host will take it, so that a long one is never in memory twice.
class BstrBuilder final : public TextBuilder {
 public:
  /// The text, for the caller to free; never null. Throws std::bad_alloc; the text then stays.
  BSTR Detach();

  void Clear() noexcept override;

 private:
  Memory Provide(std::size_t least) override;

  /// As long as there is memory, so longer than the text.
  Bstr text_;
};

}  // namespace brindlex
