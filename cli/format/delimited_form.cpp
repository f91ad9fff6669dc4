#include "cli/format/delimited_form.h"

#include <algorithm>
#include <charconv>

#include "cli/format/tokenizer.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::cli {
namespace {

int LineBreaksAfterHeader(Input& input, const FileFormat& format) {
  InputWindow window(input, format.Text());
  Tokenizer tokenizer(window, format.encoding, format.markers);
  Token token;
  do token = tokenizer.Next();
  while (token.kind != Token::Kind::kRecord && token.kind != Token::Kind::kEnd);
  int breaks = 0;
  while (tokenizer.NextLineBreak(token)) ++breaks;
  return breaks;
}

/// What follows the last record end, if it is a tail.
std::optional<std::string> TailOf(Input& input, const FileFormat& format) {
  constexpr std::uint64_t kMostBytes = 65536;
  const std::uint64_t size = input.WholeSize();
  if (size <= format.markBytes) return std::nullopt;
  std::string bytes(static_cast<std::size_t>(std::min(kMostBytes, size - format.markBytes)), '\0');
  bytes.resize(input.Read(size - bytes.size(), bytes.data(), bytes.size()));
  const std::size_t last = bytes.rfind(format.markers.recordEnd);
  if (last == std::string::npos) return std::nullopt;
  bytes.erase(0, last + format.markers.recordEnd.size());
  return IsTail(bytes) ? std::optional(bytes) : std::nullopt;
}

}  // namespace

DelimitedForm FormOfFile(Input& input, const FileFormat& format, bool isOne) {
  DelimitedForm form;
  form.encoding = format.encoding;
  form.hasByteOrderMark = format.markBytes > 0;
  if (!isOne) form.tail = TailOf(input, format);
  if (!format.named) {
    form.lineBreaks = LineBreaksAfterHeader(input, format);
    if (format.layer != Layer::kOuter) form.pair = format.pair;
  }
  return form;
}

DelimitedForm FormOf(const FormatOptions& options, Input* like) {
  DelimitedForm form;
  if (like != nullptr) {
    form = FormOfFile(*like, DetectFormat(*like, options));
  } else {
    FormatOptions plain = options;
    plain.reading = Reading::kPlain;
    Input nothing({}, {}, kInputBlock);
    const FileFormat format = DetectFormat(nothing, plain);
    form.encoding = format.encoding;
    form.hasByteOrderMark = format.encoding.UnitSize() > 1;
    if (options.fieldEnd || options.recordEnd) form.pair = format.pair;
  }
  form.reading = options.reading;
  return form;
}

DelimitedForm Overridden(DelimitedForm form, const FormatOptions& options) {
  const DelimitedForm asked = FormOf(options);
  if (options.encoding && asked.encoding.Name() != form.encoding.Name()) {
    form.encoding = asked.encoding;
    form.hasByteOrderMark = asked.hasByteOrderMark;
    // Its bytes are of the other encoding.
    form.tail.reset();
    form.isGiven = false;
  }
  if (asked.pair) {
    MarkerPair pair = form.pair.value_or(OuterMarkers());
    if (options.fieldEnd) pair.fieldEnd = asked.pair->fieldEnd;
    if (options.recordEnd) pair.recordEnd = asked.pair->recordEnd;
    form.pair = pair;
    form.isGiven = false;
  }
  form.reading = options.reading;
  return form;
}

namespace {

std::string CodePoints(std::string_view utf8) {
  std::string text;
  while (!utf8.empty()) {
    const Character character = FirstOfUtf8(utf8);
    text += CodePoint(character.number);
    utf8.remove_prefix(character.bytes);
  }
  return text;
}

/// The number that all of `text` is; nothing for any other text.
std::optional<int> NumberOf(std::string_view text, int base) {
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
  const bool isWhole = error == std::errc() && end == text.data() + text.size();
  return isWhole ? std::optional(number) : std::nullopt;
}

std::optional<std::string> TailOfHexadecimal(std::string_view text) {
  std::string bytes;
  for (; text.size() >= 2; text.remove_prefix(2)) {
    const std::optional<int> byte = NumberOf(text.substr(0, 2), 16);
    if (!byte) return std::nullopt;
    bytes += static_cast<char>(*byte);
  }
  return text.empty() && IsTail(bytes) ? std::optional(bytes) : std::nullopt;
}

std::optional<bool> FlagOf(std::string_view text) {
  if (text == "true" || text == "True") return true;
  if (text == "false" || text == "False") return false;
  return std::nullopt;
}

/// Takes `value`; whether there is one.
template <class To, class From>
bool Take(To& to, std::optional<From> value) {
  if (!value) return false;
  to = *std::move(value);
  return true;
}

bool TakeMarker(DelimitedForm& form, std::string MarkerPair::*marker, std::string_view value) {
  MarkerPair pair = form.pair.value_or(OuterMarkers());
  pair.*marker = ParseMarker(std::string(value));
  form.pair = pair == OuterMarkers() ? std::nullopt : std::optional(pair);
  return true;
}

bool TakeMember(DelimitedForm& form, std::string_view name, std::string_view value) {
  if (name == "encoding") return Take(form.encoding, Encoding::Named(value));
  if (name == "bom") return Take(form.hasByteOrderMark, FlagOf(value));
  if (name == "field-end") return TakeMarker(form, &MarkerPair::fieldEnd, value);
  if (name == "record-end") return TakeMarker(form, &MarkerPair::recordEnd, value);
  if (name == "tail") return Take(form.tail, TailOfHexadecimal(value));
  if (name == "given") return Take(form.isGiven, FlagOf(value));
  if (name != "line-breaks") return false;
  const std::optional<int> breaks = NumberOf(value, 10);
  return Take(form.lineBreaks, breaks) && *breaks >= 0 && *breaks <= kMostRecordBreaks;
}

}  // namespace

std::vector<FormMember> MembersOf(const DelimitedForm& form) {
  const MarkerPair pair = form.pair.value_or(OuterMarkers());
  const auto flag = [](bool is) { return std::string(is ? "true" : "false"); };
  std::vector<FormMember> members = {
      {"encoding", form.encoding.Name()},
      {"bom", flag(form.hasByteOrderMark), true},
      {"field-end", CodePoints(pair.fieldEnd)},
      {"record-end", CodePoints(pair.recordEnd)},
      {"line-breaks", std::to_string(form.lineBreaks), true},
  };
  if (form.tail) members.push_back({"tail", Hexadecimal(*form.tail)});
  if (form.isGiven) members.push_back({"given", flag(true), true});
  return members;
}

void SetFormMember(DelimitedForm& form, std::string_view name, std::string_view value) {
  bool isTaken = false;
  try {
    isTaken = TakeMember(form, name, value);
  } catch (const UsageError& error) {
    throw ConversionError(std::string("the format that is carried: ") + error.what());
  }
  if (isTaken) return;
  throw ConversionError("the format that is carried has the member " + Quoted(name) + " with " +
                        Quoted(value) + ", which this program does not know");
}

}  // namespace brindlex::cli
