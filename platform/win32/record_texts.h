#pragma once

#include <unknwn.h>

#include "automation/text.h"

namespace brindlex {

/// What the component's own records offer within the component beside automation: their texts
/// themselves, without a copy. It is in no type library; a record answers QueryInterface for kId.
struct IRecordTexts : IUnknown {
  static constexpr IID kId = {
      0x08D8CA05, 0x1042, 0x46E4, {0xB1, 0xA2, 0xEE, 0x47, 0x01, 0xDD, 0xD9, 0x2C}};

  /// The text that the property `name` reads and sets, in any letter case; null when the record has
  /// no such property. Valid as long as the record.
  virtual Text* FindText(TextView name) noexcept = 0;
};

}  // namespace brindlex
