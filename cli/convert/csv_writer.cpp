#include "cli/convert/table_writers.h"

#include <string>
#include <utility>
#include <vector>

#include "cli/io/failure.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

class CsvWriter final : public TableWriter {
 public:
  CsvWriter(ByteHandler writeBytes, const CsvStyle& style, bool hasByteOrderMark,
            const DelimitedForm* form)
      : TableWriter(std::move(writeBytes)),
        style_(style),
        formName_(form != nullptr ? CsvNameOf(*form) : "") {
    if (hasByteOrderMark) Buffer() += "\xEF\xBB\xBF";
  }

  void BeginNamed() override {
    throw UsageError("the file holds several collections, and a CSV file one: give its name");
  }

  void Header(const std::vector<std::string>& names, std::uint64_t offset) override {
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

  void BeginRow() override { column_ = 0; }

  void Value(std::string_view piece, bool isFirst, bool isLast) override {
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

  void EndRow() override {
    if (!formName_.empty()) Separate();
    Buffer() += "\r\n";
  }

  void EndCollection() override {
    // An empty collection has no header but this.
    if (columns_ == 0 && !formName_.empty()) Header({}, 0);
  }

 private:
  void Separate() {
    if (column_++ > 0) Buffer() += style_.delimiter;
  }

  const CsvStyle style_;
  /// The name of the column that carries the form; empty for none.
  const std::string formName_;
  std::size_t columns_ = 0;
  std::size_t column_ = 0;
};

}  // namespace

std::unique_ptr<TableWriter> MakeCsvWriter(ByteHandler writeBytes, const CsvStyle& style,
                                           bool hasByteOrderMark, const DelimitedForm* form) {
  return std::make_unique<CsvWriter>(std::move(writeBytes), style, hasByteOrderMark, form);
}

}  // namespace brindlex::cli
