#include "tool/diagnostics.h"

#include <cstdlib>

#include "tool/system.h"

namespace brindlex::tool {
namespace {

bool IsSet(const char* name) {
  const char* const value = std::getenv(name);
  return value != nullptr && *value != '\0';
}

bool IsDumb() {
  const char* const term = std::getenv("TERM");
  return term != nullptr && std::string_view(term) == "dumb";
}

std::string_view Sequence(Style style) {
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

void Say(std::string_view message) {
  const std::string line = std::string("brindlex: ").append(message).append("\n");
  if (system::IsTerminal(system::kStandardError)) {
    system::WriteToTerminal(system::kStandardError, line);
  } else {
    system::Write(system::kStandardError, line);
  }
}

Palette Palette::Of(int descriptor) {
  return Palette(system::IsTerminal(descriptor) && !IsSet("NO_COLOR") && !IsDumb() &&
                 system::TakesColours(descriptor));
}

std::string Palette::Paint(Style style, std::string_view text) const {
  const std::string_view sequence = coloured_ ? Sequence(style) : std::string_view();
  if (sequence.empty()) return std::string(text);
  return std::string(sequence).append(text).append("\x1b[0m");
}

}  // namespace brindlex::tool
