#pragma once

#include "cli/convert/table_writer.h"
#include "cli/format/marker_guard.h"

namespace brindlex::tool {

/// Writes one collection as the text of a block, with the inner markers. ConversionError for a name
/// or value that holds any of the four markers, or a character that the encoding does not have.
class BlockWriter : public BufferedWriter {
 public:
  BlockWriter(ByteSink sink, const Encoding& encoding);

  /// Named collections do not fit into one: a Failure kUsage.
  void BeginNamed() override;
  void BeginCollection(std::string_view name) override;
  void Header(const std::vector<std::string>& names, std::uint64_t at) override;
  void BeginRow() override;
  void Value(std::string_view piece, bool isFirst, bool isLast) override;
  void EndRow() override;
  void EndCollection() override {}
  void End() override;

 private:
  [[noreturn]] void Fail(const std::string& what) const;

  MarkerGuard guard_;
  const ByteMarkers markers_;
  std::vector<std::string> names_;
  std::uint64_t row_ = 0;
  std::size_t column_ = 0;
  /// Some of the present record is written.
  bool isRecordBegun_ = false;
};

}  // namespace brindlex::tool
