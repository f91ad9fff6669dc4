#pragma once

#include <cstddef>
#include <string_view>

#include "cli/text/byte_buffer.h"

namespace brindlex::cli {

/// Where a JSON text is used.
enum class JsonPlace {
  /// In a file of its own.
  kFile,
  /// In a script element of an HTML page, where nothing may look like the element's end: "<" is
  /// escaped as well.
  kPage,
};

/// Appends `text`, or a piece of one, to `json` as it is between the quotation marks of a JSON
/// string: quotation marks, backslashes and characters below 32 escaped, all else as it is. A text
/// may be given in pieces, divided anywhere. Linear; sixteen bytes at a time where the processor
/// can. UTF-8 is not looked into.
void AppendJsonPiece(ByteBuffer& json, std::string_view text, JsonPlace place = JsonPlace::kFile);

/// How many bytes at the front of `text` are as they are between the quotation marks of a JSON
/// string.
std::size_t PlainJsonLength(std::string_view text);

/// Appends `text` as a JSON string, its quotation marks included.
void AppendJsonString(ByteBuffer& json, std::string_view text, JsonPlace place = JsonPlace::kFile);

/// The number, true or false that leads back to exactly `value`, through any program that reads
/// numbers as doubles and writes them in their shortest form: of "True" and "False", whole numbers
/// from -(2^53) to 2^53, and decimal fractions without exponent that are the shortest text of a
/// double. Empty for all else, which stays text: leading zeros and plus signs, trailing zeros after
/// the point, "-0".
std::string_view InferredJson(std::string_view value);

}  // namespace brindlex::cli
