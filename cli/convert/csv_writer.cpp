#include "cli/convert/csv_writer.h"

#include <utility>

#include "cli/io/failure.h"
#include "cli/text/escape.h"

namespace brindlex::cli {

CsvWriter::CsvWriter(ByteHandler writeBytes, const CsvStyle& style, bool hasByteOrderMark,
                     const DelimitedForm* form)
    : BufferedWriter(std::move(writeBytes)),
      style_(style),
      formName_(form != nullptr ? CsvNameOf(*form) : "") {
  if (hasByteOrderMark) Buffer() += "\xEF\xBB\xBF";
}

void CsvWriter::BeginNamed() {
  throw UsageError("the file holds several collections, and a CSV file one: give its name");
}

void CsvWriter::BeginCollection(std::string_view /*name*/) {}

void CsvWriter::Header(const std::vector<std::string>& names, std::uint64_t offset) {
  columns_ = names.size();
  BeginRow();
  const bool isOnly = columns_ == 1 && formName_.empty();
  for (const std::string& name : names) {
    if (FormOfCsvName(name)) {
      throw ConversionError("byte " + std::to_string(offset) + ": from-csv would take the name " +
                            Quoted(name) + " for the format of a file");
    }
    Separate();
    AppendCsvName(Buffer(), name, style_, isOnly);
  }
  if (!formName_.empty()) {
    Separate();
    AppendCsvName(Buffer(), formName_, style_, false);
  }
  Buffer() += "\r\n";
}

void CsvWriter::BeginRow() { column_ = 0; }

void CsvWriter::Separate() {
  if (column_++ > 0) Buffer() += style_.delimiter;
}

void CsvWriter::Value(std::string_view piece, bool isFirst, bool isLast) {
  if (isFirst) Separate();
  if (isFirst && isLast) {
    AppendCsvField(Buffer(), piece, style_, columns_ == 1 && formName_.empty());
    HandOver();
    return;
  }
  ByteBuffer& csv = Buffer();
  if (isFirst) {
    csv += '"';
    // The first piece is long: it distinguishes a formula from a number.
    if (style_.guardFormulas && LooksLikeFormula(piece)) csv += '\'';
  }
  AppendCsvQuotedPiece(csv, piece);
  if (isLast) csv += '"';
  HandOver();
}

void CsvWriter::EndRow() {
  if (!formName_.empty()) Separate();
  Buffer() += "\r\n";
}

void CsvWriter::EndCollection() {
  // An empty collection has no header but this.
  if (columns_ == 0 && !formName_.empty()) Header({}, 0);
}

void CsvWriter::End() { HandOverNow(); }

}  // namespace brindlex::cli
