#include "cli/text/encoding.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <unordered_map>
#include <utility>

#include "cli/io/system.h"
#include "cli/text/byte_prefix.h"
#include "cli/text/diagnostics.h"
#include "cli/text/utf.h"

namespace brindlex::tool {

struct Encoding::Table {
  std::string name;
  Form form = Form::kUtf8;
  std::string byteOrderMark;
  /// Of a code page only: each byte's character in UTF-8, empty for none.
  std::array<std::string, 256> characters;
  std::unordered_map<char32_t, unsigned char> bytes;
};

namespace {

constexpr std::array<unsigned, 10> kCodePages = {874,  1250, 1251, 1252, 1253,
                                                 1254, 1255, 1256, 1257, 1258};

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  }
  return lower;
}

/// The number in windows-1252, cp1252 or 1252.
std::optional<unsigned> PageNumber(std::string_view name) {
  for (const std::string_view prefix : {"windows-", "cp"}) {
    if (name.substr(0, prefix.size()) == prefix) {
      name.remove_prefix(prefix.size());
      break;
    }
  }
  unsigned number = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  const bool isNumber = error == std::errc() && end == name.data() + name.size();
  const bool isKnown = std::find(kCodePages.begin(), kCodePages.end(), number) != kCodePages.end();
  return isNumber && isKnown ? std::optional(number) : std::nullopt;
}

}  // namespace

Encoding::Encoding() {
  static const std::shared_ptr<const Table> table = Named("windows-1252")->table_;
  table_ = table;
}

std::optional<Encoding> Encoding::Named(std::string_view name) {
  const std::string lower = LowerCase(name);
  auto table = std::make_shared<Table>();
  if (lower == "utf-8" || lower == "utf8") {
    table->name = "utf-8";
    table->byteOrderMark = "\xEF\xBB\xBF";
    return Of(std::move(table));
  }
  if (lower == "utf-16" || lower == "utf-16le" || lower == "utf16" || lower == "utf16le") {
    table->name = "utf-16le";
    table->form = Form::kUtf16Le;
    table->byteOrderMark = "\xFF\xFE";
    return Of(std::move(table));
  }
  if (lower == "utf-16be" || lower == "utf16be") {
    table->name = "utf-16be";
    table->form = Form::kUtf16Be;
    table->byteOrderMark = "\xFE\xFF";
    return Of(std::move(table));
  }
  const auto number = PageNumber(lower);
  if (!number) return std::nullopt;
  const auto page = system::ReadCodePage(*number);
  if (!page) {
    throw Failure(ExitCode::kUsage,
                  "this system does not have the code page " + std::to_string(*number));
  }
  table->form = Form::kCodePage;
  table->name = "windows-" + std::to_string(*number);
  for (std::size_t byte = 0; byte < page->size(); ++byte) {
    const char16_t unit = (*page)[byte];
    if (unit == system::kNoCharacter) continue;
    AppendUtf8(unit, table->characters[byte]);
    table->bytes.emplace(unit, static_cast<unsigned char>(byte));
  }
  return Of(std::move(table));
}

std::optional<Encoding> Encoding::Marked(std::string_view head) {
  for (const char* const name : {"utf-8", "utf-16le", "utf-16be"}) {
    Encoding encoding = *Named(name);
    const std::string_view mark = encoding.ByteOrderMark();
    if (head.substr(0, mark.size()) == mark) return encoding;
  }
  return std::nullopt;
}

const std::vector<std::string>& Encoding::Names() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all = {"utf-8", "utf-16le", "utf-16be"};
    for (const unsigned number : kCodePages) all.push_back("windows-" + std::to_string(number));
    return all;
  }();
  return names;
}

const std::string& Encoding::Name() const { return table_->name; }

Encoding::Form Encoding::GetForm() const { return table_->form; }

std::size_t Encoding::UnitSize() const {
  return table_->form == Form::kUtf16Le || table_->form == Form::kUtf16Be ? 2 : 1;
}

std::string_view Encoding::ByteOrderMark() const { return table_->byteOrderMark; }

bool Encoding::HasCharacter(unsigned char byte) const {
  return table_->form != Form::kCodePage || !table_->characters[byte].empty();
}

namespace {

/// The first character of UTF-16; no bytes for a lone surrogate or half a unit.
Character FirstOfUtf16(std::string_view bytes, bool lowerFirst) {
  const auto unitAt = [&](std::size_t at) -> char32_t {
    const auto first = static_cast<unsigned char>(bytes[at]);
    const auto second = static_cast<unsigned char>(bytes[at + 1]);
    return static_cast<char32_t>(lowerFirst ? first | second << 8U : second | first << 8U);
  };
  if (bytes.size() < 2) return {};
  const char32_t unit = unitAt(0);
  if (unit < 0xD800 || unit > 0xDFFF) return {unit, 2};
  if (unit > 0xDBFF || bytes.size() < 4) return {};
  const char32_t low = unitAt(2);
  if (low < 0xDC00 || low > 0xDFFF) return {};
  return {0x10000U + ((unit & 0x3FFU) << 10U) + (low & 0x3FFU), 4};
}

template <class EachCharacter>
std::size_t WalkUtf16(std::string_view bytes, bool lowerFirst, EachCharacter&& each) {
  std::size_t at = 0;
  while (at < bytes.size()) {
    const Character character = FirstOfUtf16(bytes.substr(at), lowerFirst);
    if (character.bytes == 0) break;
    each(character.number);
    at += character.bytes;
  }
  return at;
}

void AppendUnit(char16_t unit, bool lowerFirst, std::string& bytes) {
  const auto low = static_cast<char>(unit & 0xFFU);
  const auto high = static_cast<char>(unit >> 8U);
  bytes += lowerFirst ? low : high;
  bytes += lowerFirst ? high : low;
}

}  // namespace

