#include "cli/format/record_scanner.h"

#include <algorithm>

namespace brindlex::cli {

void RecordScanner::Keep(const Token& token, ScannedRecord& record) {
  constexpr std::size_t kMostOfARecord = std::size_t{16} * 1024 * 1024;
  const std::size_t field = record.fields.size();
  if (field >= mostFields_) return;
  if (record.bytes.size() <= field) record.bytes.resize(field + 1);
  std::string& bytes = record.bytes[field];
  const std::size_t room = std::min(mostBytes_ - std::min(mostBytes_, bytes.size()),
                                    kMostOfARecord - std::min(kMostOfARecord, kept_));
  bytes.append(token.bytes.substr(0, room));
  kept_ += std::min(room, token.bytes.size());
}

bool RecordScanner::Next(ScannedRecord& record) {
  record.number = number_++;
  record.whole = record.rest = {tokenizer_.Offset(), 0};
  record.fields.clear();
  record.fieldCount = 0;
  record.bytes.clear();
  kept_ = 0;
  for (Token lineBreak; tokenizer_.NextLineBreak(lineBreak);) continue;
  record.offset = record.rest.offset = tokenizer_.Offset();
  bool isTail = true;
  for (;;) {
    const Token token = tokenizer_.Next();
    record.rest.length += token.bytes.size();
    isTail = isTail && token.kind != Token::Kind::kField && IsTail(token.bytes);
    if (mostBytes_ > 0) Keep(token, record);
    if (token.kind == Token::Kind::kPiece) continue;
    if (token.kind != Token::Kind::kField) {
      record.hasEnd = token.kind == Token::Kind::kRecord;
      record.whole.length = tokenizer_.Offset() - record.whole.offset;
      if (!record.hasEnd && isTail) tail_ = record.whole;
      return record.hasEnd || !isTail;
    }
    if (record.fields.size() < mostFields_) record.fields.push_back(record.rest);
    ++record.fieldCount;
    record.rest = {tokenizer_.Offset(), 0};
  }
}

}  // namespace brindlex::cli
