#include "cli/format/markers.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>

#include "cli/io/failure.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::cli {
namespace {

[[noreturn]] void RefuseMarker(std::string_view given, std::string_view why) {
  throw UsageError("the marker " + Quoted(given) + " cannot be used: " + std::string(why));
}

/// The characters of U+001FU+001E; nothing if `given` is not of that form.
std::optional<std::string> NumberedCharacters(std::string_view given) {
  std::string text;
  std::string_view rest = given;
  while (!rest.empty()) {
    if (!rest.starts_with("U+") && !rest.starts_with("u+")) return std::nullopt;
    rest.remove_prefix(2);
    std::uint32_t number = 0;
    constexpr int kHexadecimal = 16;
    const auto [end, error] =
        std::from_chars(rest.data(), rest.data() + rest.size(), number, kHexadecimal);
    const auto digits = static_cast<std::size_t>(end - rest.data());
    if (error != std::errc() || digits < 4) return std::nullopt;
    if (number > 0x10FFFF || (number >= 0xD800 && number < 0xE000)) {
      RefuseMarker(given, "there is no character of that number");
    }
    AppendUtf8(number, text);
    rest.remove_prefix(digits);
  }
  return text;
}

MarkerPair InUtf8(const Markers& markers) {
  return {Utf8OfUtf16(markers.fieldEnd), Utf8OfUtf16(markers.recordEnd)};
}

/// Whether some end of `left`, shorter than both, starts `right`.
bool RunsInto(const std::string& left, const std::string& right) {
  for (std::size_t common = 1; common < std::min(left.size(), right.size()); ++common) {
    if (left.compare(left.size() - common, common, right, 0, common) == 0) return true;
  }
  return false;
}

}  // namespace

MarkerPair OuterMarkers() { return InUtf8(DefaultMarkers()); }

MarkerPair InnerMarkers() { return InUtf8(InternalMarkers()); }

std::string ParseMarker(std::string_view given) {
  constexpr std::size_t kMostBytes = 500;
  if (given.empty()) RefuseMarker(given, "it is empty");
  if (given.size() > kMostBytes) RefuseMarker(given, "it is longer than 500 bytes");
  if (ValidUtf8(given) < given.size()) RefuseMarker("?", "it is no text");
  return NumberedCharacters(given).value_or(std::string(given));
}

std::optional<ByteMarkers> FindByteMarkers(const MarkerPair& pair, const Encoding& encoding) {
  ByteMarkers markers;
  markers.unit = encoding.UnitSize();
  markers.lineBreak.clear();
  encoding.FromUtf8(Utf8OfUtf16(kRecordBreak), markers.lineBreak);
  const bool hasBoth =
      encoding.FromUtf8(pair.fieldEnd, markers.fieldEnd) == pair.fieldEnd.size() &&
      encoding.FromUtf8(pair.recordEnd, markers.recordEnd) == pair.recordEnd.size();
  return hasBoth ? std::optional(markers) : std::nullopt;
}

std::string OptionName(Choice choice, std::string_view name) {
  return (choice == Choice::kTarget ? "--to-" : "--") + std::string(name);
}

std::string EncodingHint(Choice choice) {
  if (choice == Choice::kRecode) {
    return "convert the file first: brindlex recode FILE --to-encoding utf-8 --in-place";
  }
  return OptionName(choice, "encoding") + " utf-8 has every character";
}

ByteMarkers RequireByteMarkers(const MarkerPair& pair, const Encoding& encoding, Choice choice) {
  const std::string both =
      "the markers " + Quoted(pair.fieldEnd) + " and " + Quoted(pair.recordEnd);
  if (pair.fieldEnd == pair.recordEnd) throw UsageError(both + " are the same");
  if (auto markers = FindByteMarkers(pair, encoding)) return *markers;
  throw UsageError(both + " are not both characters of " + encoding.Name() + "; give others with " +
                   OptionName(choice, "field-end") + " and " + OptionName(choice, "record-end") +
                   ", or another " + OptionName(choice, "encoding") + ", such as utf-8");
}

bool AreUnambiguous(const ByteMarkers& markers) {
  const std::string& field = markers.fieldEnd;
  const std::string& record = markers.recordEnd;
  const auto holds = [](const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
  };
  return !holds(field, record) && !holds(record, field) && !RunsInto(field, record) &&
         !RunsInto(record, field) && !RunsInto(field, field) && !RunsInto(record, record);
}

std::size_t FindMarker(std::string_view text, std::string_view marker, std::size_t unit,
                       std::size_t from) {
  for (;;) {
    const std::size_t found = text.find(marker, from);
    if (found == std::string_view::npos || found % unit == 0) return found;
    from = found + 1;
  }
}

std::string CodePoint(char32_t character) {
  return fmt::format("U+{:04X}", static_cast<std::uint32_t>(character));
}

std::string DescribedCharacter(std::string_view utf8) {
  const Character first = FirstOfUtf8(utf8);
  const std::string number = CodePoint(first.number);
  return ActsOnTerminal(first.number) ? number
                                      : std::string(utf8.substr(0, first.bytes)) + " " + number;
}

}  // namespace brindlex::cli
