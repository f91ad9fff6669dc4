#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/text/encoding.h"

namespace brindlex::tool {

/// Line breaks: those behind record ends, which belong to nothing, and those within values.
struct BreakCounts {
  std::uint64_t dropped = 0;
  std::uint64_t pairs = 0;
  std::uint64_t lineFeeds = 0;
  std::uint64_t carriageReturns = 0;

  BreakCounts& operator+=(const BreakCounts& other) {
    dropped += other.dropped;
    pairs += other.pairs;
    lineFeeds += other.lineFeeds;
    carriageReturns += other.carriageReturns;
    return *this;
  }
};

/// What one text holds, counted by the walk over it, whose sink this is.
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

  /// A new text begins; the counts of the last are gone.
  void Begin();

  void FieldPiece(std::string_view bytes, std::uint64_t at);
  void FieldEnd(std::uint64_t at);
  void RecordEnd(std::uint64_t at);
  void LineBreak(std::uint64_t) { ++breaks_.dropped; }

  /// Records, the header not included; those with a record end only.
  std::uint64_t Records() const { return record_ == 0 ? 0 : record_ - 1; }
  const std::vector<Column>& Columns() const { return columns_; }

  const BreakCounts& Breaks() const { return breaks_; }

 private:
  std::uint64_t CharactersOf(std::string_view bytes) const;
  void CountBreaks(std::string_view bytes);

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

}  // namespace brindlex::tool
