#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "automation/field_views.h"
#include "automation/optional_text.h"
#include "automation/text.h"
#include "persistence/tokenized_records.h"

namespace brindlex {

/// The two markers of one layer of the delimited text. Neither is empty.
struct Markers {
  Text fieldEnd;
  Text recordEnd;
};

/// The markers of a single collection, and of the outer layer of a multi-collection text: yen sign
/// and capital ligature OE, codes 165 and 140 of Windows-1252.
Text DefaultFieldEnd();
Text DefaultRecordEnd();
Markers DefaultMarkers();

/// The markers of the inner layer of a multi-collection text: right guillemet and capital S with
/// caron, codes 187 and 138 of Windows-1252.
Markers InternalMarkers();

/// What editors and file writers put after a record end, and how many of them reading drops.
inline constexpr TextView kRecordBreak = u"\r\n";
inline constexpr int kMostRecordBreaks = 3;

/// `defaults`, each replaced by the caller's marker if there is one. Error 5 when a caller's marker
/// is empty, since it would end nothing, or the error of reading it.
Markers MarkersOr(Markers defaults, const OptionalText& recordEnd, const OptionalText& fieldEnd);

/// The items of a delimited text, from left to right.
///
/// The text after the last delimiter is dropped, so that a text that ends with its delimiter yields
/// exactly its items, and one delimiter alone yields one empty item. Items are views into the text,
/// found by exact comparison, in time linear in the text.
class DelimitedItems {
 public:
  /// Error 5 when `text` holds no delimiter at all (the empty text included). Both arguments must
  /// outlive the items.
  DelimitedItems(TextView text, TextView delimiter);

  /// The next item; false after the last.
  bool Next(TextView& item);

  /// True while Next has another item.
  bool More() const { return rest_.has_value(); }

 private:
  TextView delimiter_;
  std::optional<TextView> rest_;
};

/// Reads a delimited text record by record, each split into its fields.
///
/// The text after the last record end is dropped, and so is, in every record, the text after its
/// last field end. Up to three line breaks after a record end are skipped. Linear in the text.
class RecordParser {
 public:
  RecordParser(const RecordParser&) = delete;
  RecordParser& operator=(const RecordParser&) = delete;
  virtual ~RecordParser() = default;

  /// Moves to the next record, at first to the first; false after the last. Throws std::bad_alloc;
  /// the next call tries again.
  bool Next() { return records_.Next() || (Tokenize(records_) && records_.Next()); }

  /// True while Next has another record.
  bool More() const { return !records_.IsAtEnd() || !IsTokenized(); }

  /// True when the current record holds a field end.
  bool HasFields() const { return !records_.Fields().empty(); }

  /// The fields of the current record, valid until Next is called. Error 5 when the record holds no
  /// field end.
  const FieldViews& Fields() const {
    if (!HasFields()) ThrowNoFields();
    return records_.Fields();
  }

 protected:
  /// `fieldEnd` is the number of units that end a field.
  explicit RecordParser(std::size_t fieldEnd) : records_(fieldEnd) {}

 private:
  /// Puts the following records, at least one, into `records`, all of whose records are passed;
  /// false when there are none.
  virtual bool Tokenize(TokenizedRecords& records) = 0;

  /// True when the last record is tokenized.
  virtual bool IsTokenized() const = 0;

  [[noreturn]] static void ThrowNoFields();

  TokenizedRecords records_;
};

/// A parser of the records of `text`, into which their fields are views unless line breaks had to
/// be removed from a copy. Markers of one unit each, as usual, take the fast path: one pass and no
/// copy. Error 5 when `text` holds no record end (the empty text included). Both arguments must
/// outlive the parser.
std::unique_ptr<RecordParser> ParseRecords(TextView text, const Markers& markers);
std::unique_ptr<RecordParser> ParseRecords(Text&& temporary, const Markers& markers) = delete;
std::unique_ptr<RecordParser> ParseRecords(TextView text, Markers&& temporary) = delete;

/// `text` without the line breaks that editors and file writers put after record ends: up to three
/// CR LF pairs after each `recordEnd`. Line breaks elsewhere are data. The result is `text` itself
/// when there is nothing to drop; otherwise it is a view of `storage`, which receives the new text.
TextView StripRecordBreaks(TextView text, TextView recordEnd, Text& storage);

/// The field names in the text up to the first record end, each ended by a field end, or nothing
/// when that record end is missing or is before the third character. The views are into `text`.
std::optional<std::vector<TextView>> HeaderNames(TextView text, const Markers& markers);

}  // namespace brindlex
