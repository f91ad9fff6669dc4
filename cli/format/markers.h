#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "cli/text/encoding.h"
#include "persistence/delimited_text.h"
#include "persistence/text_data.h"

namespace brindlex::cli {

/// The two markers of one layer, in UTF-8.
struct MarkerPair {
  std::string fieldEnd;
  std::string recordEnd;

  bool operator==(const MarkerPair&) const = default;
};

/// The component's markers: of a single collection and of the outer layer, and of the inner layer.
MarkerPair OuterMarkers();
MarkerPair InnerMarkers();

/// The name of a property of the component's own record, which is ASCII.
template <std::size_t kPosition>
inline constexpr auto kPropertyName = [] {
  constexpr TextView kName = clsTextData::kProperties[kPosition].name;
  std::array<char, kName.size()> name{};
  std::ranges::transform(kName, name.begin(),
                         [](char16_t unit) { return static_cast<char>(unit); });
  return name;
}();

/// The two columns of a file of several collections.
inline constexpr std::string_view kDataColumn{kPropertyName<0>.data(), kPropertyName<0>.size()};
inline constexpr std::string_view kNameColumn{kPropertyName<1>.data(), kPropertyName<1>.size()};

/// The marker that `given` on the command line means, in UTF-8: itself, or the characters of
/// U+001FU+001E. UsageError for an empty or very long one, for ill-formed UTF-8, and for a number
/// that is no code point of a character.
std::string ParseMarker(std::string_view given);

/// A marker pair in the bytes of a file, with the line break that is dropped after a record end.
struct ByteMarkers {
  std::string fieldEnd;
  std::string recordEnd;
  std::string lineBreak = "\r\n";
  /// 2 in UTF-16, where markers start at even offsets of the text; else 1.
  std::size_t unit = 1;

  std::size_t Longest() const { return std::max(fieldEnd.size(), recordEnd.size()); }
};

/// `pair` in the bytes of `encoding`; nothing if that lacks one of its characters.
std::optional<ByteMarkers> FindByteMarkers(const MarkerPair& pair, const Encoding& encoding);

/// By which options the user can choose another encoding or other markers for what is written.
enum class Choice {
  /// --encoding, --field-end, --record-end.
  kOwn,
  /// --to-encoding, --to-field-end, --to-record-end.
  kTarget,
  /// None: the command keeps the encoding of the file, and recode changes it.
  kRecode,
};

/// What to do if an encoding lacks a character: the end of a message, after "; ".
std::string EncodingHint(Choice choice);

/// The name of an option, such as "field-end", as the user gives it: "--to-field-end" for kTarget.
std::string OptionName(Choice choice, std::string_view name);

/// The markers as FindByteMarkers finds them; UsageError in place of nothing, and for two equal
/// markers. `choice` is for its message.
ByteMarkers RequireByteMarkers(const MarkerPair& pair, const Encoding& encoding,
                               Choice choice = Choice::kOwn);

/// Whether the markers can be recognized wherever they are, without a look at what follows: neither
/// holds the other, and no end of one starts one of them.
bool AreUnambiguous(const ByteMarkers& markers);

/// The offset of `marker` in `text`, a multiple of `unit` and not before `from`; npos for none.
std::size_t FindMarker(std::string_view text, std::string_view marker, std::size_t unit,
                       std::size_t from = 0);

/// The number of a character, such as "U+001F".
std::string CodePoint(char32_t character);

/// A character as a message shows it: itself and its code point.
std::string DescribedCharacter(std::string_view utf8);

}  // namespace brindlex::cli
