#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace brindlex::cli {

/// "1 record", "2 records".
inline std::string Counted(std::uint64_t count, std::string_view what) {
  return std::to_string(count).append(" ").append(what).append(count == 1 ? "" : "s");
}

}  // namespace brindlex::cli
