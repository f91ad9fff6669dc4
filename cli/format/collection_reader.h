#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cli/convert/table_writer.h"
#include "cli/text/encoding.h"

namespace brindlex::tool {

/// Hands one collection to a TableWriter as a MarkerWalk comes over it: a sink of that walk.
/// ConversionError and losses as ReadTables has them.
class RecordReader {
 public:
  /// `writer` and `losses` must outlive it.
  RecordReader(const Encoding& encoding, TableWriter& writer, Losses& losses);

  /// A collection begins at byte `at`. `name` is empty when it is the only one.
  void Begin(std::string_view name, std::uint64_t at);

  void FieldPiece(std::string_view bytes, std::uint64_t at);
  void FieldEnd(std::uint64_t at);
  void RecordEnd(std::uint64_t at);
  void LineBreak(std::uint64_t at) { losses_.Add("a line break behind a record end", at); }

  /// The collection ends, behind MarkerWalk::Finish.
  void End();

 private:
  [[noreturn]] void Fail(std::uint64_t at, const std::string& what) const;
  std::string Record() const;
  void HeaderEnd(std::uint64_t at);

  PieceDecoder decoder_;
  std::string encodingName_;
  /// Bytes below 128 are the characters of these numbers.
  bool isAscii_;
  TableWriter& writer_;
  Losses& losses_;
  std::string name_;
  std::uint64_t start_ = 0;
  std::vector<std::string> names_;
  /// Records behind, the header included.
  std::uint64_t records_ = 0;
  /// The field that is being read: its number, how it begins, and whether the writer has a part.
  std::size_t column_ = 0;
  std::string text_;
  bool isBegun_ = false;
  bool isHandedOver_ = false;
};

}  // namespace brindlex::tool
