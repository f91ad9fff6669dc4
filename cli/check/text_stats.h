#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/format/tokenizer.h"
#include "cli/text/encoding.h"

namespace brindlex::cli {

/// Line breaks: those after record ends, which belong to nothing, and those within values.
struct BreakCounts {
  std::uint64_t dropped = 0;
  std::uint64_t pairs = 0;
  std::uint64_t lineFeeds = 0;
  std::uint64_t carriageReturns = 0;

  BreakCounts& operator+=(const BreakCounts& other);
};

/// Counts what one text holds, token by token.
class TextStats {
 public:
  struct Column {
    std::string name;
    /// In characters as the component counts them, units of UTF-16.
    std::uint64_t longest = 0;
    /// The record whose value that is.
    std::uint64_t longestRecord = 0;
    std::uint64_t empty = 0;
  };

  explicit TextStats(Encoding encoding) : encoding_(std::move(encoding)) {}

  void Take(const Token& token);

  /// Records that have a record end, without the header.
  std::uint64_t Records() const { return record_ == 0 ? 0 : record_ - 1; }
  const std::vector<Column>& Columns() const { return columns_; }
  const BreakCounts& Breaks() const { return breaks_; }

  /// The record, 0 in the header, and the field, from 0, that the next token belongs to.
  std::uint64_t Record() const { return record_; }
  std::size_t Field() const { return field_; }

 private:
  std::uint64_t CountCharacters(std::string_view bytes) const;
  void CountBreaks(std::string_view bytes);
  void TakeBytes(std::string_view bytes);
  void EndField();

  Encoding encoding_;
  std::vector<Column> columns_;
  BreakCounts breaks_;
  std::string nameBytes_;
  std::uint64_t record_ = 0;
  std::size_t field_ = 0;
  std::uint64_t length_ = 0;
  /// The last character of the field so far is a carriage return, which is counted already.
  bool endsInReturn_ = false;
};

}  // namespace brindlex::cli
