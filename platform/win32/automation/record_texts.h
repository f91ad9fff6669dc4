#pragma once

#include <unknwn.h>

#include <cstddef>

#include "automation/text.h"

namespace brindlex {

/// What the component's own records offer within the component beside automation: their texts
/// themselves, without a copy. It is in no type library; a record answers QueryInterface for kId.
/// Texts have positions from 0, which are the same for all records of one class.
struct IRecordTexts : IUnknown {
  static constexpr IID kId = {
      0x3B179E89, 0x733C, 0x4A42, {0x9B, 0x0D, 0x21, 0x06, 0x41, 0x67, 0xD0, 0x59}};
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  /// Where the text is that the property `name` reads and sets, in any letter case; kNone when the
  /// record has no such property.
  virtual std::size_t PositionOf(TextView name) const noexcept = 0;

  /// The text at a position that PositionOf gave. Valid as long as the record.
  virtual Text& TextAt(std::size_t position) noexcept = 0;
};

}  // namespace brindlex
