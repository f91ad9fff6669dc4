#include "cli/format/table_copy.h"

#include <algorithm>

#include "cli/format/collection_reader.h"
#include "cli/format/named_collections.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

void CopyRows(CollectionReader& reader, TableWriter& writer) {
  while (reader.NextRecord()) {
    writer.BeginRow();
    for (std::size_t left = reader.Names().size(); left > 0;) {
      const CollectionReader::Piece piece = reader.NextPiece();
      writer.Value(piece.text, piece.isFirst, piece.isLast);
      if (piece.isLast) --left;
    }
    writer.EndRow();
  }
}

/// `name` is the one that the writer is given.
void CopyCollection(CollectionReader& reader, std::string_view name, TableWriter& writer) {
  writer.BeginCollection(name);
  if (reader.ReadHeader()) {
    writer.Header(reader.Names(), reader.Offset());
    try {
      CopyRows(reader, writer);
    } catch (const RefusedValue& refused) {
      const std::string where = name.empty() ? "" : " in " + Quoted(name);
      throw ConversionError(refused.At(reader.Place() + where));
    }
  }
  writer.EndCollection();
}

void CopyNamed(Input& input, const FileFormat& format, TableWriter& writer, LossReport& lossReport,
               Progress& progress, int lineBreaks) {
  const CollectionIndex index(input, format);
  const NamedColumns& columns = *format.named;
  if (columns.count != 2 || columns.data != 0 || !columns.isNameExact) {
    lossReport.Add("a header of collections other than DataString and Name, in this order",
                   format.markBytes);
  }
  if (lineBreaks != kAnyLineBreaks) {
    for (const std::uint64_t offset : index.LineBreaks(format.markers)) {
      lossReport.Add(kLostLineBreak, offset);
    }
  }
  writer.BeginNamed();
  for (const NamedCollection& one : index.All()) {
    const std::string& name = index.NameOf(one);
    CollectionReader reader(index.Table(input, format, one), lossReport, &progress);
    reader.ExpectLineBreaks(std::min(lineBreaks, 0));
    CopyCollection(reader, name, writer);
  }
}

}  // namespace

void CopyTables(Input& input, const FileFormat& format, const std::optional<std::string>& name,
                TableWriter& writer, LossReport& lossReport, int lineBreaks) {
  Progress progress("reading", input.Size());
  if (format.named && !name) {
    CopyNamed(input, format, writer, lossReport, progress, lineBreaks);
  } else {
    CollectionReader reader(FindTable(input, format, name), lossReport, &progress);
    if (!format.named) reader.ExpectLineBreaks(lineBreaks);
    CopyCollection(reader, {}, writer);
  }
  writer.End();
}

}  // namespace brindlex::cli
