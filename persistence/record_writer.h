#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "automation/object.h"
#include "automation/text.h"
#include "automation/text_builder.h"
#include "persistence/delimited_text.h"

namespace brindlex {

/// Appends a header and records to a delimited text.
class RecordWriter {
 public:
  RecordWriter() = default;
  RecordWriter(const RecordWriter&) = delete;
  RecordWriter& operator=(const RecordWriter&) = delete;

  /// Appends the header record that names `names`. To be called once, before the records.
  virtual void AppendHeader(std::span<const Text> names) = 0;

  /// Appends the values of all members of `access` as a record. Throws as
  /// MemberAccess::AppendTexts.
  virtual void AppendRecord(const Object& object, MemberAccess& access) = 0;

  /// Appends a record of `values`.
  virtual void AppendRecord(std::span<const TextView> values) = 0;

 protected:
  ~RecordWriter() = default;
};

/// Writes values as they are.
class PlainRecordWriter final : public RecordWriter {
 public:
  /// All must outlive it. `reading` is kept at the index of the member that is being written.
  PlainRecordWriter(const Markers& markers, TextBuilder& text, std::size_t& reading)
      : markers_(markers), text_(text), reading_(reading) {}

  void AppendHeader(std::span<const Text> names) override;
  void AppendRecord(const Object& object, MemberAccess& access) override;
  void AppendRecord(std::span<const TextView> values) override;

 private:
  const Markers& markers_;
  TextBuilder& text_;
  std::size_t& reading_;
};

/// Writes a text of which everything is read back as it was: the first value or name that would be
/// read as something else sends the procedure to its handler, with a description that gives the
/// reason and, for a value, the number of the record, counted from 1.
///
/// It applies the reader's own rule, which finds markers from left to right. So it also refuses a
/// value that makes a marker together with the one that follows, markers that cannot be told apart,
/// and a line break that the reader would drop after a record end. Its time is linear in the text,
/// for markers of bounded length.
class ValidatingRecordWriter final : public RecordWriter {
 public:
  /// As PlainRecordWriter. `around` are the markers of the layer in which the text will be a value,
  /// null when it stands alone; values may not hold them either.
  ValidatingRecordWriter(const Markers& markers, const Markers* around, TextBuilder& text,
                         std::size_t& reading);

  void AppendHeader(std::span<const Text> names) override;
  void AppendRecord(const Object& object, MemberAccess& access) override;
  void AppendRecord(std::span<const TextView> values) override;

 private:
  /// Appends `count` fields, each by `append(index)`, as a record.
  template <class Append>
  void AppendFields(std::size_t count, Append&& append);
  void EndField();
  void EndRecord();
  TextView FaultOfField() const;
  TextView FaultOfRecord() const;
  bool HoldsOuterMarker(TextView value) const;
  bool HoldsDroppedBreak() const;
  [[noreturn]] void Refuse(TextView fault) const;

  const Markers& markers_;
  const Markers* around_;
  TextBuilder& text_;
  std::size_t& reading_;
  /// A record end followed by a line break, which the reader drops.
  const Text droppedBreak_;
  /// Offsets at which the record and the field begin.
  std::size_t record_;
  std::size_t field_;
  /// 0 is the header.
  std::int32_t recordNumber_ = 0;
};

/// Estimates the size of `text` with `count` records from the `written` ones that it holds, as if
/// all were alike, and passes it on as a size hint: at the eighth record, and whenever there are
/// eight times as many.
void HintSize(std::int32_t count, std::int32_t written, TextBuilder& text);

}  // namespace brindlex
