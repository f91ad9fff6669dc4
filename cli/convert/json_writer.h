#pragma once

#include "cli/format/delimited_form.h"
#include "cli/format/table_writer.h"

namespace brindlex::cli {

struct JsonOptions {
  /// One object a line, without an array around them.
  bool lines = false;
  /// Rows are arrays, and the first of them holds the names.
  bool arrays = false;
  /// Numbers and flags as such, where that leads back to the same text (InferredType).
  bool infer = false;
  /// Unless it is null: an object with this form as its member "format", and what is written
  /// otherwise as "records". Must outlive the writer.
  const DelimitedForm* form = nullptr;
};

/// Writes a collection as a JSON array of objects, one to a line, values as text; named collections
/// as an object of such arrays.
///
/// Unless rows are arrays, a name that a header has twice is a ConversionError, since most readers
/// of JSON keep one of two values only, and a header without records is lost. Named collections in
/// lines are a Failure kUsage.
class JsonWriter : public BufferedWriter {
 public:
  /// `lossReport` must outlive it.
  JsonWriter(ByteHandler writeBytes, const JsonOptions& options, LossReport& lossReport);

  void BeginNamed() override;
  void BeginCollection(std::string_view name) override;
  void Header(const std::vector<std::string>& names, std::uint64_t offset) override;
  void BeginRow() override;
  void Value(std::string_view piece, bool isFirst, bool isLast) override;
  void EndRow() override;
  void EndCollection() override;
  void End() override;

 private:
  void OpenFormat();
  void SeparateRow();
  void WholeValue(std::string_view text);

  const JsonOptions options_;
  LossReport& lossReport_;
  bool isNamed_ = false;
  std::uint64_t collections_ = 0;
  /// Rows of the collection so far, and where its header is if it has one.
  std::uint64_t rows_ = 0;
  bool hasHeader_ = false;
  std::uint64_t headerOffset_ = 0;
  /// What comes before each value of a row: its name, or nothing but a comma.
  std::vector<std::string> before_;
  std::size_t column_ = 0;
};

}  // namespace brindlex::cli
