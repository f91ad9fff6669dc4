#pragma once

#include <cstddef>
#include <vector>

#include "automation/object.h"
#include "automation/text.h"
#include "automation/text_builder.h"
#include "persistence/delimited_text.h"

namespace brindlex {

/// Writes a delimited text of which nothing would be read back as something else: the first value
/// or name that would be sends the procedure to its handler, with a description that says why and,
/// for a value, the number of the record, counted from 1.
///
/// It looks at the text by the reader's own rule, markers being found from left to right, and so
/// also refuses a value that makes a marker together with the one behind it, markers that cannot be
/// told apart, and a line break that the reader would drop behind a record end. Its time is linear
/// in the text, for markers of bounded length.
class GuardedText {
 public:
  /// All must outlive it. `around` are the markers of the layer in which the text will be a value,
  /// null when it stands alone; values may not hold them either. `reading` is kept at the index of
  /// the member that is being written.
  GuardedText(const Markers& markers, const Markers* around, TextBuilder& text,
              std::size_t& reading);

  /// Appends the header record that names `names`, before any other record.
  void AppendHeader(const std::vector<Text>& names);

  /// Appends the values of the `count` members of `access` as a record. Throws as
  /// MemberAccess::AppendText.
  void AppendRecord(const Object& object, MemberAccess& access, std::size_t count);

 private:
  void StartRecord();
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
  /// A record end with a line break behind it, which the reader drops.
  const Text droppedBreak_;
  /// Where the record and the field begin.
  std::size_t record_;
  std::size_t field_;
  /// 0 is the header.
  std::int32_t recordNumber_ = 0;
};

}  // namespace brindlex
