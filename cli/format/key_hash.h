#pragma once

#include <string_view>

#include "automation/hash_key.h"
#include "automation/sip_hash.h"

namespace brindlex::cli {

/// A hash, of which KeyCheck compares 87 bits, made of a key's characters as the component compares
/// keys: without regard to letter case. Two different keys of a file of a hundred million records
/// have the same one with a chance of less than one in ten thousand million, whatever the file:
/// it depends on the key that HashKey had when the object was made.
class KeyHash {
 public:
  void MixUtf8(std::string_view text);

  SipHash128 Value() const { return hasher_.Finish128(); }

 private:
  void Mix(char16_t unit);

  SipHasher hasher_{HashKey(), SipHasher::Width::k128};
};

}  // namespace brindlex::cli
