#include "cli/format/collection_edit.h"

#include <utility>

#include "cli/format/delimited_writer.h"
#include "cli/format/table_copy.h"
#include "cli/format/value_encoder.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

std::function<void(const ByteHandler&)> Bytes(std::string bytes) {
  return [bytes = std::move(bytes)](const ByteHandler& writeBytes) { writeBytes(bytes); };
}

/// Passes the rest of a text to `writeBytes`, with other markers.
void Transcode(Tokenizer& tokenizer, const ByteMarkers& markers, const ByteHandler& writeBytes) {
  constexpr std::size_t kLarge = std::size_t{64} * 1024;
  std::string buffer;
  for (;;) {
    const Token token = tokenizer.Next();
    buffer += token.bytes;
    if (token.kind == Token::Kind::kField) buffer += markers.fieldEnd;
    if (token.kind == Token::Kind::kRecord) buffer += markers.recordEnd;
    const bool isAtEnd = token.kind == Token::Kind::kEnd;
    if (buffer.size() < kLarge && !isAtEnd) continue;
    writeBytes(buffer);
    if (isAtEnd) return;
    buffer.clear();
  }
}

}  // namespace

/// Passes the file with its edits, which are in order and apart, to `writeBytes`.
void CollectionEditor::Splice(const std::vector<Edit>& edits, const ByteHandler& writeBytes) const {
  std::uint64_t done = 0;
  for (const Edit& edit : edits) {
    if (file_ != nullptr) ReadExtent(*file_, ExtentOf(done, edit.begin), writeBytes);
    edit.write(writeBytes);
    done = edit.end;
  }
  if (file_ != nullptr) ReadExtent(*file_, ExtentOf(done, UINT64_MAX), writeBytes);
}

CollectionEditor CollectionEditor::OfNewFile(Input& like, const FormatOptions& options) {
  CollectionEditor editor;
  editor.format_ = DetectFormat(like, options);
  editor.format_.named.reset();
  return editor;
}

CollectionEditor::CollectionEditor(Input& file, const FormatOptions& options) : file_(&file) {
  const bool isEmpty = file.Head().empty();
  FormatOptions own = options;
  if (isEmpty) own.reading = Reading::kDetected;
  format_ = DetectFormat(file, own);
  end_ = format_.markBytes;
  if (format_.named) {
    index_ = CollectionIndex(file, format_);
    end_ = index_.End();
  } else if (file.Head().size() > format_.markBytes) {
    throw UsageError(ShownPath(file.Name()) + " holds a single collection, not several by name");
  }
}

const NamedCollection& CollectionEditor::Require(const std::string& name) const {
  return index_.Require(*file_, name);
}

std::string CollectionEditor::EncodeName(const std::string& name) const {
  if (name.empty()) throw UsageError("a collection without a name is never found again");
  ValueEncoder encoder(format_.encoding, Choice::kRecode);
  encoder.Forbid(OuterMarkers());
  ByteBuffer bytes;
  if (const auto problem = encoder.Append(name, 1, 0, bytes)) {
    throw ConversionError("the name " + Quoted(name) + " cannot be written: it " + *problem);
  }
  return std::string(bytes.View());
}

void CollectionEditor::Extract(const std::string& name, bool keepsMarkers,
                               const ByteHandler& writeBytes) const {
  const NamedCollection& one = Require(name);
  const ByteMarkers markers =
      RequireByteMarkers(keepsMarkers ? InnerMarkers() : OuterMarkers(), format_.encoding);
  if (format_.markBytes > 0) writeBytes(format_.encoding.ByteOrderMark());
  InputWindow window(*file_, one.data);
  Tokenizer tokenizer(window, format_.encoding, *format_.inner);
  Transcode(tokenizer, markers, writeBytes);
}

void CollectionEditor::Remove(const std::string& name, const ByteHandler& writeBytes) const {
  const NamedCollection& one = Require(name);
  const bool isLast = index_.All().size() == 1;
  Splice({isLast ? Edit{format_.markBytes, end_, Bytes({})}
                 : Edit{one.record.offset, one.record.End(), Bytes({})}},
         writeBytes);
}

void CollectionEditor::Rename(const std::string& name, const std::string& newName,
                              const ByteHandler& writeBytes) const {
  const NamedCollection& one = Require(name);
  const NamedCollection* const taken = index_.Find(newName);
  if (taken != nullptr && taken != &one) {
    throw ConversionError("there is a collection " + Quoted(index_.NameOf(*taken)) + " already");
  }
  Splice({{one.nameExtent.offset, one.nameExtent.End(), Bytes(EncodeName(newName))}}, writeBytes);
}

std::string CollectionEditor::Header(const ByteMarkers& outer) const {
  std::string bytes;
  for (const std::string_view name : {kDataColumn, kNameColumn}) {
    format_.encoding.FromUtf8(name, bytes);
    bytes += outer.fieldEnd;
  }
  return bytes + outer.recordEnd;
}

void CollectionEditor::Add(const std::string& name, Input& added, const FormatOptions& addedOptions,
                           bool replaces, const ByteHandler& writeBytes,
                           LossReport& lossReport) const {
  const NamedCollection* const taken = index_.Find(name);
  if (taken != nullptr && !replaces) {
    throw ConversionError("there is a collection " + Quoted(index_.NameOf(*taken)) +
                          " already; --replace puts the new one in its place");
  }
  const NamedColumns columns = format_.named.value_or(NamedColumns{});
  if (columns.count != 2 || columns.data != 0 || !columns.isNameExact) {
    throw ConversionError(
        "the header of the collections is not DataString, Name: the component would not find the "
        "collection");
  }
  const std::string nameBytes = EncodeName(name);
  DelimitedForm form;
  form.encoding = format_.encoding;
  form.isInner = true;
  form.choice = Choice::kRecode;
  const auto writeText = [&](const ByteHandler& to) {
    const auto writer = MakeDelimitedWriter(to, form);
    CopyTables(added, DetectFormat(added, addedOptions), {}, *writer, lossReport);
  };
  if (taken != nullptr) {
    const Extent& old = taken->nameExtent;
    return Splice({{taken->data.offset, taken->data.End(), writeText},
                   {old.offset, old.End(), Bytes(nameBytes)}},
                  writeBytes);
  }
  const ByteMarkers outer = RequireByteMarkers(OuterMarkers(), format_.encoding);
  const auto writeRecord = [&](const ByteHandler& to) {
    if (file_ == nullptr && format_.markBytes > 0) to(format_.encoding.ByteOrderMark());
    if (!format_.named) to(Header(outer));
    writeText(to);
    to(outer.fieldEnd + nameBytes + outer.fieldEnd + outer.recordEnd);
  };
  Splice({{end_, end_, writeRecord}}, writeBytes);
}

}  // namespace brindlex::cli
