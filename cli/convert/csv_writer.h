#pragma once

#include "cli/convert/csv_text.h"
#include "cli/format/table_writer.h"

namespace brindlex::cli {

/// Writes one collection as comma-separated values by RFC 4180: the header, then one record to a
/// line, lines ended by CR LF. An empty collection is an empty file. A value that comes in pieces
/// is written between quotation marks. With a form, a last column without values carries it.
///
/// ConversionError for a name that would be taken for such a column.
class CsvWriter : public BufferedWriter {
 public:
  CsvWriter(ByteHandler writeBytes, const CsvStyle& style, bool hasByteOrderMark = false,
            const DelimitedForm* form = nullptr);

  /// Named collections are not for one file: a Failure kUsage.
  void BeginNamed() override;
  void BeginCollection(std::string_view name) override;
  void Header(const std::vector<std::string>& names, std::uint64_t offset) override;
  void BeginRow() override;
  void Value(std::string_view piece, bool isFirst, bool isLast) override;
  void EndRow() override;
  void EndCollection() override;
  void End() override;

 private:
  void Separate();

  const CsvStyle style_;
  /// The name of the column that carries the form; empty for none.
  const std::string formName_;
  std::size_t columns_ = 0;
  std::size_t column_ = 0;
};

}  // namespace brindlex::cli
