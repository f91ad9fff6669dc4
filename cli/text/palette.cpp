#include "cli/text/palette.h"

namespace brindlex::cli {
namespace {

std::string_view EscapeSequence(Style style) {
  switch (style) {
    case Style::kHeading:
      return "\x1b[1m";
    case Style::kMark:
      return "\x1b[36m";
    case Style::kGood:
      return "\x1b[32m";
    case Style::kBad:
      return "\x1b[31m";
    case Style::kFaint:
      return "\x1b[2m";
    case Style::kPlain:
      break;
  }
  return {};
}

}  // namespace

std::string Palette::Paint(Style style, std::string_view text) const {
  const std::string_view sequence = isColoured_ ? EscapeSequence(style) : std::string_view();
  if (sequence.empty()) return std::string(text);
  return std::string(sequence).append(text).append("\x1b[0m");
}

}  // namespace brindlex::cli
