#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/format/file_format.h"
#include "cli/format/table_writer.h"

namespace brindlex::cli {

/// The form of a file that is to be written.
struct DelimitedForm {
  Encoding encoding = {};
  /// Markers in place of those of a single collection.
  std::optional<MarkerPair> pair = {};
  bool hasByteOrderMark = false;
  /// Line breaks after each record end, 0 to 3, as many as the component drops.
  int lineBreaks = 0;
  /// What follows the last record end in their place.
  std::optional<std::string> tail = {};
  /// The text of one collection of a file of several, in inner markers.
  bool isInner = false;
  /// How the file will be read, if the command line says so.
  Reading reading = Reading::kDetected;
  /// Whoever reads the file gives its encoding, markers and reading: it need not be detected.
  bool isGiven = false;
  /// By which options another form is chosen, for messages.
  Choice choice = Choice::kOwn;
};

/// The form that options ask for: that of the file `like` unless it is null, with what `options`
/// name in its place. Without either windows-1252; UTF-16 has a byte order mark. Fails as
/// DetectFormat.
DelimitedForm FormOf(const FormatOptions& options, Input* like = nullptr);

/// The form of `input`, which is in `format`; of one of its collections if `isOne`. Reads a stream
/// to its end.
DelimitedForm FormOfFile(Input& input, const FileFormat& format, bool isOne = false);

/// `form` with what `options` name in its place. Fails as DetectFormat.
DelimitedForm Overridden(DelimitedForm form, const FormatOptions& options);

/// One member of a form: its name and its value, in letters, digits, + and -. `isBare` are numbers,
/// true and false.
struct FormMember {
  std::string_view name;
  std::string value;
  bool isBare = false;
};

/// A form as text, by which SetFormMember makes the same form of a default one.
/// docs/tool-reference.md has the names.
std::vector<FormMember> MembersOf(const DelimitedForm& form);

/// Sets the member `name` of `form`. ConversionError for an unknown name or a value that it cannot
/// have.
void SetFormMember(DelimitedForm& form, std::string_view name, std::string_view value);

/// What readers of other formats call, once, before they write: makes the writer by the form that
/// the input carries, null if it carries none.
using WriterMaker = std::function<TableWriter&(const DelimitedForm* carried)>;

}  // namespace brindlex::cli
