#include "cli/format/block_writer.h"

#include <utility>

#include "cli/convert/table_target.h"
#include "cli/text/diagnostics.h"
#include "cli/text/escape.h"

namespace brindlex::tool {

BlockWriter::BlockWriter(ByteSink sink, const Encoding& encoding)
    : BufferedWriter(std::move(sink)),
      guard_(encoding),
      markers_(CheckedMarkers(InnerPair(), encoding)) {
  guard_.Forbid(InnerPair());
  guard_.Forbid(OuterPair());
}

void BlockWriter::BeginNamed() {
  throw Failure(ExitCode::kUsage,
                "the file to be added holds several collections: extract one of them first");
}

void BlockWriter::BeginCollection(std::string_view /*name*/) {}

void BlockWriter::Header(const std::vector<std::string>& names, std::uint64_t /*at*/) {
  names_ = names;
  // The header of a block stands behind a record end of the outer layer.
  isRecordBegun_ = false;
  column_ = 0;
  for (const std::string& name : names) Value(name, /*isFirst=*/true, /*isLast=*/true);
  EndRow();
}

void BlockWriter::BeginRow() {
  ++row_;
  column_ = 0;
  isRecordBegun_ = false;
}

void BlockWriter::Value(std::string_view piece, bool /*isFirst*/, bool isLast) {
  std::string& bytes = Buffer();
  const std::size_t begin = bytes.size();
  constexpr std::size_t kBothLayers = 2;
  if (const auto problem = guard_.Append(piece, kBothLayers, bytes)) Fail("it " + *problem);
  if (!isRecordBegun_ && std::string_view(bytes).substr(begin).starts_with(markers_.lineBreak)) {
    Fail("it begins with a line break, which is dropped behind a record end");
  }
  isRecordBegun_ = true;
  if (isLast) {
    bytes += markers_.fieldEnd;
    ++column_;
  }
  HandOver();
}

void BlockWriter::Fail(const std::string& what) const {
  const std::string record = row_ == 0 ? "the header" : "record " + std::to_string(row_);
  throw ConversionError(record + ", " + Quoted(names_[column_]) + ": " + what);
}

void BlockWriter::EndRow() { Buffer() += markers_.recordEnd; }

void BlockWriter::End() { HandOver(/*all=*/true); }

}  // namespace brindlex::tool
