#pragma once

#include <string>
#include <string_view>

#include "tests/cli/unit/cli_test.h"
#include "tests/cli/unit/converter.h"

namespace brindlex::cli {

class ConvertTest : public testing::Test, protected Converter {};

/// A text with | ; for the outer markers and < > for the inner ones, in Windows-1252.
inline std::string Delimited(std::string_view text) {
  std::string bytes(text);
  constexpr std::string_view kSigns = "|;<>";
  constexpr std::string_view kMarkers = "\xA5\x8C\xBB\x8A";
  for (char& byte : bytes) {
    const std::size_t sign = kSigns.find(byte);
    if (sign != std::string_view::npos) byte = kMarkers[sign];
  }
  return bytes;
}

}  // namespace brindlex::cli
