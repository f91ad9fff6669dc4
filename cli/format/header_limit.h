#pragma once

#include <cstddef>

namespace brindlex::cli {

/// More names than memory is promised for.
inline bool IsHeaderTooLarge(std::size_t names, std::size_t bytes) {
  constexpr std::size_t kMostNames = 100'000;
  constexpr std::size_t kMostBytes = std::size_t{8} * 1024 * 1024;
  return names > kMostNames || bytes > kMostBytes;
}

inline constexpr const char* kHeaderTooLarge =
    "a header of more than 100,000 names or 8 MB, which would take more memory than the program "
    "allows itself";

}  // namespace brindlex::cli
