#include "persistence/delimited_text.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "automation/runtime_error.h"
#include "persistence/marker_scan.h"

namespace brindlex {
namespace {

Text CheckedMarker(TextView marker) {
  if (marker.empty()) throw RuntimeError(error_number::kInvalidCall);
  return Text(marker);
}

}  // namespace

Text DefaultFieldEnd() { return u"\u00A5"; }

Text DefaultRecordEnd() { return u"\u0152"; }

Markers DefaultMarkers() { return {DefaultFieldEnd(), DefaultRecordEnd()}; }

Markers InternalMarkers() { return {u"\u00BB", u"\u0160"}; }

Markers MarkersOr(Markers defaults, const OptionalText& recordEnd, const OptionalText& fieldEnd) {
  if (recordEnd.Read()) defaults.recordEnd = CheckedMarker(*recordEnd.Read());
  if (fieldEnd.Read()) defaults.fieldEnd = CheckedMarker(*fieldEnd.Read());
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
  const Text oneBreak = Text(recordEnd).append(kRecordBreak);
  if (text.find(oneBreak) == TextView::npos) return text;
  const Text twoBreaks = Text(oneBreak).append(kRecordBreak);
  storage = ReplaceAll(ReplaceAll(text, twoBreaks, recordEnd), oneBreak, recordEnd);
  return storage;
}

void RecordParser::ThrowNoFields() { throw RuntimeError(error_number::kInvalidCall); }

namespace {

/// `text` up to and including its last `recordEnd`. Error 5 when it holds none.
TextView UpToLast(TextView recordEnd, TextView text) {
  const std::size_t last = text.rfind(recordEnd);
  if (last == TextView::npos) throw RuntimeError(error_number::kInvalidCall);
  return text.substr(0, last + recordEnd.size());
}

/// The fast path, for markers of one unit each: both are found in the same pass.
class FastRecordParser final : public RecordParser {
 public:
  FastRecordParser(TextView text, char16_t fieldEnd, char16_t recordEnd)
      : FastRecordParser(UpToLast({&recordEnd, 1}, text), fieldEnd) {}

 private:
  using Scan = MarkerScan<FastestMatcher>;
  using Position = TokenizedRecords::Position;
  static constexpr std::size_t kFirstRoom = 2 * Scan::kRoom;

  FastRecordParser(TextView text, char16_t fieldEnd)
      : RecordParser(1),
        scan_(text, fieldEnd, text.back()),
        end_(text.data() + text.size()),
        fieldEnd_(fieldEnd) {
    starts_[0] = text.data();
  }

  bool IsTokenized() const override { return scan_.IsAtEnd(); }

  bool Tokenize(TokenizedRecords& records) override {
    if (IsTokenized()) return false;
    DropPassed(records);
    // The text ends with a record end, so there is one.
    std::size_t count = 0;
    while (count == 0) {
      if (room_ - listed_ < Scan::kRoom) Grow();
      Position* const first = starts_.get() + listed_;
      Position* const last = scan_.List(first);
      listed_ = static_cast<std::size_t>(last - starts_.get());
      count = FindEnds(first, last);
    }
    for (std::size_t number = 0; number < count; ++number) SkipBreaks(*ends_[number]);
    records.Set(starts_.get(), {ends_.data(), count});
    return true;
  }

  void Grow() {
    auto larger = std::make_unique_for_overwrite<Position[]>(2 * room_);
    std::copy_n(starts_.get(), listed_, larger.get());
    starts_ = std::move(larger);
    room_ *= 2;
  }

  /// Moves the positions of the record that is not tokenized to its end to the front.
  void DropPassed(TokenizedRecords& records) noexcept {
    Position* const front = starts_.get();
    Position* const rest = records.Rest() == nullptr ? front : records.Rest();
    listed_ -= static_cast<std::size_t>(rest - front);
    std::memmove(front, rest, listed_ * sizeof(Position));
    records.Set(front, {});
  }

  /// Fills ends_ with the positions after record ends and returns their number. Each position is
  /// written there and overwritten by the next one if it is none of them.
  std::size_t FindEnds(Position* first, const Position* last) noexcept {
    std::size_t count = 0;
    for (Position* position = first; position != last; ++position) {
      ends_[count] = position;
      count += (*position)[-1] != fieldEnd_ ? 1 : 0;
    }
    return count;
  }

  /// Moves `start`, of a record, past the line breaks there.
  void SkipBreaks(Position& start) const noexcept {
    // The last unit of all is a record end, which begins no break.
    for (int skipped = 0; skipped < kMostRecordBreaks && start != end_; ++skipped) {
      if (start[0] != kRecordBreak[0] || start[1] != kRecordBreak[1]) break;
      start += kRecordBreak.size();
    }
  }

  Scan scan_;
  const char16_t* end_;
  char16_t fieldEnd_;
  /// Positions where fields and records start, and their number: those of the stretch that was
  /// scanned last, and of the record that it began in.
  std::unique_ptr<Position[]> starts_ = std::make_unique_for_overwrite<Position[]>(kFirstRoom);
  std::size_t room_ = kFirstRoom;
  std::size_t listed_ = 1;
  /// Of these, the ones where a record starts.
  std::array<Position*, Scan::kRoom> ends_;
};

/// The general path, for markers of any length, which may begin alike or hold line breaks.
class GeneralRecordParser final : public RecordParser {
 public:
  GeneralRecordParser(TextView text, const Markers& markers)
      : RecordParser(markers.fieldEnd.size()),
        fieldEnd_(markers.fieldEnd),
        records_(StripRecordBreaks(text, markers.recordEnd, stripped_), markers.recordEnd) {}

 private:
  bool IsTokenized() const override { return !records_.More(); }

  bool Tokenize(TokenizedRecords& records) override {
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
    records.Set(starts_.data(), {&end_, 1});
    return true;
  }

  TextView fieldEnd_;
  Text stripped_;
  DelimitedItems records_;
  /// Where the fields of the record start.
  std::vector<TokenizedRecords::Position> starts_;
  TokenizedRecords::Position* end_ = nullptr;
};

/// Whether the fast path finds what the general path finds.
bool AllowFastPath(const Markers& markers) {
  const auto isPlain = [](TextView marker) {
    return marker.size() == 1 && kRecordBreak.find(marker) == TextView::npos;
  };
  return isPlain(markers.fieldEnd) && isPlain(markers.recordEnd) &&
         markers.fieldEnd != markers.recordEnd;
}

}  // namespace

std::unique_ptr<RecordParser> ParseRecords(TextView text, const Markers& markers) {
  if (!AllowFastPath(markers)) return std::make_unique<GeneralRecordParser>(text, markers);
  return std::make_unique<FastRecordParser>(text, markers.fieldEnd.front(),
                                            markers.recordEnd.front());
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

}  // namespace brindlex
