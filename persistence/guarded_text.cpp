#include "persistence/guarded_text.h"

#include <algorithm>

#include "environment/trap.h"

namespace brindlex {
namespace {

constexpr TextView kFieldEnd = u"contains the field end marker";
constexpr TextView kRecordEnd = u"contains the record end marker";
constexpr TextView kOuterMarker = u"contains a marker of the text around it";
constexpr TextView kDroppedBreak = u"begins with a line break, which a restore drops";
constexpr TextView kNotApart = u"stands before markers that cannot be told apart";

/// Where a run of `size` units that ends behind `from` may begin at the earliest, not before
/// `first`.
std::size_t Earliest(std::size_t from, std::size_t size, std::size_t first) {
  return from - std::min(from - first, size - 1);
}

}  // namespace

GuardedText::GuardedText(const Markers& markers, const Markers* around, TextBuilder& text,
                         std::size_t& reading)
    : markers_(markers),
      around_(around),
      text_(text),
      reading_(reading),
      droppedBreak_(Text(markers.recordEnd).append(u"\r\n")),
      record_(text.Size()),
      field_(text.Size()) {}

void GuardedText::AppendHeader(const std::vector<Text>& names) {
  for (reading_ = 0; reading_ < names.size(); ++reading_) {
    text_.Append(names[reading_]);
    EndField();
  }
  EndRecord();
}

void GuardedText::AppendRecord(const Object& object, MemberAccess& access, std::size_t count) {
  ++recordNumber_;
  StartRecord();
  for (reading_ = 0; reading_ < count; ++reading_) {
    access.AppendText(object, reading_, text_);
    EndField();
  }
  EndRecord();
}

void GuardedText::StartRecord() { record_ = field_ = text_.Size(); }

void GuardedText::EndField() {
  text_.AppendMarker(markers_.fieldEnd);
  const TextView fault = FaultOfField();
  if (!fault.empty()) Refuse(fault);
  field_ = text_.Size();
}

void GuardedText::EndRecord() {
  text_.AppendMarker(markers_.recordEnd);
  const TextView fault = FaultOfRecord();
  if (!fault.empty()) Refuse(fault);
}

TextView GuardedText::FaultOfField() const {
  const TextView text = text_.View();
  const std::size_t end = text.size() - markers_.fieldEnd.size();
  if (text.find(markers_.fieldEnd, field_) != end) return kFieldEnd;
  const std::size_t from = Earliest(field_, markers_.recordEnd.size(), record_);
  if (text.find(markers_.recordEnd, from) != TextView::npos) return kRecordEnd;
  if (HoldsOuterMarker(text.substr(field_, end - field_))) return kOuterMarker;
  if (HoldsDroppedBreak()) return kDroppedBreak;
  return {};
}

TextView GuardedText::FaultOfRecord() const {
  const TextView text = text_.View();
  const std::size_t end = text.size() - markers_.recordEnd.size();
  const std::size_t from = Earliest(field_, markers_.recordEnd.size(), record_);
  const bool endsEarlier = text.find(markers_.recordEnd, from) != end;
  // The names of a header are looked for up to and with its record end.
  const bool hasOneMore = text.find(markers_.fieldEnd, field_) != TextView::npos;
  return endsEarlier || hasOneMore || HoldsDroppedBreak() ? kNotApart : TextView();
}

bool GuardedText::HoldsOuterMarker(TextView value) const {
  return around_ != nullptr && (value.find(around_->fieldEnd) != TextView::npos ||
                                value.find(around_->recordEnd) != TextView::npos);
}

/// Whether the field, with what stands before it, brings in a break that the reader drops.
bool GuardedText::HoldsDroppedBreak() const {
  const std::size_t from = Earliest(field_, droppedBreak_.size(), 0);
  return text_.View().find(droppedBreak_, from) != TextView::npos;
}

void GuardedText::Refuse(TextView fault) const {
  Text description(recordNumber_ == 0 ? u"Member name " : u"Value ");
  description.append(fault);
  if (recordNumber_ != 0)
    description.append(u", record number ").append(DecimalText(recordNumber_));
  GoToHandler(std::move(description));
}

}  // namespace brindlex
