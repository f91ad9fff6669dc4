#include "cli/text/encoding.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "cli/text/byte_prefix.h"
#include "cli/text/code_pages.h"
#include "cli/text/utf.h"

namespace brindlex::cli {

struct Encoding::Table {
  /// A character in UTF-8, and its longest size.
  static constexpr std::size_t kMostUtf8 = 3;
  struct Utf8Character {
    std::array<char, kMostUtf8> bytes;
    unsigned char size;
  };

  std::string name;
  Form form = Form::kUtf8;
  std::string byteOrderMark;
  /// Of a code page only: the characters of the bytes from 128 on, and the bytes of all characters
  /// of the Basic Multilingual Plane from U+0080 on, 0 for one that the page lacks.
  std::array<Utf8Character, 128> characters{};
  std::vector<char> bytes;

  const Utf8Character& CharacterOf(char byte) const {
    return characters[static_cast<unsigned char>(byte) & 0x7FU];
  }
};

namespace {

std::string LowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  }
  return lower;
}

static_assert(std::all_of(std::begin(kCodePages), std::end(kCodePages),
                          [](const CodePage& page) { return page.upper.size() == 128; }));

/// The page that windows-1252, cp1252 or 1252 names; null for another name.
const CodePage* FindCodePage(std::string_view name) {
  for (const std::string_view prefix : {"windows-", "cp"}) {
    if (!name.starts_with(prefix)) continue;
    name.remove_prefix(prefix.size());
    break;
  }
  const auto* const page =
      std::find_if(std::begin(kCodePages), std::end(kCodePages),
                   [name](const CodePage& one) { return std::to_string(one.number) == name; });
  return page == std::end(kCodePages) ? nullptr : page;
}

}  // namespace

Encoding::Encoding() {
  static const std::shared_ptr<const Table> table = Named("windows-1252")->table_;
  table_ = table;
}

std::optional<Encoding> Encoding::Named(std::string_view name) {
  const std::string lower = LowerCase(name);
  auto table = std::make_shared<Table>();
  const auto isOneOf = [&](std::initializer_list<std::string_view> names) {
    return std::find(names.begin(), names.end(), lower) != names.end();
  };
  if (isOneOf({"utf-8", "utf8"})) {
    table->name = "utf-8";
    table->byteOrderMark = "\xEF\xBB\xBF";
  } else if (isOneOf({"utf-16", "utf-16le", "utf16", "utf16le"})) {
    table->name = "utf-16le";
    table->form = Form::kUtf16Le;
    table->byteOrderMark = "\xFF\xFE";
  } else if (isOneOf({"utf-16be", "utf16be"})) {
    table->name = "utf-16be";
    table->form = Form::kUtf16Be;
    table->byteOrderMark = "\xFE\xFF";
  } else {
    const CodePage* const page = FindCodePage(lower);
    if (page == nullptr) return std::nullopt;
    table->name = "windows-" + std::to_string(page->number);
    table->form = Form::kCodePage;
    table->bytes.resize(0x10000);
    for (std::size_t index = 0; index < page->upper.size(); ++index) {
      std::string text;
      AppendUtf8(page->upper[index], text);
      auto& character = table->characters[index];
      character.size =
          static_cast<unsigned char>(text.copy(character.bytes.data(), Table::kMostUtf8));
      table->bytes[page->upper[index]] = static_cast<char>(0x80 + index);
    }
  }
  return Encoding(std::move(table));
}

std::optional<Encoding> Encoding::OfByteOrderMark(std::string_view head) {
  for (const char* const name : {"utf-8", "utf-16le", "utf-16be"}) {
    Encoding encoding = *Named(name);
    if (head.starts_with(encoding.ByteOrderMark())) return encoding;
  }
  return std::nullopt;
}

const std::vector<std::string>& Encoding::Names() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all = {"utf-8", "utf-16le", "utf-16be"};
    for (const CodePage& page : kCodePages) all.push_back("windows-" + std::to_string(page.number));
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

namespace {

/// The first character of UTF-16; no bytes for an unpaired surrogate or half a unit.
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
std::size_t ReadUtf16(std::string_view bytes, bool lowerFirst, EachCharacter&& each) {
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
  const std::size_t size = bytes.size();
  switch (table_->form) {
    case Form::kUtf8: {
      const std::size_t valid = ValidUtf8(bytes);
      utf8.append(bytes.substr(0, valid));
      return valid;
    }
    case Form::kUtf16Le:
    case Form::kUtf16Be:
      return ReadUtf16(bytes, table_->form == Form::kUtf16Le,
                       [&](char32_t number) { AppendUtf8(number, utf8); });
    case Form::kCodePage:
      break;
  }
  // The bytes below 128 are the same in every code page here.
  const std::size_t start = utf8.size();
  utf8.resize(start + Table::kMostUtf8 * size + kCopySlack);
  char* to = utf8.data() + start;
  while (!bytes.empty()) {
    const std::size_t plain = CopyPlain<AsciiRule>(bytes, to);
    bytes.remove_prefix(plain);
    to += plain;
    for (; !bytes.empty() && !AsciiRule::IsPlain(bytes.front()); bytes.remove_prefix(1)) {
      const Table::Utf8Character& character = table_->CharacterOf(bytes.front());
      to = std::copy_n(character.bytes.data(), Table::kMostUtf8, to) - Table::kMostUtf8 +
           character.size;
    }
  }
  utf8.resize(static_cast<std::size_t>(to - utf8.data()));
  return size;
}

std::size_t Encoding::FromUtf8(std::string_view utf8, std::string& bytes) const {
  if (table_->form == Form::kUtf8) return ToUtf8(utf8, bytes);
  if (table_->form == Form::kCodePage) return ToCodePage(utf8, bytes);
  std::size_t done = 0;
  while (done < utf8.size()) {
    const Character character = FirstOfUtf8(utf8.substr(done));
    if (character.bytes == 0) return done;
    std::u16string units;
    AppendUtf16(character.number, units);
    for (const char16_t unit : units) AppendUnit(unit, table_->form == Form::kUtf16Le, bytes);
    done += character.bytes;
  }
  return done;
}

/// FromUtf8 for a code page, in which no text is longer.
std::size_t Encoding::ToCodePage(std::string_view utf8, std::string& bytes) const {
  const std::size_t start = bytes.size();
  bytes.resize(start + utf8.size() + kCopySlack);
  char* to = bytes.data() + start;
  std::size_t done = 0;
  for (;;) {
    const std::size_t plain = CopyPlain<AsciiRule>(utf8.substr(done), to);
    done += plain;
    to += plain;
    if (done == utf8.size()) break;
    const Character character = FirstOfUtf8(utf8.substr(done));
    const bool isOfPage = character.bytes > 0 && character.number < table_->bytes.size();
    const char byte = isOfPage ? table_->bytes[character.number] : '\0';
    if (byte == '\0') break;
    *to++ = byte;
    done += character.bytes;
  }
  bytes.resize(static_cast<std::size_t>(to - bytes.data()));
  return done;
}

std::size_t Encoding::ValidLength(std::string_view bytes) const {
  if (table_->form == Form::kUtf8) return ValidUtf8(bytes);
  if (table_->form == Form::kCodePage) return bytes.size();
  return ReadUtf16(bytes, table_->form == Form::kUtf16Le, [](char32_t) {});
}

std::size_t Encoding::BadLength(std::string_view bytes) const {
  if (table_->form != Form::kUtf8) return std::min(UnitSize(), bytes.size());
  return std::max<std::size_t>(IllFormedUtf8(bytes), 1);
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

}  // namespace brindlex::cli
