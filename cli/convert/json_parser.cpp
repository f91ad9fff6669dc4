#include "cli/convert/json_parser.h"

#include <algorithm>

#include "cli/convert/json_text.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::cli {
namespace {

/// A text is passed on when this much of it is kept, and no name or number is longer.
constexpr std::size_t kLongPiece = 65536;
constexpr std::size_t kMostOfAName = std::size_t{8} * 1024 * 1024;

bool IsDigit(char byte) { return byte >= '0' && byte <= '9'; }

bool IsOfNumber(char byte) {
  return IsDigit(byte) || byte == '-' || byte == '+' || byte == '.' || byte == 'e' || byte == 'E';
}

/// Whether `text` is a number as JSON has them.
bool IsNumber(std::string_view text) {
  const auto skip = [&](std::string_view bytes) {
    if (text.empty() || bytes.find(text.front()) == std::string_view::npos) return false;
    text.remove_prefix(1);
    return true;
  };
  const auto skipDigits = [&] {
    const auto* const end = std::find_if_not(text.begin(), text.end(), IsDigit);
    const auto count = static_cast<std::size_t>(end - text.begin());
    text.remove_prefix(count);
    return count > 0;
  };
  skip("-");
  if (!skip("0") && !skipDigits()) return false;
  if (skip(".") && !skipDigits()) return false;
  if (skip("eE")) {
    skip("+-");
    if (!skipDigits()) return false;
  }
  return text.empty();
}

}  // namespace

JsonParser::JsonParser(const ReadAt& source, JsonHandler& handler, std::uint64_t offset)
    : source_(source),
      handler_(handler),
      buffer_(std::make_unique_for_overwrite<char[]>(kInputBlock)),
      end_(offset) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (offset > 0) return;
  char head[kByteOrderMark.size()] = {};
  std::size_t size = 0;
  for (std::size_t read = 1; read > 0 && size < sizeof head; size += read) {
    read = source_(size, head + size, sizeof head - size);
  }
  if (std::string_view(head, size) == kByteOrderMark) end_ = size;
}

bool JsonParser::Refill() {
  const std::size_t read = source_(end_, buffer_.get(), kInputBlock);
  rest_ = {buffer_.get(), read};
  end_ += read;
  return read > 0;
}

bool JsonParser::HasMore() {
  for (;;) {
    while (!rest_.empty() && IsBlank(rest_.front())) rest_.remove_prefix(1);
    if (!rest_.empty()) return true;
    if (!Refill()) return false;
  }
}

void JsonParser::Fail(const std::string& what) const {
  throw ConversionError(handler_.PlaceAt(Offset()) + ": " + what);
}

void JsonParser::FailAsMalformed(const std::string& what) const {
  Fail("not well-formed JSON: " + what);
}

void JsonParser::Close() {
  const char closing = open_.back();
  open_.pop_back();
  if (closing == '}') {
    handler_.EndObject();
  } else {
    handler_.EndArray();
  }
}

/// Parses the beginning of a container, up to its first value; true if it has none and has ended.
bool JsonParser::BeginContainer(bool isObject) {
  rest_.remove_prefix(1);
  open_ += isObject ? '}' : ']';
  if (isObject) {
    handler_.StartObject();
  } else {
    handler_.StartArray();
  }
  if (TakeIf(open_.back())) {
    Close();
    return true;
  }
  if (isObject) ReadKey();
  return false;
}

/// Parses a value, or the beginning of a container, up to its first value; false in that case.
bool JsonParser::BeginValue() {
  switch (PeekToken()) {
    case '{':
      return BeginContainer(/*isObject=*/true);
    case '[':
      return BeginContainer(/*isObject=*/false);
    case '"':
      if (const auto whole = TakeWholeString()) {
        handler_.Text(*whole, true, true);
        break;
      }
      ReadString([this](std::string_view piece, bool isFirst, bool isLast) {
        handler_.Text(piece, isFirst, isLast);
      });
      break;
    case 't':
      ReadWord("true");
      handler_.Flag(true);
      break;
    case 'f':
      ReadWord("false");
      handler_.Flag(false);
      break;
    case 'n':
      ReadWord("null");
      handler_.Null();
      break;
    default:
      ReadNumber();
  }
  return true;
}

void JsonParser::ParseValue() {
  do {
    if (!BeginValue()) continue;
    while (!open_.empty() && !TakeIf(',')) {
      if (!TakeIf(open_.back()))
        FailAsMalformed(std::string("neither a comma nor ") + open_.back());
      Close();
    }
    if (!open_.empty() && open_.back() == '}') ReadKey();
  } while (!open_.empty());
}

