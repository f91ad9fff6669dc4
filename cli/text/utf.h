#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace brindlex::cli {

/// One character at the front of a text: its number and how many bytes it takes; no bytes when
/// those at the front are no character.
struct Character {
  char32_t number = 0;
  std::size_t bytes = 0;
};

/// The first character of UTF-8, by the Unicode standard's table of well-formed sequences: no
/// overlong forms, no surrogates, none above U+10FFFF. `text` is not empty.
Character FirstOfUtf8(std::string_view text);

/// How many bytes at the front of `text` are whole characters.
std::size_t ValidUtf8(std::string_view text);

/// How many bytes at the end of `text`, up to three, start a character that may go on after it.
std::size_t UnfinishedUtf8(std::string_view text);

/// How many bytes at the front of `text` begin a sequence as they should: all of it at most, none
/// when the first byte begins no sequence.
std::size_t IllFormedUtf8(std::string_view text);

/// Appends a character, which is no surrogate, as UTF-8.
void AppendUtf8(char32_t number, std::string& text);

/// Appends a character, which is no surrogate, as UTF-16.
void AppendUtf16(char32_t number, std::u16string& text);

/// Text of our own making, and paths. What is no character becomes U+FFFD.
std::u16string Utf16OfUtf8(std::string_view text);
std::string Utf8OfUtf16(std::u16string_view text);

}  // namespace brindlex::cli
