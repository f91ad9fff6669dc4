#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/format/delimited_form.h"
#include "cli/format/name_tables.h"
#include "cli/format/table_writer.h"
#include "cli/format/value_encoder.h"

namespace brindlex::cli {

/// Writes tables as the component would: a single collection, or named ones as a file of several.
///
/// A RefusedValue for what would be read back differently or not at all: a value or name that holds
/// a marker (in a file of several any of the four), a character that the encoding lacks, a record
/// that starts with a line break, which reading drops. A ConversionError for two collections of one
/// name in any letter case, and for a file that would be read in another encoding, with other
/// markers, or as several collections in place of one, unless the form says that. UsageError for
/// named collections together with markers or line breaks of one's own.
class DelimitedWriter : public BufferedWriter {
 public:
  DelimitedWriter(ByteHandler writeBytes, const DelimitedForm& form);

  void BeginNamed() override;
  void BeginCollection(std::string_view name) override;
  void Header(const std::vector<std::string>& names, std::uint64_t offset) override;
  void BeginRow() override;
  void Value(std::string_view piece, bool isFirst, bool isLast) override;
  void EndRow() override;
  void EndCollection() override;
  void End() override;

 private:
  void CheckDetection() const;
  void BeginRecord();
  void EndRecord();
  void AppendValue(std::string_view piece, bool isLast);
  void CheckStart();
  void CheckWholeRecord();
  void NoteReading(std::string_view piece, bool isFirst, bool isLast);
  [[noreturn]] void Refuse(const std::string& problem, bool isAboutValue = true) const;

  const DelimitedForm form_;
  /// Of a single collection or the outer layer; and where rows go.
  const ByteMarkers outer_;
  ByteMarkers markers_;
  ValueEncoder encoder_;
  /// Pairs of markers that no value may hold.
  std::size_t layers_ = 1;
  bool isNamed_ = false;
  /// Names of the collections so far, and that of the present one as it is written.
  FoldedNameSet collections_;
  ByteBuffer collectionName_;
  std::vector<std::string> names_;

  /// What is written so far, as much as a format is detected from.
  std::string head_;

  // The present record: where it and its value start in the buffer, and its field ends if its
  // markers can only be checked on whole records.
  bool checksWholeRecords_;
  std::size_t record_ = 0;
  std::size_t value_ = 0;
  std::size_t column_ = 0;
  std::vector<std::size_t> ends_;
  bool isStartChecked_ = false;
  /// A record end comes before it; and line breaks that are not written yet.
  bool followsRecord_;
  int pendingBreaks_ = 0;

  // Whether a single collection would be read as several: the columns say so, and every DataString
  // so far is empty or starts with a header in inner markers.
  std::optional<NamedColumns> namedColumns_;
  bool hasInnerFieldEnd_ = false;
  bool hasInnerHeader_ = false;
};

}  // namespace brindlex::cli
