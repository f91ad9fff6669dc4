#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "automation/field_views.h"
#include "automation/optional_text.h"
#include "automation/text.h"
#include "automation/text_builder.h"

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

/// `Default` markers with those that the caller gave in their place. Error 5 when a given marker is
/// empty, since nothing could be told apart by it, or what reading it gave.
Markers MarkersOr(Markers defaults, const OptionalText& recordEnd, const OptionalText& fieldEnd);

/// The items of a delimited text, one after the other.
///
/// The text behind the last delimiter is dropped, so that a text that ends with its delimiter
/// yields exactly its items, and one delimiter alone yields one empty item. Items are views into
/// the text, found from left to right by exact comparison; the walk is linear in the text.
class DelimitedItems {
 public:
  /// Error 5 when `text` holds no delimiter at all (the empty text included). Both arguments must
  /// outlive the walk.
  DelimitedItems(TextView text, TextView delimiter);

  /// The next item; false behind the last.
  bool Next(TextView& item);

  /// True while Next has another item.
  bool More() const { return rest_.has_value(); }

 private:
  TextView delimiter_;
  std::optional<TextView> rest_;
};

/// The records of a delimited text, each cut into its fields.
///
/// What stands behind the last record end is dropped, and so is, in every record, what stands
/// behind its last field end. Up to three line breaks behind a record end are passed over.
class RecordWalk {
 public:
  RecordWalk() = default;
  RecordWalk(const RecordWalk&) = delete;
  RecordWalk& operator=(const RecordWalk&) = delete;
  virtual ~RecordWalk() = default;

  /// Goes to the next record, the first at first; false behind the last.
  bool Next() {
    fields_ = {};
    if (listed_.empty() && !ListMore()) return false;
    Place* const end = listed_.front();
    fields_ = {record_, static_cast<std::size_t>(end - record_) - 1, marker_};
    record_ = end;
    listed_ = listed_.subspan(1);
    return true;
  }

  /// True while Next has another record.
  bool More() const { return !listed_.empty() || !IsListed(); }

  /// True when the record that the walk is at holds a field end.
  bool HasFields() const { return !fields_.empty(); }

  /// The fields of the record that the walk is at, valid until Next is called. Error 5 when the
  /// record holds no field end.
  const FieldViews& Fields() const {
    if (!HasFields()) ThrowNoFields();
    return fields_;
  }

 protected:
  using Place = const char16_t*;

  explicit RecordWalk(std::size_t marker) : marker_(marker) {}

  /// Goes on with records that are listed one behind the other: from `record` on the places where
  /// the fields of the first start, behind them the place behind its last field, and then those of
  /// the next. `ends` are where the places of a record end and those of the next begin.
  void SetRecords(Place* record, std::span<Place* const> ends) noexcept {
    record_ = record;
    listed_ = ends;
  }

  /// Where the places begin of the record behind those that were listed.
  Place* Record() const noexcept { return record_; }

 private:
  /// Sets records, at least one, when all that were listed are passed; false when there are none.
  virtual bool ListMore() = 0;

  /// True when the last record is listed.
  virtual bool IsListed() const = 0;

  [[noreturn]] static void ThrowNoFields();

  FieldViews fields_;
  /// Units that end a field.
  std::size_t marker_ = 1;
  Place* record_ = nullptr;
  std::span<Place* const> listed_;
};

/// A walk over the records of `text`, to which the fields are views: one pass and no copy when each
/// marker is one unit, as usual. Error 5 when `text` holds no record end (the empty text included).
/// Both arguments must outlive the walk.
std::unique_ptr<RecordWalk> WalkRecords(TextView text, const Markers& markers);

/// `text` without the line breaks that editors and file writers put behind record ends: up to three
/// CR LF pairs behind each `recordEnd`. Line breaks elsewhere are data. The result is `text` itself
/// when there is nothing to drop; otherwise it is a view of `storage`, which receives the new text.
TextView StripRecordBreaks(TextView text, TextView recordEnd, Text& storage);

/// The field names that stand before the first record end, each ended by a field end, or nothing
/// when that record end is missing or comes before the third character. The views are into `text`.
std::optional<std::vector<TextView>> HeaderNames(TextView text, const Markers& markers);

/// Appends the header record that names `names`.
void AppendHeader(const std::vector<Text>& names, const Markers& markers, TextBuilder& text);

/// Tells `text`, which holds `written` records, how long it will be with `count` of them, as far as
/// the records are alike: at the eighth, and again whenever there are eight times as many.
void ExpectRecords(std::int32_t count, std::int32_t written, TextBuilder& text);

}  // namespace brindlex
