#include "persistence/delimited_text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
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

Text DefaultFieldEnd() { return u"\u00A5"; }

Text DefaultRecordEnd() { return u"\u0152"; }

Markers DefaultMarkers() { return {DefaultFieldEnd(), DefaultRecordEnd()}; }

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

void RecordWalk::ThrowNoFields() { throw RuntimeError(error_number::kInvalidCall); }

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

 private:
  using Scan = MarkerScan<FastestMatcher>;

  OnePassWalk(TextView text, char16_t fieldEnd)
      : scan_(text, fieldEnd, text.back()), end_(text.data() + text.size()), fieldEnd_(fieldEnd) {
    starts_.front() = text.data();
    SetRecords(starts_.data(), {});
  }

  bool IsListed() const override { return scan_.IsAtEnd(); }

  bool ListMore() override {
    if (IsListed()) return false;
    ForgetPassed();
    // The text ends with a record end, so there is one.
    std::size_t count = 0;
    while (count == 0) {
      if (starts_.size() - listed_ < Scan::kRoom) starts_.resize(2 * starts_.size());
      Place* const first = starts_.data() + listed_;
      Place* const behind = scan_.List(first);
      listed_ = static_cast<std::size_t>(behind - starts_.data());
      count = FindEnds(first, behind);
    }
    for (std::size_t number = 0; number < count; ++number) PassBreaks(*ends_[number]);
    SetRecords(starts_.data(), {ends_.data(), count});
    return true;
  }

  /// Moves what is listed of a record whose end is not to the front.
  void ForgetPassed() noexcept {
    Place* const front = starts_.data();
    listed_ -= static_cast<std::size_t>(Record() - front);
    std::memmove(front, Record(), listed_ * sizeof(Place));
    SetRecords(front, {});
  }

  /// Fills ends_ with the places behind record ends and returns how many they are. Each is written
  /// down, to be overwritten by the next when it is none.
  std::size_t FindEnds(Place* first, const Place* behind) noexcept {
    std::size_t count = 0;
    for (Place* place = first; place != behind; ++place) {
      ends_[count] = place;
      count += (*place)[-1] != fieldEnd_ ? 1 : 0;
    }
    return count;
  }

  /// Moves `start`, of a record, behind the line breaks that are there.
  void PassBreaks(Place& start) const noexcept {
    constexpr int kMost = 3;
    // The last unit of all is a record end, which begins no break.
    for (int passed = 0; passed < kMost && start != end_; ++passed) {
      if (start[0] != kLineBreak[0] || start[1] != kLineBreak[1]) break;
      start += kLineBreak.size();
    }
  }

  Scan scan_;
  const char16_t* end_;
  char16_t fieldEnd_;
  /// Places where fields and records start, and how many are listed: those of the stretch that was
  /// listed last, and of the record that it began in.
  std::vector<Place> starts_ = std::vector<Place>(2 * Scan::kRoom);
  std::size_t listed_ = 1;
  /// Of the places, those where a record starts.
  std::array<Place*, Scan::kRoom> ends_;
};

/// For markers of any length, which may begin alike or hold line breaks: step by step.
class StepwiseWalk : public RecordWalk {
 public:
  StepwiseWalk(TextView text, const Markers& markers)
      : RecordWalk(markers.fieldEnd.size()),
        fieldEnd_(markers.fieldEnd),
        records_(StripRecordBreaks(text, markers.recordEnd, stripped_), markers.recordEnd) {}

 private:
  bool IsListed() const override { return !records_.More(); }

  bool ListMore() override {
    TextView record;
    if (!records_.Next(record)) return false;
    starts_.assign({record.data()});
    if (record.find(fieldEnd_) != TextView::npos) {
      DelimitedItems items(record, fieldEnd_);
      for (TextView field; items.Next(field);) {
        starts_.push_back(field.data() + field.size() + fieldEnd_.size());
      }
    }
    end_ = starts_.data() + starts_.size();
    SetRecords(starts_.data(), {&end_, 1});
    return true;
  }

  TextView fieldEnd_;
  Text stripped_;
  DelimitedItems records_;
  /// Where the fields of the record start.
  std::vector<Place> starts_;
  Place* end_ = nullptr;
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
    text.AppendMarker(markers.fieldEnd);
  }
  text.AppendMarker(markers.recordEnd);
}

void ExpectRecords(std::int32_t count, std::int32_t written, TextBuilder& text) {
  constexpr std::int32_t kFirst = 8;
  const auto seen = static_cast<std::uint32_t>(written / kFirst);
  if (written % kFirst != 0 || !std::has_single_bit(seen)) return;
  // Records often get longer, as their numbers do. Room that is never written to costs little;
  // moving a text that is nearly whole costs as much as writing it.
  constexpr std::uint64_t kMost = 1'000'000'000;
  const std::uint64_t size = std::min<std::uint64_t>(text.Size(), kMost);
  const std::uint64_t alike =
      size * static_cast<std::uint32_t>(count) / static_cast<std::uint32_t>(written);
  const std::uint64_t expected = alike * 6 / 5;
  text.SetSizeHint(static_cast<std::size_t>(std::min(expected, kMost)));
}

}  // namespace brindlex
