#include "cli/format/key_hash.h"

#include <algorithm>
#include <cstddef>

#include "automation/text.h"
#include "cli/text/utf.h"

namespace brindlex::cli {

void KeyHash::Mix(char16_t unit) { hasher_.Add(FoldCase(unit)); }

void KeyHash::MixUtf8(std::string_view text) {
  while (!text.empty()) {
    const Character character = FirstOfUtf8(text);
    if (character.bytes == 0) {
      // No text has these units there, so only the same bytes are the same key.
      Mix(static_cast<char16_t>(0xDC00U + static_cast<unsigned char>(text.front())));
    } else if (character.number >= 0x10000) {
      Mix(static_cast<char16_t>(0xD7C0U + (character.number >> 10U)));
      Mix(static_cast<char16_t>(0xDC00U + (character.number & 0x3FFU)));
    } else {
      Mix(static_cast<char16_t>(character.number));
    }
    text.remove_prefix(std::max<std::size_t>(character.bytes, 1));
  }
}

}  // namespace brindlex::cli
