#pragma once

#include <optional>
#include <string>

#include "cli/convert/table_target.h"

namespace brindlex::tool {

struct JsonStyle {
  /// What a null becomes; without it a null is refused.
  std::optional<std::string> null;
};

/// Reads tables from JSON in UTF-8 and hands them to `target`. The input is one of
///
/// - an array of objects, each a row; the names of the first are the header, and the others have
///   the same, in any order;
/// - an array of arrays: the first holds the names, the others each a row;
/// - any number of such objects without an array around them, one to a line as a rule;
/// - an object whose every value is one of the first two: collections by their names.
///
/// A value is a text; or a number, which stands for its own text (a whole number without
/// superfluous signs, any other as it is written); or true and false, which stand for "True" and
/// "False"; or null, by the style. No row at all, an empty input included, is a collection of which
/// nothing is known.
///
/// ConversionError, with the place, for JSON that is not well formed, for any other shape, and for
/// a row whose names differ from the header's or come twice. Holds one row and one block of the
/// source at a time, whatever the depth of the input.
void ReadJson(const BlockSource& source, const JsonStyle& style, TableTarget& target);

}  // namespace brindlex::tool
