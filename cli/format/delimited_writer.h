#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/convert/table_target.h"
#include "cli/convert/table_writer.h"
#include "cli/format/layout.h"
#include "cli/format/marker_guard.h"
#include "cli/format/name_tables.h"

namespace brindlex::tool {

/// The form of a file that is to be written.
struct DelimitedForm {
  Encoding encoding;
  /// Markers in place of those of a text that stands alone.
  std::optional<MarkerPair> pair;
  bool hasByteOrderMark = false;
  /// Line breaks behind each record end, 0 to 3, as many as the component drops.
  int lineBreaks = 0;
};

/// The form that options ask for: that of the file `like`, when one is given, with what `format`
/// says in place of it. Without either windows-1252; UTF-16 has a byte order mark. Failure as
/// FindLayout.
DelimitedForm FormOf(const FormatOptions& format, const std::optional<std::string>& like);

/// Writes tables as the component would: a collection by itself, or named ones as one file of
/// several.
///
/// ConversionError, with the row and the name, for what the component would read back otherwise or
/// not at all: a value or name that holds a marker (inside a file of several any of the four), a
/// character that the encoding does not have, a record that begins with a line break, which is
/// dropped behind a record end; and for two collections of one name in any letter case. Failure
/// kUsage for named collections together with markers or line breaks, which are fixed there.
class DelimitedWriter : public TableTarget {
 public:
  DelimitedWriter(ByteSink sink, const DelimitedForm& form);

  void BeginNamed() override;
  void BeginCollection(std::string_view name) override;
  void Header(const std::vector<std::string>& names) override;
  void Row(const std::vector<std::string>& values, const std::string& where) override;
  void EndCollection() override;

  /// Nothing follows: hands over all that is left.
  void End();

 private:
  void Record(const std::vector<std::string>& values, const ByteMarkers& markers,
              const std::string& where);
  void CheckBeginning(const ByteMarkers& markers, const std::string& where) const;

  void HandOver(bool all = false);

  ByteSink sink_;
  const DelimitedForm form_;
  /// Of a file by itself, or the outer layer of one of several collections; and where records go.
  const ByteMarkers outer_;
  ByteMarkers markers_;
  bool isNamed_ = false;
  /// Names of the collections so far, and that of the present one as it is written.
  FoldedNameSet collections_;
  std::string name_;
  /// Nothing is written yet.
  bool isFirst_ = true;
  /// What no text may hold.
  MarkerGuard guard_;
  std::vector<std::string> names_;
  std::string record_;
  std::string buffer_;
};

}  // namespace brindlex::tool
