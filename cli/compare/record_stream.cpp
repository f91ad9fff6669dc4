#include "cli/compare/record_stream.h"

#include "cli/format/key_hash.h"
#include "cli/format/tokenizer.h"

namespace brindlex::cli {
namespace {

SipHasher NewHasher() { return SipHasher(HashKey(), SipHasher::Width::k128); }

}  // namespace

RecordStream::RecordStream(const TableSource& source, const ComparedColumns* columns,
                           Progress* progress)
    : columns_(columns), reader_(source, ignored_, progress) {
  reader_.ExpectLineBreaks(kAnyLineBreaks);
  hasHeader_ = reader_.ReadHeader();
}

void RecordStream::AddValue(std::size_t column, RecordDigest& record) {
  const std::optional<std::size_t> id = columns_->ids[column];
  const bool isKey = column == columns_->key;
  SipHasher content = NewHasher();
  KeyHash key;
  if (id) content.Add(*id, sizeof(std::uint64_t));
  CollectionReader::Piece piece;
  do {
    piece = reader_.NextPiece();
    if (id) content.Add(piece.text);
    if (isKey) key.MixUtf8(piece.text);
  } while (!piece.isLast);
  if (isKey) record.key = ContentHash(key.Value());
  if (!id) return;
  // A sum, since the columns of the other table may be in another order.
  const SipHash128 hash = content.Finish128();
  record.content.low += hash.low;
  record.content.high += hash.high;
}

bool RecordStream::Next(RecordDigest& record) {
  if (!hasHeader_ || !reader_.NextRecord()) return false;
  record = {};
  record.number = ++number_;
  for (std::size_t column = 0; column < columns_->ids.size(); ++column) AddValue(column, record);
  record.extent = reader_.RecordExtent();
  return true;
}

std::vector<RecordField> ReadFields(const TableSource& source, const RecordDigest& record,
                                    std::size_t count) {
  const std::uint64_t end = record.extent.End() + source.markers.recordEnd.size();
  InputWindow window(*source.input, ExtentOf(record.extent.offset, end));
  Tokenizer tokenizer(window, source.format.encoding, source.markers);
  std::vector<RecordField> fields;
  std::uint64_t begin = record.extent.offset;
  SipHasher content = NewHasher();
  std::string text;
  while (fields.size() < count) {
    const Token token = tokenizer.Next();
    text.clear();
    source.format.encoding.ToUtf8(token.bytes, text);
    content.Add(text);
    if (token.kind == Token::Kind::kPiece) continue;
    fields.push_back({ExtentOf(begin, token.End()), ContentHash(content.Finish128())});
    if (token.kind != Token::Kind::kField) break;
    content = NewHasher();
    begin = tokenizer.Offset();
  }
  // A file that was changed meanwhile may have fewer.
  fields.resize(count);
  return fields;
}

}  // namespace brindlex::cli
