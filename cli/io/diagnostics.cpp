#include "cli/text/diagnostics.h"

#include <cstdlib>

#include "cli/io/system.h"
#include "cli/text/escape.h"

namespace brindlex::tool {
namespace {

constexpr std::size_t kMostOfAMessage = 10'000;

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

void WriteMessage(const std::string& escaped) {
  const std::string line = "brindlex: " + escaped + "\n";
  if (system::IsTerminal(system::kStandardError)) {
    system::WriteToTerminal(system::kStandardError, line);
  } else {
    system::Write(system::kStandardError, line);
  }
}

}  // namespace

void Say(std::string_view message) { WriteMessage(Escaped(message, kMostOfAMessage)); }

void SayPainted(std::string_view before, Style style, std::string_view painted,
                std::string_view after) {
  WriteMessage(Escaped(before, kMostOfAMessage) +
               Palette::Of(system::kStandardError).Paint(style, Escaped(painted)) +
               Escaped(after, kMostOfAMessage));
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
