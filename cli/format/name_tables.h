#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "automation/hash_key.h"
#include "automation/text.h"

namespace brindlex::cli {

/// More names of a header, or more bytes of them, than memory is promised for.
inline bool IsHeaderTooLarge(std::size_t names, std::size_t bytes) {
  constexpr std::size_t kMostNames = 100'000;
  constexpr std::size_t kMostBytes = std::size_t{8} * 1024 * 1024;
  return names > kMostNames || bytes > kMostBytes;
}

inline constexpr const char* kHeaderTooLarge =
    "a header of more than 100,000 names or 8 MB, which would take more memory than the program "
    "allows itself";

// Hash tables for names and keys out of files. Their hash has a key that is drawn when the program
// starts, so nobody can make a file whose names all fall into one bucket and take quadratic time.

/// For names that are equal byte by byte.
struct NameHash {
  // Not noexcept, so that the library's tables keep the hash beside each entry.
  std::size_t operator()(std::string_view name) const {
    return static_cast<std::size_t>(KeyedHash(name));
  }
};

/// For names that are equal in any letter case.
struct FoldedNameHash {
  std::size_t operator()(TextView name) const {
    return static_cast<std::size_t>(KeyedHashIgnoringCase(name));
  }
};

struct FoldedNameEqual {
  bool operator()(TextView left, TextView right) const { return EqualIgnoringCase(left, right); }
};

template <class Value>
using NameMap = std::unordered_map<std::string, Value, NameHash>;
using NameViewSet = std::unordered_set<std::string_view, NameHash>;

template <class Value>
using FoldedNameMap = std::unordered_map<Text, Value, FoldedNameHash, FoldedNameEqual>;
using FoldedNameSet = std::unordered_set<Text, FoldedNameHash, FoldedNameEqual>;

}  // namespace brindlex::cli
