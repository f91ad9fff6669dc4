#pragma once

#include "cli/format/table_writer.h"

namespace brindlex::cli {

/// Writes collections as one HTML page that needs nothing else: its script sorts and searches the
/// records, which lie in the page as JSON (an object of "columns" and "rows" for each collection),
/// and puts them on the screen as text. No text of the data can become markup or script: in the
/// JSON "<" is escaped, elsewhere what HTML reads as something else.
class PageWriter : public BufferedWriter {
 public:
  /// `title` is the page's.
  PageWriter(ByteHandler writeBytes, std::string_view title);

  void BeginNamed() override {}
  void BeginCollection(std::string_view name) override;
  void Header(const std::vector<std::string>& names, std::uint64_t offset) override;
  void BeginRow() override;
  void Value(std::string_view piece, bool isFirst, bool isLast) override;
  void EndRow() override;
  void EndCollection() override;
  void End() override;

 private:
  void BeginRows();

  std::string_view rest_;
  bool hasRows_ = false;
  std::uint64_t rows_ = 0;
  std::size_t column_ = 0;
};

/// Appends `text` as HTML, for an element or an attribute in double quotation marks.
/// NUL, which HTML does not have, becomes U+FFFD.
void AppendHtmlText(ByteBuffer& html, std::string_view text);

}  // namespace brindlex::cli
