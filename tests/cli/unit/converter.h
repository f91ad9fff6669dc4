#pragma once

#include <cstddef>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>

#include "cli/convert/csv_input.h"
#include "cli/convert/csv_writer.h"
#include "cli/convert/json_input.h"
#include "cli/convert/json_writer.h"
#include "cli/convert/table_reader.h"
#include "cli/format/delimited_writer.h"

namespace brindlex::tool {

/// Files and texts are turned into each other in memory, but for the file that is read.
class Converter {
 public:
  /// `path` is of no file that anybody needs.
  explicit Converter(std::string path) : path_(std::move(path)) {}
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  ~Converter() { std::remove(path_.c_str()); }

  FormatOptions format_;
  TableChoice choice_;
  DelimitedForm form_;
  /// Bytes that a reader is given at a time.
  std::size_t portion_ = 7;

  /// What a writer that `make` makes of a sink and losses writes of the file `bytes`; losses are
  /// refused as a command refuses them.
  template <class Make>
  std::string Written(std::string_view bytes, const Make& make) {
    // A new file each time: one that is cut to nothing is written to the disk at once by some
    // systems.
    std::remove(path_.c_str());
    std::ofstream(path_, std::ios::binary) << bytes;
    const Source source(path_);
    std::string text;
    Losses losses;
    auto writer = make([&](std::string_view part) { text += part; }, losses);
    ReadTables(source, format_, choice_, writer, losses);
    if (!losses.IsEmpty()) throw ConversionError(losses.Sentences().front());
    return text;
  }

  /// The form of the file that was read last.
  DelimitedForm FormOfFile() const { return FormOf(format_, path_); }

  std::string ToJson(std::string_view bytes, const JsonOptions& options = {}) {
    return Written(bytes, [&](const ByteSink& sink, Losses& losses) {
      return JsonWriter(sink, options, losses);
    });
  }

  std::string ToCsv(std::string_view bytes, const CsvStyle& style = {}) {
    return Written(bytes, [&](const ByteSink& sink, Losses&) { return CsvWriter(sink, style); });
  }

  /// The file that `read` makes of `text`.
  template <class Read>
  std::string ReadInto(std::string_view text, const Read& read) {
    std::string bytes;
    DelimitedWriter writer([&](std::string_view part) { bytes += part; }, form_);
    std::size_t at = 0;
    const auto source = [&] {
      const std::string_view part = text.substr(at, portion_);
      at += part.size();
      return part;
    };
    read(source, writer);
    writer.End();
    return bytes;
  }

  std::string FromJson(std::string_view text, const JsonStyle& style = {}) {
    return ReadInto(text, [&](const BlockSource& source, TableTarget& target) {
      ReadJson(source, style, target);
    });
  }

  std::string FromCsv(std::string_view text, const CsvStyle& style = {}) {
    return ReadInto(text, [&](const BlockSource& source, TableTarget& target) {
      ReadCsv(source, style, target);
    });
  }

 private:
  std::string path_;
};

/// The message of the Failure that `step` throws; empty when it throws none.
template <class Step>
std::string RefusalOf(Step&& step) {
  try {
    step();
  } catch (const Failure& failure) {
    return failure.what();
  }
  return {};
}

}  // namespace brindlex::tool
