#include "persistence/record_writer.h"

#include <algorithm>
#include <bit>

#include "environment/trap.h"

namespace brindlex {
namespace {

constexpr TextView kFieldEnd = u"contains the field end marker";
constexpr TextView kRecordEnd = u"contains the record end marker";
constexpr TextView kOuterMarker = u"contains a marker of the text around it";
constexpr TextView kDroppedBreak = u"begins with a line break, which a restore drops";
constexpr TextView kNotApart = u"stands before markers that cannot be told apart";

/// The least offset, but not below `first`, at which `size` units begin that reach past `from`.
std::size_t Earliest(std::size_t from, std::size_t size, std::size_t first) {
  return from - std::min(from - first, size - 1);
}

}  // namespace

void PlainRecordWriter::AppendHeader(std::span<const Text> names) {
  for (const Text& name : names) {
    text_.Append(name);
    text_.AppendMarker(markers_.fieldEnd);
  }
  text_.AppendMarker(markers_.recordEnd);
}

void PlainRecordWriter::AppendRecord(const Object& object, MemberAccess& access) {
  access.AppendTexts(object, markers_.fieldEnd, text_, reading_);
  text_.AppendMarker(markers_.recordEnd);
}

void PlainRecordWriter::AppendRecord(std::span<const TextView> values) {
  for (const TextView value : values) {
    text_.Append(value);
    text_.AppendMarker(markers_.fieldEnd);
  }
  text_.AppendMarker(markers_.recordEnd);
}

ValidatingRecordWriter::ValidatingRecordWriter(const Markers& markers, const Markers* around,
                                               TextBuilder& text, std::size_t& reading)
    : markers_(markers),
      around_(around),
      text_(text),
      reading_(reading),
      droppedBreak_(Text(markers.recordEnd).append(u"\r\n")),
      record_(text.Size()),
      field_(text.Size()) {}

template <class Append>
void ValidatingRecordWriter::AppendFields(std::size_t count, Append&& append) {
  record_ = field_ = text_.Size();
  for (reading_ = 0; reading_ < count; ++reading_) {
    append(reading_);
    EndField();
  }
  EndRecord();
}

void ValidatingRecordWriter::AppendHeader(std::span<const Text> names) {
  AppendFields(names.size(), [&](std::size_t index) { text_.Append(names[index]); });
}

void ValidatingRecordWriter::AppendRecord(const Object& object, MemberAccess& access) {
  ++recordNumber_;
  AppendFields(access.Count(), [&](std::size_t index) { access.AppendText(object, index, text_); });
}

void ValidatingRecordWriter::AppendRecord(std::span<const TextView> values) {
  ++recordNumber_;
  AppendFields(values.size(), [&](std::size_t index) { text_.Append(values[index]); });
}

void ValidatingRecordWriter::EndField() {
  text_.AppendMarker(markers_.fieldEnd);
  const TextView fault = FaultOfField();
  if (!fault.empty()) Refuse(fault);
  field_ = text_.Size();
}

void ValidatingRecordWriter::EndRecord() {
  text_.AppendMarker(markers_.recordEnd);
  const TextView fault = FaultOfRecord();
  if (!fault.empty()) Refuse(fault);
}

TextView ValidatingRecordWriter::FaultOfField() const {
  const TextView text = text_.View();
  const std::size_t end = text.size() - markers_.fieldEnd.size();
  if (text.find(markers_.fieldEnd, field_) != end) return kFieldEnd;
  const std::size_t from = Earliest(field_, markers_.recordEnd.size(), record_);
  if (text.find(markers_.recordEnd, from) != TextView::npos) return kRecordEnd;
  if (HoldsOuterMarker(text.substr(field_, end - field_))) return kOuterMarker;
  if (HoldsDroppedBreak()) return kDroppedBreak;
  return {};
}

TextView ValidatingRecordWriter::FaultOfRecord() const {
  const TextView text = text_.View();
  const std::size_t end = text.size() - markers_.recordEnd.size();
  const std::size_t from = Earliest(field_, markers_.recordEnd.size(), record_);
  const bool endsEarlier = text.find(markers_.recordEnd, from) != end;
  // The names of a header are looked for up to and with its record end.
  const bool hasOneMore = text.find(markers_.fieldEnd, field_) != TextView::npos;
  return endsEarlier || hasOneMore || HoldsDroppedBreak() ? kNotApart : TextView();
}

bool ValidatingRecordWriter::HoldsOuterMarker(TextView value) const {
  return around_ != nullptr && (value.find(around_->fieldEnd) != TextView::npos ||
                                value.find(around_->recordEnd) != TextView::npos);
}

/// Whether the field, together with the text before it, makes a break that the reader drops.
bool ValidatingRecordWriter::HoldsDroppedBreak() const {
  const std::size_t from = Earliest(field_, droppedBreak_.size(), 0);
  return text_.View().find(droppedBreak_, from) != TextView::npos;
}

void ValidatingRecordWriter::Refuse(TextView fault) const {
  Text description(recordNumber_ == 0 ? u"Member name " : u"Value ");
  description.append(fault);
  if (recordNumber_ != 0) {
    description.append(u", record number ").append(DecimalText(recordNumber_));
  }
  GoToHandler(std::move(description));
}

void HintSize(std::int32_t count, std::int32_t written, TextBuilder& text) {
  constexpr std::int32_t kFirst = 8;
  const auto seen = static_cast<std::uint32_t>(written / kFirst);
  if (written % kFirst != 0 || !std::has_single_bit(seen)) return;
  // Records often get longer, as their numbers do. Room that is never written to costs little;
  // moving a text that is nearly complete costs as much as writing it.
  constexpr std::uint64_t kMost = 1'000'000'000;
  const std::uint64_t size = std::min<std::uint64_t>(text.Size(), kMost);
  const std::uint64_t alike =
      size * static_cast<std::uint32_t>(count) / static_cast<std::uint32_t>(written);
  const std::uint64_t expected = alike * 6 / 5;
  text.SetSizeHint(static_cast<std::size_t>(std::min(expected, kMost)));
}

}  // namespace brindlex
