#pragma once

#include <cstdint>

#include "automation/text.h"

namespace brindlex {

/// The report of a failure: the caption and the text of one message box, which are complete in
/// themselves, and separately the values that a program may want to know.
struct Report {
  /// One OK button and the exclamation icon.
  static constexpr std::uint32_t kStyle = 48;

  Text caption;
  Text text;
  std::int32_t number = 0;
  Text description{};
  std::int32_t line = 0;
};

}  // namespace brindlex
