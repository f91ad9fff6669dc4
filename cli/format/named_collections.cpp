#include "cli/format/named_collections.h"

#include <utility>

#include "automation/text.h"
#include "cli/format/name_tables.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::cli {

std::string NamedCollection::Name(const Encoding& encoding) const {
  std::string name;
  encoding.ToUtf8(nameBytes, name);
  return name;
}

bool IsSameName(std::string_view left, std::string_view right) {
  return EqualIgnoringCase(Utf16OfUtf8(left), Utf16OfUtf8(right));
}

void RefuseCollectionName(const Input& input) {
  throw UsageError(ShownPath(input.Name()) + " holds one collection, without a name");
}

void RefuseUnknownCollection(const Input& input, std::string_view name, const std::string& list) {
  throw UsageError(ShownPath(input.Name()) + " holds no collection " + Quoted(name) +
                   "; it holds " + (list.empty() ? "none" : list));
}

NamedCollectionScanner::NamedCollectionScanner(Input& input, const FileFormat& format,
                                               bool countsRecords, Progress* progress)
    : format_(format),
      window_(input, format.Text(), progress),
      outer_(window_, format.encoding, format.markers),
      countsRecords_(countsRecords),
      end_(format.markBytes) {}

/// Returns how many there were.
std::uint64_t NamedCollectionScanner::SkipLineBreaks() {
  std::uint64_t count = 0;
  for (Token token; outer_.NextLineBreak(token);) ++count;
  end_ = outer_.Offset();
  return count;
}

void NamedCollectionScanner::ReadHeader() {
  hasHeader_ = true;
  Token token;
  do token = outer_.Next();
  while (token.kind != Token::Kind::kRecord && token.kind != Token::Kind::kEnd);
  headerLineBreaks_ = SkipLineBreaks();
}

/// Reads the text of a collection as far as it is of interest; the outer tokenizer goes on there.
/// Returns whether it may be a tail of the file.
bool NamedCollectionScanner::ReadText(NamedCollection& collection) {
  outer_.Yield();
  Tokenizer inner(window_, format_.encoding, *format_.inner, format_.markers);
  std::uint64_t ends = 0;
  bool isTail = true;
  for (;;) {
    const Token token = inner.Next();
    isTail = isTail && IsTail(token.bytes);
    if (token.kind == Token::Kind::kEnd) break;
    if (ends == 0 && token.kind == Token::Kind::kField) ++collection.fields;
    if (token.kind != Token::Kind::kRecord) continue;
    ++ends;
    collection.hasHeader = collection.fields > 0;
    if (!countsRecords_) break;
  }
  collection.records = ends == 0 ? 0 : ends - 1;
  inner.Yield();
  outer_.Resume();
  return isTail && collection.fields == 0 && ends == 0;
}

bool NamedCollectionScanner::Next(NamedCollection& collection) {
  if (!hasHeader_) ReadHeader();
  collection = {};
  collection.number = ++number_;
  const std::uint64_t begin = end_;
  std::uint64_t fieldBegin = begin;
  const NamedColumns& columns = *format_.named;
  bool isTail = true;
  for (;;) {
    if (collection.fieldCount == columns.data && outer_.Offset() == fieldBegin) {
      isTail = ReadText(collection) && isTail;
    }
    const Token token = outer_.Next();
    isTail = isTail && token.kind != Token::Kind::kField && IsTail(token.bytes);
    if (token.kind == Token::Kind::kPiece || token.kind == Token::Kind::kField) {
      const std::size_t room = NamedCollection::kMostOfAName - collection.nameBytes.size();
      if (collection.fieldCount == columns.name)
        collection.nameBytes += token.bytes.substr(0, room);
    }
    if (token.kind == Token::Kind::kPiece) continue;
    const Extent field = ExtentOf(fieldBegin, token.End());
    if (token.kind != Token::Kind::kField) {
      collection.hasRest = field.length > 0;
      collection.hasEnd = token.kind == Token::Kind::kRecord;
      if (collection.hasEnd) collection.lineBreaks = SkipLineBreaks();
      collection.record = ExtentOf(begin, collection.hasEnd ? end_ : token.End());
      return collection.hasEnd || !isTail;
    }
    if (collection.fieldCount == columns.data) {
      collection.data = field;
      collection.hasData = true;
    }
    if (collection.fieldCount == columns.name) collection.nameExtent = field;
    ++collection.fieldCount;
    fieldBegin = outer_.Offset();
  }
}

namespace {

[[noreturn]] void Fail(std::uint64_t offset, const std::string& what) {
  throw ConversionError("byte " + std::to_string(offset) + ": " + what);
}

/// The name of a well-formed collection of a file with `columns`.
std::string RequireName(const NamedCollection& one, const NamedColumns& columns,
                        const Encoding& encoding) {
  if (!one.hasEnd) Fail(one.record.offset, "the last collection has no record end");
  if (one.fieldCount != columns.count) {
    Fail(one.record.End(), "a collection whose record has " + std::to_string(one.fieldCount) +
                               " fields, where the header has " + std::to_string(columns.count));
  }
  if (one.hasRest)
    Fail(one.record.offset, "text after the last field end of a collection's record");
  if (one.nameExtent.length > one.nameBytes.size()) {
    Fail(one.nameExtent.offset, "a collection's name of more than 64 kB");
  }
  std::string name;
  const std::size_t valid = encoding.ToUtf8(one.nameBytes, name);
  if (valid < one.nameBytes.size()) {
    Fail(one.nameExtent.offset + valid, "ill-formed " + encoding.Name());
  }
  return name;
}

}  // namespace

CollectionIndex::CollectionIndex(Input& input, const FileFormat& format) {
  NamedCollectionScanner scanner(input, format);
  FoldedNameSet known;
  for (NamedCollection one; scanner.Next(one);) {
    std::string name = RequireName(one, *format.named, format.encoding);
    if (!known.insert(Utf16OfUtf8(name)).second) {
      Fail(one.nameExtent.offset, "a second collection named " + Quoted(name) +
                                      ": the component reads nothing of such a file");
    }
    one.nameBytes = {};
    all_.push_back(std::move(one));
    names_.push_back(std::move(name));
  }
  headerLineBreaks_ = scanner.HeaderLineBreaks();
  end_ = scanner.End();
}

std::vector<std::uint64_t> CollectionIndex::LineBreaks(const ByteMarkers& markers) const {
  std::vector<std::uint64_t> offsets;
  std::uint64_t count = headerLineBreaks_;
  // Those after the last record are a tail.
  for (const NamedCollection& one : all_) {
    for (; count > 0; --count) {
      offsets.push_back(one.record.offset - count * markers.lineBreak.size());
    }
    count = one.lineBreaks;
  }
  return offsets;
}

const NamedCollection* CollectionIndex::Find(std::string_view name) const {
  for (const NamedCollection& one : all_) {
    if (IsSameName(NameOf(one), name)) return &one;
  }
  return nullptr;
}

const NamedCollection& CollectionIndex::Require(const Input& input, std::string_view name) const {
  if (const NamedCollection* const one = Find(name)) return *one;
  std::string list;
  for (std::size_t index = 0; index < names_.size(); ++index) {
    AppendToList(list, names_[index], index);
  }
  RefuseUnknownCollection(input, name, list);
}

TableSource FindTable(Input& input, const FileFormat& format,
                      const std::optional<std::string>& name) {
  if (!format.named && name) RefuseCollectionName(input);
  if (!name) return OnlyTable(input, format);
  const CollectionIndex index(input, format);
  return index.Table(input, format, index.Require(input, *name));
}

}  // namespace brindlex::cli