void JsonParser::ReadKey() {
  if (PeekToken() != '"') FailAsMalformed("no name of a member");
  if (const auto whole = TakeWholeString()) {
    handler_.Key(*whole);
  } else {
    ReadLongKey();
  }
  if (!TakeIf(':')) FailAsMalformed("no colon after the name of a member");
}

void JsonParser::ReadLongKey() {
  std::string name;
  bool isWhole = false;
  ReadString([&](std::string_view piece, bool isFirst, bool isLast) {
    isWhole = isFirst && isLast;
    if (name.size() + piece.size() > kMostOfAName) {
      Fail("a name of more than 8 MB");
    }
    if (isWhole) {
      handler_.Key(piece);
    } else {
      name += piece;
    }
  });
  if (!isWhole) handler_.Key(name);
}

/// Takes the string that comes next if it is in memory and without escapes, as most are.
std::optional<std::string_view> JsonParser::TakeWholeString() {
  const std::string_view text = rest_.substr(1);
  const std::size_t size = PlainJsonLength(text);
  if (size == text.size() || text[size] != '"') return std::nullopt;
  rest_ = text.substr(size + 1);
  return text.substr(0, size);
}

template <class Each>
void JsonParser::ReadString(Each&& each) {
  rest_.remove_prefix(1);
  kept_.clear();
  for (bool isFirst = true;;) {
    Peek();
    const std::size_t size = PlainJsonLength(rest_);
    const std::string_view piece = rest_.substr(0, size);
    rest_.remove_prefix(size);
    const bool isEnd = !rest_.empty() && rest_.front() == '"';
    if (isEnd) rest_.remove_prefix(1);
    if (isEnd && kept_.empty()) return each(piece, isFirst, true);
    kept_ += piece;
    if (isEnd) return each(kept_, isFirst, true);
    if (kept_.size() >= kLongPiece) {
      const std::size_t whole = kept_.size() - UnfinishedUtf8(kept_);
      each(std::string_view(kept_).substr(0, whole), isFirst, false);
      kept_.erase(0, whole);
      isFirst = false;
    }
    if (rest_.empty()) continue;
    if (rest_.front() != '\\') FailAsMalformed("a control character in a text");
    ReadEscape();
  }
}

unsigned JsonParser::ReadHexadecimal() {
  unsigned number = 0;
  for (int digit = 0; digit < 4; ++digit) {
    const char byte = Take();
    constexpr std::string_view kDigits = "0123456789abcdef";
    const char lower = byte >= 'A' && byte <= 'F' ? static_cast<char>(byte + ('a' - 'A')) : byte;
    const std::size_t value = kDigits.find(lower);
    if (value == std::string_view::npos)
      FailAsMalformed("an escape other than four hexadecimal digits");
    number = number << 4U | static_cast<unsigned>(value);
  }
  return number;
}

/// Reads an escape and keeps its character.
void JsonParser::ReadEscape() {
  rest_.remove_prefix(1);
  constexpr std::string_view kLetters = "\"\\/bfnrt";
  constexpr std::string_view kMeanings = "\"\\/\b\f\n\r\t";
  const char letter = Take();
  if (letter != 'u') {
    const std::size_t which = kLetters.find(letter);
    if (which == std::string_view::npos) FailAsMalformed("an escape that JSON does not have");
    kept_ += kMeanings[which];
    return;
  }
  unsigned number = ReadHexadecimal();
  const bool isHigh = number >= 0xD800 && number < 0xDC00;
  if (isHigh && Take() == '\\' && Take() == 'u') {
    const unsigned low = ReadHexadecimal();
    if (low >= 0xDC00 && low < 0xE000) {
      number = 0x10000U + ((number & 0x3FFU) << 10U) + (low & 0x3FFU);
    }
  }
  if (number >= 0xD800 && number < 0xE000) FailAsMalformed("an unpaired surrogate");
  AppendUtf8(number, kept_);
}

void JsonParser::ReadNumber() {
  kept_.clear();
  for (;;) {
    const auto* const end = std::find_if_not(rest_.begin(), rest_.end(), IsOfNumber);
    const auto size = static_cast<std::size_t>(end - rest_.begin());
    kept_ += rest_.substr(0, size);
    rest_.remove_prefix(size);
    if (kept_.size() > kLongPiece) Fail("a number of more than 64 KB");
    if (!rest_.empty() || !Refill()) break;
  }
  if (!IsNumber(kept_))
    FailAsMalformed(kept_.empty() ? "no value" : Quoted(kept_) + " is no number");
  handler_.Number(kept_);
}

void JsonParser::ReadWord(std::string_view word) {
  for (const char byte : word) {
    if (Take() != byte) FailAsMalformed("a word other than true, false and null");
  }
}

}  // namespace brindlex::cli
