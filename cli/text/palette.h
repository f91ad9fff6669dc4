#pragma once

#include <string>
#include <string_view>

namespace brindlex::cli {

/// What a part of a line is, which decides its colour.
enum class Style { kPlain, kHeading, kMark, kGood, kBad, kFaint };

/// Colours for one stream: escape sequences if it takes them, nothing otherwise.
class Palette {
 public:
  explicit Palette(bool isColoured) : isColoured_(isColoured) {}

  /// `text`, in the colour of `style`.
  std::string Paint(Style style, std::string_view text) const;

 private:
  bool isColoured_;
};

}  // namespace brindlex::cli
