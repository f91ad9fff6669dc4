#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "automation/hash_key.h"
#include "automation/sip_hash.h"
#include "automation/text.h"
#include "cli/text/utf.h"

namespace brindlex::cli {

/// A hash, of which KeyCheck compares 87 bits, made of a key's characters as the component compares
/// keys: without regard to letter case. Two different keys of a file of a hundred million records
/// have the same one with a chance of less than one in ten thousand million, whatever the file:
/// it depends on the key that HashKey had when the object was made.
class KeyHash {
 public:
  void MixUtf8(std::string_view text) {
    while (!text.empty()) {
      const Character character = FirstOfUtf8(text);
      if (character.bytes == 0) {
        // No text has these units there, so only the same bytes are the same key.
        Mix(0xDC00U + static_cast<unsigned char>(text.front()));
      } else if (character.number >= 0x10000) {
        Mix(0xD7C0U + (character.number >> 10U));
        Mix(0xDC00U + (character.number & 0x3FFU));
      } else {
        Mix(character.number);
      }
      text.remove_prefix(std::max<std::size_t>(character.bytes, 1));
    }
  }

  SipHash128 Value() const { return hasher_.Finish128(); }

 private:
  void Mix(char32_t unit) { hasher_.Add(FoldCase(static_cast<char16_t>(unit))); }

  SipHasher hasher_{HashKey(), SipHasher::Width::k128};
};

}  // namespace brindlex::cli
