#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace brindlex::cli {

/// What a part of a line is, which decides its colour.
enum class Style { kHeading, kMark, kGood, kBad, kFaint };

/// Colours for one stream: escape sequences if it takes them, nothing otherwise.
class Palette {
 public:
  explicit Palette(bool isColoured) : isColoured_(isColoured) {}

  /// `text`, in the colour of `style`.
  std::string Paint(Style style, std::string_view text) const {
    // In the order of Style.
    constexpr std::string_view kSequences[] = {"\x1b[1m", "\x1b[36m", "\x1b[32m", "\x1b[31m",
                                               "\x1b[2m"};
    if (!isColoured_) return std::string(text);
    return std::string(kSequences[static_cast<std::size_t>(style)]).append(text).append("\x1b[0m");
  }

 private:
  bool isColoured_;
};

}  // namespace brindlex::cli
