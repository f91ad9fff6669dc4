#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace brindlex::cli {

/// What ends a text that was truncated.
inline constexpr std::string_view kEllipsis = "\u2026";

/// Whether a character would act on a terminal in place of being shown: controls (C0, DEL, C1),
/// line and paragraph separators, and the marks that change the direction of writing.
bool ActsOnTerminal(char32_t character);

/// How such a character, or a byte that is no character, is shown: \x1B, \u202E.
std::string EscapeOf(char32_t character);

/// `utf8` for one line of a terminal: what acts on a terminal, and every byte that is no part of a
/// character, by EscapeOf; truncated after `most` characters, with an ellipsis. A result that is
/// escaped again stays the same. Whatever comes from outside and is shown goes through here.
std::string Escaped(std::string_view utf8, std::size_t most = std::string_view::npos);

/// A name or value out of a file or an argument, for a message: Escaped, in quotation marks, which
/// are escaped within, and truncated after 40 characters.
std::string Quoted(std::string_view utf8);

/// A path for a message: Escaped, and truncated where no file system has longer ones.
std::string ShownPath(std::string_view path);

/// "1 record", "2 records".
inline std::string Counted(std::uint64_t count, std::string_view what) {
  return std::to_string(count).append(" ").append(what).append(count == 1 ? "" : "s");
}

/// Bytes as hexadecimal digits, with `between` between them.
std::string Hexadecimal(std::string_view bytes, std::string_view between = {});

/// Adds the next of several names to a list for a message: Quoted and separated by commas, the
/// first 20 and an ellipsis. `index` counts from 0.
void AppendToList(std::string& list, std::string_view name, std::size_t index);

}  // namespace brindlex::cli
