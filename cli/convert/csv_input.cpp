#include "cli/convert/csv_input.h"

#include <algorithm>
#include <array>
#include <vector>

#include "cli/convert/csv_text.h"
#include "cli/format/name_tables.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

bool IsLineEnd(char byte) { return byte == '\r' || byte == '\n'; }

/// Makes rows of values.
class CsvRows {
 public:
  CsvRows(const CsvReading& reading, const WriterMaker& makeWriter)
      : reading_(reading), makeWriter_(makeWriter) {}

  void Value(std::string_view piece, bool isFirst, bool isLast) {
    if (reading_.guardFormulas && isFirst) piece = WithoutGuard(piece);
    if (rows_ == 0) {
      TakeName(piece, isFirst);
    } else if (count_ >= columns_) {
      TakeSurplus(piece, isFirst && isLast);
    } else if (count_ != formColumn_) {
      TakeValue(piece, isFirst, isLast);
    }
    if (isLast) ++count_;
  }

  void EndRow() {
    if (rows_ == 0) {
      TakeHeader();
    } else {
      if (count_ < columns_) TakeTooFew();
      if (count_ != columns_) {
        Drop();
      } else if (!names_.empty()) {
        WriteEnd();
      }
    }
    ++rows_;
    count_ = 0;
    row_.clear();
  }

  void Finish() {
    if (writer_ == nullptr) Begin(nullptr);
    writer_->EndCollection();
    if (dropped_ == 0) return;
    reading_.notice("left out: " + Counted(dropped_, "row") +
                    " with more or fewer values than the header's " + std::to_string(columns_) +
                    ", the first is row " + std::to_string(firstDropped_));
  }

  [[noreturn]] void Fail(const std::string& what) const {
    throw ConversionError(Place() + ": " + what);
  }

  /// The failure for a value or row that the writer refuses.
  [[noreturn]] void Refuse(const RefusedValue& refused) const {
    const bool isIllFormed = refused.problem == "is not UTF-8";
    throw ConversionError(
        refused.At(Place()) +
        (isIllFormed ? "; --input-encoding names its encoding, as windows-1252" : ""));
  }

 private:
  std::string Place() const { return "row " + std::to_string(rows_ + 1); }

  void Begin(const DelimitedForm* carried) {
    writer_ = &makeWriter_(carried);
    writer_->BeginCollection({});
  }

  void TakeName(std::string_view piece, bool isFirst) {
    if (isFirst) names_.emplace_back();
    names_.back() += piece;
    nameBytes_ += piece.size();
    if (IsHeaderTooLarge(names_.size(), nameBytes_)) Fail(kHeaderTooLarge);
  }

  void TakeHeader() {
    columns_ = formColumn_ = names_.size();
    std::optional<DelimitedForm> carried;
    for (std::size_t column = 0; column < columns_; ++column) {
      auto form = FormOfCsvName(names_[column]);
      if (!form) continue;
      if (carried) Fail("two columns carry the format of a file");
      carried = std::move(form);
      formColumn_ = column;
    }
    if (carried) names_.erase(names_.begin() + static_cast<std::ptrdiff_t>(formColumn_));
    Begin(carried ? &*carried : nullptr);
    if (!names_.empty()) writer_->Header(names_, 0);
  }

  void TakeValue(std::string_view piece, bool isFirst, bool isLast) {
    if (reading_.ragged == Ragged::kDrop) {
      if (isFirst) row_.emplace_back();
      row_.back() += piece;
      return;
    }
    if (isFirst && !isBegun_) BeginRow();
    writer_->Value(piece, isFirst, isLast);
  }

  void BeginRow() {
    isBegun_ = true;
    writer_->BeginRow();
  }

  void WriteEnd() {
    if (reading_.ragged == Ragged::kDrop) {
      BeginRow();
      for (const std::string& value : row_) writer_->Value(value, true, true);
    }
    isBegun_ = false;
    writer_->EndRow();
  }

