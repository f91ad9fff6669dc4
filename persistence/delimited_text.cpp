#include "persistence/delimited_text.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "automation/runtime_error.h"
#include "persistence/marker_scan.h"

namespace brindlex {
namespace {

constexpr TextView kLineBreak = u"\r\n";

Text GivenMarker(TextView marker) {
  if (marker.empty()) throw RuntimeError(error_number::kInvalidCall);
  return Text(marker);
}

}  // namespace

Markers DefaultMarkers() { return {u"\u00A5", u"\u0152"}; }

Markers InternalMarkers() { return {u"\u00BB", u"\u0160"}; }

Markers MarkersOr(Markers defaults, const OptionalText& recordEnd, const OptionalText& fieldEnd) {
  if (recordEnd.Read()) defaults.recordEnd = GivenMarker(*recordEnd.Read());
  if (fieldEnd.Read()) defaults.fieldEnd = GivenMarker(*fieldEnd.Read());
  return defaults;
}

DelimitedItems::DelimitedItems(TextView text, TextView delimiter) : delimiter_(delimiter) {
  const std::size_t last = text.rfind(delimiter);
  if (last == TextView::npos) throw RuntimeError(error_number::kInvalidCall);
  rest_ = text.substr(0, last);
}

bool DelimitedItems::Next(TextView& item) {
  if (!rest_) return false;
  const std::size_t end = rest_->find(delimiter_);
  item = rest_->substr(0, end);
  if (end == TextView::npos) {
    rest_.reset();
  } else {
    rest_->remove_prefix(end + delimiter_.size());
  }
  return true;
}

TextView StripRecordBreaks(TextView text, TextView recordEnd, Text& storage) {
  const Text oneBreak = Text(recordEnd).append(kLineBreak);
  if (text.find(oneBreak) == TextView::npos) return text;
  const Text twoBreaks = Text(oneBreak).append(kLineBreak);
  storage = ReplaceAll(ReplaceAll(text, twoBreaks, recordEnd), oneBreak, recordEnd);
  return storage;
}

const std::vector<TextView>& RecordWalk::Fields() const {
  if (!HasFields()) throw RuntimeError(error_number::kInvalidCall);
  return fields_;
}

namespace {

/// `text` up to and with its last `recordEnd`. Error 5 when it holds none.
TextView WithoutRest(TextView text, TextView recordEnd) {
  const std::size_t last = text.rfind(recordEnd);
  if (last == TextView::npos) throw RuntimeError(error_number::kInvalidCall);
  return text.substr(0, last + recordEnd.size());
}

/// For markers of one unit each: both are found in the same pass.
class OnePassWalk : public RecordWalk {
 public:
  OnePassWalk(TextView text, char16_t fieldEnd, char16_t recordEnd)
      : OnePassWalk(WithoutRest(text, {&recordEnd, 1}), fieldEnd) {}

  bool Next() override {
    std::vector<TextView>& fields = Record();
    fields.clear();
    if (!More()) return false;
    const char16_t* marker = scan_.Next();
    while (*marker == fieldEnd_) {
      fields.emplace_back(at_, static_cast<std::size_t>(marker - at_));
      at_ = marker + 1;
      marker = scan_.Next();
    }
    at_ = BehindBreaks(marker + 1);
    return true;
  }

  bool More() const override { return at_ != end_; }

 private:
  OnePassWalk(TextView text, char16_t fieldEnd)
      : scan_(text, fieldEnd, text.back()),
        at_(text.data()),
        end_(text.data() + text.size()),
        fieldEnd_(fieldEnd) {}

  const char16_t* BehindBreaks(const char16_t* at) const noexcept {
    constexpr int kMost = 3;
    for (int passed = 0; passed < kMost; ++passed) {
      // The last unit of all is a record end, which begins no break.
      const bool isBreak = at != end_ && at[0] == kLineBreak[0] && at[1] == kLineBreak[1];
      if (!isBreak) break;
      at += kLineBreak.size();
    }
    return at;
  }

  MarkerScan<FastestMatch> scan_;
  const char16_t* at_;
  const char16_t* end_;
  char16_t fieldEnd_;
};

/// For markers of any length, which may begin alike or hold line breaks: step by step.
class StepwiseWalk : public RecordWalk {
 public:
  StepwiseWalk(TextView text, const Markers& markers)
      : markers_(markers),
        records_(StripRecordBreaks(text, markers.recordEnd, stripped_), markers.recordEnd) {}

  bool Next() override {
    std::vector<TextView>& fields = Record();
    fields.clear();
    TextView record;
    if (!records_.Next(record)) return false;
    if (record.find(markers_.fieldEnd) == TextView::npos) return true;
    DelimitedItems items(record, markers_.fieldEnd);
    for (TextView field; items.Next(field);) fields.push_back(field);
    return true;
  }

  bool More() const override { return records_.More(); }

 private:
  const Markers& markers_;
  Text stripped_;
  DelimitedItems records_;
};

bool AreOnePass(const Markers& markers) {
  const auto isPlain = [](TextView marker) {
    return marker.size() == 1 && kLineBreak.find(marker) == TextView::npos;
  };
  return isPlain(markers.fieldEnd) && isPlain(markers.recordEnd) &&
         markers.fieldEnd != markers.recordEnd;
}

}  // namespace

std::unique_ptr<RecordWalk> WalkRecords(TextView text, const Markers& markers) {
  if (!AreOnePass(markers)) return std::make_unique<StepwiseWalk>(text, markers);
  return std::make_unique<OnePassWalk>(text, markers.fieldEnd.front(), markers.recordEnd.front());
}

std::optional<std::vector<TextView>> HeaderNames(TextView text, const Markers& markers) {
  constexpr std::size_t kThirdCharacter = 2;
  const std::size_t recordEnd = text.find(markers.recordEnd);
  if (recordEnd == TextView::npos || recordEnd < kThirdCharacter) return std::nullopt;
  TextView rest = text.substr(0, recordEnd + markers.recordEnd.size());
  std::vector<TextView> names;
  for (std::size_t end = rest.find(markers.fieldEnd); end != TextView::npos;
       end = rest.find(markers.fieldEnd)) {
    names.push_back(rest.substr(0, end));
    rest.remove_prefix(end + markers.fieldEnd.size());
  }
  return names;
}

void AppendHeader(const std::vector<Text>& names, const Markers& markers, TextBuilder& text) {
  for (const Text& name : names) {
    text.Append(name);
    text.Append(markers.fieldEnd);
  }
  text.Append(markers.recordEnd);
}

void ExpectRecords(std::int32_t count, std::int32_t written, TextBuilder& text) {
  constexpr std::int32_t kFirst = 8;
  const auto seen = static_cast<std::uint32_t>(written / kFirst);
  if (written % kFirst != 0 || !std::has_single_bit(seen)) return;
  // Records often get longer, as their numbers do. Room that is never written to costs little;
  // moving a text that is nearly whole costs as much as writing it.
  constexpr double kMargin = 1.2;
  const double expected = kMargin * count * static_cast<double>(text.Size()) / written;
  constexpr double kMost = 1.0e9;
  text.Expect(static_cast<std::size_t>(std::min(expected, kMost)));
}

}  // namespace brindlex
