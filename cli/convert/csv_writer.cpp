#include "cli/convert/csv_writer.h"

#include <utility>

#include "cli/io/failure.h"

namespace brindlex::cli {

CsvWriter::CsvWriter(ByteSink sink, const CsvStyle& style, bool hasByteOrderMark)
    : BufferedWriter(std::move(sink)), style_(style) {
  if (hasByteOrderMark) Buffer() += "\xEF\xBB\xBF";
}

void CsvWriter::BeginNamed() {
  throw UsageError("the file holds several collections, and a CSV file one: give its name");
}

void CsvWriter::BeginCollection(std::string_view /*name*/) {}

void CsvWriter::Header(const std::vector<std::string>& names, std::uint64_t /*offset*/) {
  columns_ = names.size();
  BeginRow();
  for (const std::string& name : names) WholeValue(name);
  EndRow();
}

void CsvWriter::BeginRow() { column_ = 0; }

void CsvWriter::WholeValue(std::string_view text) {
  if (column_++ > 0) Buffer() += style_.delimiter;
  AppendCsvField(Buffer(), text, style_, columns_ == 1);
}

void CsvWriter::Value(std::string_view piece, bool isFirst, bool isLast) {
  if (isFirst && isLast) {
    WholeValue(piece);
    HandOver();
    return;
  }
  std::string& csv = Buffer();
  if (isFirst) {
    if (column_++ > 0) csv += style_.delimiter;
    csv += '"';
    // The first piece is long: it distinguishes a formula from a number.
    if (style_.guardFormulas && LooksLikeFormula(piece)) csv += '\'';
  }
  AppendCsvQuotedPiece(csv, piece);
  if (isLast) csv += '"';
  HandOver();
}

void CsvWriter::EndRow() { Buffer() += "\r\n"; }

void CsvWriter::End() { HandOverNow(); }

}  // namespace brindlex::cli