  void TakeSurplus(std::string_view piece, bool isWhole) {
    if (reading_.ragged == Ragged::kDrop) return;
    const bool isEmpty = piece.empty() && isWhole;
    if (reading_.ragged == Ragged::kRefuse || !isEmpty)
      FailCount("more than " + Counted(columns_, "value"));
    // It is as if it were not there.
    --count_;
  }

  void TakeTooFew() {
    if (reading_.ragged == Ragged::kRefuse) FailCount(Counted(count_, "value"));
    if (reading_.ragged == Ragged::kPad) {
      while (count_ < columns_) Value({}, true, true);
    }
  }

  void Drop() {
    if (++dropped_ == 1) firstDropped_ = rows_ + 1;
  }

  [[noreturn]] void FailCount(const std::string& count) const {
    const bool isPadded = reading_.ragged == Ragged::kPad;
    throw ConversionError(Place() + " has " + count + ", the header " + std::to_string(columns_) +
                          (isPadded
                               ? "; --ragged drop leaves such rows out"
                               : "; --ragged pad fills missing values up, --ragged drop leaves "
                                 "such rows out"));
  }

  const CsvReading& reading_;
  const WriterMaker& makeWriter_;
  TableWriter* writer_ = nullptr;
  /// Of the header, once there is one, without the name that carries a form.
  std::vector<std::string> names_;
  std::size_t nameBytes_ = 0;
  /// Columns of the header, and the one that carries a form; as many as there are if none does.
  std::size_t columns_ = 0;
  std::size_t formColumn_ = 0;
  /// Values of the present row, and how many rows there were, the header included.
  std::size_t count_ = 0;
  std::uint64_t rows_ = 0;
  bool isBegun_ = false;
  /// The present row, if rows are dropped.
  std::vector<std::string> row_;
  std::uint64_t dropped_ = 0;
  std::uint64_t firstDropped_ = 0;
};

/// Divides a text into values.
class CsvParser {
 public:
  CsvParser(char delimiter, CsvRows& rows) : delimiter_(delimiter), rows_(rows) {}

  void Parse(std::string_view text) {
    while (!text.empty()) {
      switch (state_) {
        case State::kRow:
          text = BeginRow(text);
          break;
        case State::kValue:
          state_ = text.front() == '"' ? State::kQuoted : State::kPlain;
          text.remove_prefix(state_ == State::kQuoted ? 1 : 0);
          break;
        case State::kPlain:
          text = ReadPlain(text);
          break;
        case State::kQuoted:
          text = ReadQuoted(text);
          break;
        case State::kQuotationMark:
          text = AfterQuotationMark(text);
          break;
      }
    }
  }

  void Finish() {
    if (state_ == State::kQuoted) rows_.Fail("the quotation mark that opens a value is not closed");
    if (state_ != State::kRow) End('\n', {});
  }

 private:
  enum class State {
    /// Nothing of a row was read, or of a value.
    kRow,
    kValue,
    kPlain,
    kQuoted,
    /// After a quotation mark in a quoted value, which ends it or is the first of two.
    kQuotationMark,
  };

  std::string_view BeginRow(std::string_view text) {
    while (!text.empty() && IsLineEnd(text.front())) text.remove_prefix(1);
    if (!text.empty()) state_ = State::kValue;
    return text;
  }

  std::string_view ReadPlain(std::string_view text) {
    const std::size_t size = PlainCsvLength(text, delimiter_);
    const std::string_view piece = text.substr(0, size);
    if (size == text.size()) {
      Keep(piece);
      return {};
    }
    if (text[size] == '"') FailQuotationMark();
    End(text[size], piece);
    return text.substr(size + 1);
  }

  std::string_view ReadQuoted(std::string_view text) {
    const std::size_t size = std::min(text.find('"'), text.size());
    Keep(text.substr(0, size));
    if (size == text.size()) return {};
    state_ = State::kQuotationMark;
    return text.substr(size + 1);
  }

