#pragma once

#include <optional>
#include <string>

#include "cli/convert/text_source.h"
#include "cli/format/delimited_form.h"

namespace brindlex::cli {

struct JsonStyle {
  /// What a null becomes; without it a null is refused.
  std::optional<std::string> null;
};

/// Reads tables from JSON in UTF-8 and writes them. The input is one of
///
/// - an array of objects, each a row; the names of the first are the header, and the others have
///   the same, in any order;
/// - an array of arrays: the first holds the names, the others each a row;
/// - any number of such objects without an array around them, one to a line as a rule;
/// - an object whose every value is one of the first two: collections by their names;
/// - an object of the form of a file, "format", which goes to `makeWriter`, and then "records": one
///   of the others with an array or object around them.
///
/// A value is a text; or a number, which becomes its own text, as it is written (a whole -0 is 0);
/// or true and false, which become "True" and "False"; or null, by the style. No row at all, an
/// empty input included, is an empty collection.
///
/// ConversionError, with the place, for JSON that is not well formed, for any other shape, for a
/// row whose names differ from the header's or come twice, for more names than memory is promised
/// for, and for a RefusedValue of the writer. In bounded memory: a long value comes in pieces. Of a
/// row up to 16 MB are held that come in another order than in the first row; more is refused. The
/// first row of objects is read twice. Does not End the writer.
void ReadJson(const ReadAt& source, const JsonStyle& style, const WriterMaker& makeWriter);

}  // namespace brindlex::cli