std::size_t Encoding::ToUtf8(std::string_view bytes, std::string& utf8) const {
  switch (table_->form) {
    case Form::kUtf8: {
      const std::size_t valid = ValidUtf8(bytes);
      utf8.append(bytes.substr(0, valid));
      return valid;
    }
    case Form::kUtf16Le:
    case Form::kUtf16Be:
      return WalkUtf16(bytes, table_->form == Form::kUtf16Le,
                       [&](char32_t number) { AppendUtf8(number, utf8); });
    case Form::kCodePage:
      break;
  }
  // The bytes below 128 are the same in every code page here.
  std::size_t at = 0;
  for (;;) {
    const std::size_t plain = PlainPrefix<AsciiRule>(bytes.substr(at));
    utf8.append(bytes.substr(at, plain));
    at += plain;
    if (at == bytes.size()) return at;
    const std::string& character = table_->characters[static_cast<unsigned char>(bytes[at])];
    if (character.empty()) return at;
    utf8.append(character);
    ++at;
  }
}

std::size_t Encoding::FromUtf8(std::string_view utf8, std::string& bytes) const {
  if (table_->form == Form::kUtf8) return ToUtf8(utf8, bytes);
  std::size_t at = 0;
  while (at < utf8.size()) {
    const Character character = FirstOfUtf8(utf8.substr(at));
    if (character.bytes == 0) return at;
    if (table_->form == Form::kCodePage) {
      const auto found = table_->bytes.find(character.number);
      if (found == table_->bytes.end()) return at;
      bytes += static_cast<char>(found->second);
    } else {
      std::u16string units;
      AppendUtf16(character.number, units);
      for (const char16_t unit : units) AppendUnit(unit, table_->form == Form::kUtf16Le, bytes);
    }
    at += character.bytes;
  }
  return at;
}

std::size_t Encoding::ValidLength(std::string_view bytes) const {
  if (table_->form == Form::kUtf8) return ValidUtf8(bytes);
  if (table_->form != Form::kCodePage) {
    return WalkUtf16(bytes, table_->form == Form::kUtf16Le, [](char32_t) {});
  }
  const auto* const bad = std::find_if(bytes.begin(), bytes.end(), [&](char c) {
    return table_->characters[static_cast<unsigned char>(c)].empty();
  });
  return static_cast<std::size_t>(bad - bytes.begin());
}

std::size_t Encoding::BadLength(std::string_view bytes) const {
  if (table_->form != Form::kUtf8) return std::min(UnitSize(), bytes.size());
  return std::max<std::size_t>(BrokenUtf8(bytes), 1);
}

std::size_t Encoding::UnfinishedLength(std::string_view bytes) const {
  if (table_->form == Form::kUtf8) return UnfinishedUtf8(bytes);
  if (table_->form == Form::kCodePage) return 0;
  const std::size_t half = bytes.size() % 2;
  if (bytes.size() < 2) return half;
  const std::size_t highAt = bytes.size() - half - (table_->form == Form::kUtf16Le ? 1 : 2);
  const bool isHighSurrogate = (static_cast<unsigned char>(bytes[highAt]) & 0xFCU) == 0xD8;
  return half + (isHighSurrogate ? 2 : 0);
}

bool PieceDecoder::Feed(std::string_view piece, std::uint64_t at, std::string& utf8,
                        std::uint64_t& badAt) {
  while (!held_.empty() && !piece.empty()) {
    held_ += piece.front();
    piece.remove_prefix(1);
    ++at;
    if (encoding_.UnfinishedLength(held_) == held_.size()) continue;
    if (encoding_.ToUtf8(held_, utf8) < held_.size()) {
      badAt = heldAt_;
      return false;
    }
    held_.clear();
  }
  const std::size_t whole = piece.size() - encoding_.UnfinishedLength(piece);
  const std::size_t converted = encoding_.ToUtf8(piece.substr(0, whole), utf8);
  if (converted < whole) {
    badAt = at + converted;
    return false;
  }
  if (whole < piece.size()) {
    held_ = piece.substr(whole);
    heldAt_ = at + whole;
  }
  return true;
}

bool PieceDecoder::Finish(std::uint64_t& badAt) {
  if (held_.empty()) return true;
  badAt = heldAt_;
  held_.clear();
  return false;
}

}  // namespace brindlex::tool
