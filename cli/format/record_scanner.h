#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cli/format/tokenizer.h"

namespace brindlex::cli {

/// One record as it is in a file, valid or malformed.
struct ScannedRecord {
  /// 0 is the header.
  std::uint64_t number = 0;
  /// With the dropped line breaks before it and with its record end.
  Extent whole;
  /// Of its first byte, without those.
  std::uint64_t offset = 0;
  /// The first ones, as many as were asked for, with their first bytes; and how many it has.
  std::vector<Extent> fields;
  std::vector<std::string> bytes;
  std::uint64_t fieldCount = 0;
  /// What follows the last field end; empty, and at its offset, if there is nothing.
  Extent rest;
  /// False for a last one without a record end.
  bool hasEnd = true;

  /// Whether the component would restore it under a header of `count` names as it was saved.
  bool IsValid(std::uint64_t count) const {
    return hasEnd && rest.length == 0 && fieldCount == count;
  }
};

/// Reads the records of a text one by one, in bounded memory: of a record no more than `mostFields`
/// fields are kept, of a field no more than `mostBytes` bytes (none for 0), and 16 MB in all.
class RecordScanner {
 public:
  /// `tokenizer`, at the start of its text, must outlive it.
  RecordScanner(Tokenizer& tokenizer, std::size_t mostFields, std::size_t mostBytes)
      : tokenizer_(tokenizer), mostFields_(mostFields), mostBytes_(mostBytes) {}

  /// The next record; false after the last. A tail of the text is no record.
  bool Next(ScannedRecord& record);

  /// After the last record: what follows its end and is no record.
  const Extent& Tail() const { return tail_; }

 private:
  void Keep(const Token& token, ScannedRecord& record);

  Tokenizer& tokenizer_;
  std::size_t mostFields_;
  std::size_t mostBytes_;
  std::uint64_t number_ = 0;
  std::size_t kept_ = 0;
  Extent tail_;
};

}  // namespace brindlex::cli
