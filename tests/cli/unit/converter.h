#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "cli/convert/csv_input.h"
#include "cli/convert/json_input.h"
#include "cli/convert/table_writers.h"
#include "cli/format/delimited_writer.h"
#include "cli/format/table_copy.h"
#include "cli/io/failure.h"

namespace brindlex::cli {

/// Converts files and texts into each other in memory.
class Converter {
 public:
  FormatOptions format_;
  DelimitedForm form_;
  /// Bytes that a reader is given at a time.
  std::size_t portion_ = 7;
  /// Bytes of a file that are read at a time.
  std::size_t block_ = kInputBlock;

  /// What a writer writes of the file `bytes`; `make` makes it of a handler of its bytes and a
  /// report of losses, which are refused as a command refuses them.
  template <class Make>
  std::string Written(std::string_view bytes, const Make& make, int lineBreaks = 0) {
    file_ = bytes;
    Input input("file", file_, block_);
    std::string text;
    LossReport lossReport;
    const auto writer = make([&](std::string_view part) { text += part; }, lossReport);
    CopyTables(input, DetectFormat(input, format_), {}, *writer, lossReport, lineBreaks);
    if (!lossReport.IsEmpty()) throw ConversionError(lossReport.Sentences().front());
    return text;
  }

  /// The form of the file that was read last.
  DelimitedForm FormOfFile() const {
    Input input("file", file_, block_);
    return FormOf(format_, &input);
  }

  std::string ToJson(std::string_view bytes, const JsonOptions& options = {}) {
    return Written(bytes, [&](const ByteHandler& writeBytes, LossReport& lossReport) {
      return MakeJsonWriter(writeBytes, options, lossReport);
    });
  }

  std::string ToCsv(std::string_view bytes, const CsvStyle& style = {}) {
    return Written(bytes, [&](const ByteHandler& writeBytes, LossReport&) {
      return MakeCsvWriter(writeBytes, style);
    });
  }

  /// With the form of the file in a column, as by --with-format: FromCsv needs none then.
  std::string ToCsvWithForm(std::string_view bytes, const CsvStyle& style = {}) {
    file_ = bytes;
    const DelimitedForm form = FormOfFile();
    return Written(
        bytes,
        [&](const ByteHandler& writeBytes, LossReport&) {
          return MakeCsvWriter(writeBytes, style, false, &form);
        },
        form.lineBreaks);
  }

  /// The file that `read` makes of `text`.
  template <class Read>
  std::string ReadInto(std::string_view text, const Read& read) {
    std::string bytes;
    std::unique_ptr<TableWriter> writer;
    const ReadAt source = [&](std::uint64_t offset, char* to, std::size_t size) {
      const std::string_view rest =
          text.substr(static_cast<std::size_t>(std::min<std::uint64_t>(offset, text.size())));
      return rest.copy(to, std::min(size, portion_));
    };
    read(source, [&](const DelimitedForm* carried) -> TableWriter& {
      const DelimitedForm& form = carried != nullptr ? *carried : form_;
      writer = MakeDelimitedWriter([&](std::string_view part) { bytes += part; }, form);
      return *writer;
    });
    writer->End();
    return bytes;
  }

  std::string FromJson(std::string_view text, const JsonStyle& style = {}) {
    return ReadInto(text, [&](const ReadAt& source, const WriterMaker& makeWriter) {
      ReadJson(source, style, makeWriter);
    });
  }

  std::string FromCsv(std::string_view text, const CsvStyle& style = {}) {
    return FromCsv(text, CsvReading{style.delimiter, style.guardFormulas});
  }

  std::string FromCsv(std::string_view text, const CsvReading& reading) {
    return ReadInto(text, [&](const ReadAt& source, const WriterMaker& makeWriter) {
      ReadCsv(source, reading, makeWriter);
    });
  }

 private:
  std::string file_;
};

/// The message of the Failure that `step` throws; empty if it throws none.
template <class Step>
std::string RefusalOf(Step&& step) {
  try {
    step();
  } catch (const Failure& failure) {
    return failure.what();
  }
  return {};
}

}  // namespace brindlex::cli
