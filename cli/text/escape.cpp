#include "cli/text/escape.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/text/utf.h"

namespace brindlex::cli {

bool ActsOnTerminal(char32_t character) {
  const auto isIn = [character](char32_t first, char32_t last) {
    return character >= first && character <= last;
  };
  return isIn(0, 0x1F) || isIn(0x7F, 0x9F) || character == 0x61C || isIn(0x200E, 0x200F) ||
         isIn(0x2028, 0x202E) || isIn(0x2066, 0x2069);
}

std::string EscapeOf(char32_t character) {
  return character < 0x100 ? fmt::format("\\x{:02X}", static_cast<unsigned>(character))
                           : fmt::format("\\u{:04X}", static_cast<unsigned>(character));
}

std::string Escaped(std::string_view utf8, std::size_t most) {
  std::string shown;
  for (std::size_t count = 0; !utf8.empty(); ++count) {
    if (count == most) return shown.append(kEllipsis);
    const Character character = FirstOfUtf8(utf8);
    const std::size_t bytes = std::max<std::size_t>(character.bytes, 1);
    if (character.bytes == 0) {
      shown += EscapeOf(static_cast<unsigned char>(utf8.front()));
    } else if (ActsOnTerminal(character.number)) {
      shown += EscapeOf(character.number);
    } else {
      shown.append(utf8.substr(0, bytes));
    }
    utf8.remove_prefix(bytes);
  }
  return shown;
}

std::string Quoted(std::string_view utf8) {
  constexpr std::size_t kMost = 40;
  std::string quoted = "\"";
  for (const char c : Escaped(utf8, kMost)) {
    if (c == '"') {
      quoted += EscapeOf('"');
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

std::string ShownPath(std::string_view path) {
  constexpr std::size_t kMost = 4096;
  return Escaped(path, kMost);
}

std::string Hexadecimal(std::string_view bytes, std::string_view between) {
  std::string digits;
  for (const char byte : bytes) {
    digits.append(digits.empty() ? std::string_view() : between);
    digits += fmt::format("{:02X}", static_cast<unsigned char>(byte));
  }
  return digits;
}

void AppendToList(std::string& list, std::string_view name, std::size_t index) {
  constexpr std::size_t kMost = 20;
  if (index > kMost) return;
  list.append(index == 0 ? "" : ", ");
  list.append(index < kMost ? Quoted(name) : std::string(kEllipsis));
}

}  // namespace brindlex::cli