  std::string_view AfterQuotationMark(std::string_view text) {
    const char byte = text.front();
    if (byte == '"') {
      Keep("\"");
      state_ = State::kQuoted;
    } else if (byte == delimiter_ || IsLineEnd(byte)) {
      End(byte, {});
    } else {
      FailQuotationMark();
    }
    return text.substr(1);
  }

  [[noreturn]] void FailQuotationMark() {
    rows_.Fail("a quotation mark inside a value, which has none around it or goes on after them");
  }

  /// Keeps a piece of a value until its end is known, or it is long.
  void Keep(std::string_view piece) {
    kept_ += piece;
    constexpr std::size_t kLong = 65536;
    if (kept_.size() < kLong) return;
    rows_.Value(kept_, !isWithin_, /*isLast=*/false);
    isWithin_ = true;
    kept_.clear();
  }

  /// Ends a value with its last piece, and at a line end the row.
  void End(char byte, std::string_view piece) {
    if (kept_.empty()) {
      rows_.Value(piece, !isWithin_, /*isLast=*/true);
    } else {
      kept_ += piece;
      rows_.Value(kept_, !isWithin_, /*isLast=*/true);
      kept_.clear();
    }
    isWithin_ = false;
    state_ = byte == delimiter_ ? State::kValue : State::kRow;
    if (state_ == State::kRow) rows_.EndRow();
  }

  const char delimiter_;
  CsvRows& rows_;
  State state_ = State::kRow;
  std::string kept_;
  /// Some of the value was passed on.
  bool isWithin_ = false;
};

/// Counts what may be the delimiter in the header line.
class DelimiterCount {
 public:
  /// Takes more of the text; false if nothing more is needed.
  bool Take(std::string_view text) {
    // NOLINTNEXTLINE(readability-use-anyofallof): it counts on its way.
    for (const char byte : text) {
      if (byte == '"') isQuoted_ = !isQuoted_;
      if (isQuoted_) continue;
      if (IsLineEnd(byte) && isBegun_) return false;
      isBegun_ = isBegun_ || !IsLineEnd(byte);
      const std::size_t which = kDelimiters.find(byte);
      if (which != std::string_view::npos) ++counts_[which];
    }
    return true;
  }

  char Most() const {
    const auto* const most = std::max_element(counts_.begin(), counts_.end());
    return kDelimiters[static_cast<std::size_t>(most - counts_.begin())];
  }

 private:
  std::array<std::size_t, kDelimiters.size()> counts_{};
  bool isQuoted_ = false;
  bool isBegun_ = false;
};

std::string NoticeOf(char delimiter) {
  return std::string(delimiter == ';' ? "semicolons" : "tabs") +
         " separate the values, by the header line; --delimiter names another character";
}

/// Reads as much as the delimiter is detected from into `start`.
char DetectDelimiter(TextSource& text, std::string& start) {
  constexpr std::size_t kMost = std::size_t{256} * 1024;
  DelimiterCount count;
  while (start.size() < kMost) {
    const std::string_view block = text.Next();
    start += block;
    if (block.empty() || !count.Take(block)) break;
  }
  return count.Most();
}

}  // namespace

void ReadCsv(const ReadAt& source, const CsvReading& reading, const WriterMaker& makeWriter) {
  TextSource text(source, reading.encoding);
  std::string start;
  const char delimiter = reading.delimiter ? *reading.delimiter : DetectDelimiter(text, start);
  if (!reading.delimiter && delimiter != ',') reading.notice(NoticeOf(delimiter));
  CsvRows rows(reading, makeWriter);
  CsvParser parser(delimiter, rows);
  try {
    parser.Parse(start);
    for (std::string_view block = text.Next(); !block.empty(); block = text.Next()) {
      parser.Parse(block);
    }
    parser.Finish();
  } catch (const RefusedValue& refused) {
    rows.Refuse(refused);
  }
  rows.Finish();
}

}  // namespace brindlex::cli
