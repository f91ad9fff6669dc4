#pragma once

#include <string_view>

namespace brindlex::cli {

/// Whether `bytes`, in any encoding, hold nothing but what editors and old programs put after the
/// last record end: line breaks, blanks, NUL and Ctrl+Z. Such a tail is no record.
inline bool IsTail(std::string_view bytes) {
  return bytes.find_first_not_of(std::string_view("\r\n \t\0\x1A", 6)) == std::string_view::npos;
}

}  // namespace brindlex::cli
