#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/format/named_collections.h"
#include "cli/format/table_writer.h"
#include "cli/format/tokenizer.h"

namespace brindlex::cli {

/// What a LossReport calls a line break that the component drops.
inline constexpr const char* kLostLineBreak = "a line break after a record end";
/// And a number of them that is not that of the other records.
inline constexpr const char* kLostLineBreaks =
    "a record end with more or fewer line breaks than the first";

/// For CollectionReader::ExpectLineBreaks and CopyTables.
inline constexpr int kAnyLineBreaks = -1;

/// Reads one collection as the caller asks for its records and values, so that several can be read
/// side by side. In bounded memory: a long value comes in pieces.
///
/// Only text that the component could have saved is read. ConversionError, with the byte and the
/// record, for anything else: records with more or fewer values than the header, text after the
/// last field end of a record, text after the last record end that is no tail, ill-formed
/// sequences, and more names than memory is promised for.
class CollectionReader {
 public:
  /// A piece of a value in UTF-8, valid until the next call of the reader.
  struct Piece {
    std::string_view text;
    bool isFirst = true;
    bool isLast = true;
  };

  /// `lossReport` gets the line breaks between records, which the component drops. It, the input
  /// and `progress` must outlive the reader.
  CollectionReader(const TableSource& source, LossReport& lossReport, Progress* progress = nullptr);

  /// So many line breaks between any two records are the form of the text and no loss; any other
  /// number of them is one, unless `count` is kAnyLineBreaks. To be called before the first record.
  void ExpectLineBreaks(int count) { expectedBreaks_ = count; }

  /// Reads the header; to be called first. False for an empty text, which has none.
  bool ReadHeader();

  /// The names of the header, and its offset.
  const std::vector<std::string>& Names() const { return names_; }
  std::uint64_t Offset() const { return start_; }

  /// Goes to the next record, of which every value must have been read; false after the last.
  bool NextRecord();

  /// The next piece of the record. A record has as many values as there are names.
  Piece NextPiece() {
    std::string_view field;
    if (hasFirst_ || isWithinValue_ || !tokenizer_.TakePlainField(field)) return NextOfAnyKind();
    ++column_;
    return {field};
  }

  /// The bytes of the record without its record end, when all its values have been read.
  Extent RecordExtent() const { return ExtentOf(recordOffset_, tokenizer_.Offset()); }

  /// What messages call the record, such as "record 3".
  std::string Place() const;

 private:
  [[noreturn]] void Fail(std::uint64_t offset, const std::string& what) const;
  [[noreturn]] void FailCount(std::uint64_t offset, std::size_t count, bool isMore) const;
  Piece NextOfAnyKind();
  std::string_view Decode(const Token& token);
  bool TakeName(const Token& token);
  bool EndRecord();
  void NoteLineBreaks(const std::vector<std::uint64_t>& breaks);
  bool EndText(Token token);

  InputWindow window_;
  Tokenizer tokenizer_;
  Encoding encoding_;
  bool isAsciiSuperset_;
  std::string name_;
  LossReport& lossReport_;
  std::uint64_t start_;
  int expectedBreaks_ = 0;
  std::vector<std::string> names_;
  std::size_t nameBytes_ = 0;
  /// Records that were begun, and the offset of the last.
  std::uint64_t records_ = 0;
  std::uint64_t recordOffset_ = 0;
  /// Values of the record that were read.
  std::size_t column_ = 0;
  bool isWithinValue_ = false;
  /// The first token of a record.
  Token first_;
  bool hasFirst_ = false;
  std::string decoded_;
};

}  // namespace brindlex::cli
