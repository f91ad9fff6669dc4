#include "cli/check/text_check.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "automation/runtime_error.h"
#include "cli/format/name_tables.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"
#include "persistence/restore_reports.h"

namespace brindlex::cli {
namespace {

/// A header whose end is missing can be a whole file; no more of it is kept.
constexpr std::size_t kMostNames = 20'000;
constexpr std::size_t kMostOfAName = 256;
constexpr std::size_t kMostOfAKey = 200;

constexpr const char* kDropped = "the component drops it without a report";
constexpr const char* kNoCollection = "the component returns no collection, without a report";

PredictedReport RestoreReport(std::int32_t number, std::int32_t line) {
  return {Utf8OfUtf16(kRestoreCaption), number, line, {}};
}

/// What the component shows when a text or record has not even one of its markers.
std::vector<PredictedReport> SplitReports(std::int32_t line) {
  return {{Utf8OfUtf16(kSplitCaption), error_number::kInvalidCall, 0, {}},
          RestoreReport(error_number::kSubscriptOutOfRange, line)};
}

std::string Described(const PredictedReport& report) {
  std::string text = "\"" + report.caption + "\", ";
  if (!report.description.empty()) return text + "\"" + report.description + "\"";
  text += fmt::format("number {}, ", report.number);
  return text + (report.line == 0 ? "in SplitString" : fmt::format("line {}", report.line));
}

std::string WholeText(TextRole role) {
  if (role == TextRole::kCollection) return "this collection";
  return role == TextRole::kSingle ? "the whole text" : "the whole text with all its collections";
}

bool CanSkip(const ByteMarkers& markers, const std::optional<ByteMarkers>& around) {
  const auto isPlain = [](const std::string& marker) {
    return marker.size() == 1 && marker != "\r" && marker != "\n";
  };
  return isPlain(markers.fieldEnd) && isPlain(markers.recordEnd) &&
         (!around || around->Longest() == 1);
}

}  // namespace

TextCheck::TextCheck(const Encoding& encoding, const ByteMarkers& markers, TextRole role,
                     DefectHandler handler, KeyCheck* keys,
                     const std::optional<ByteMarkers>& around)
    : encoding_(encoding),
      markers_(markers),
      role_(role),
      handler_(std::move(handler)),
      keys_(keys),
      canSkip_(CanSkip(markers, around) && role != TextRole::kOuterLayer) {
  shape_.fieldEnd = markers.fieldEnd.front();
  shape_.recordEnd = markers.recordEnd.front();
  shape_.allowsHighBytes = encoding.GetForm() == Encoding::Form::kCodePage;
  shape_.stops[0] = around ? around->fieldEnd.front() : shape_.fieldEnd;
  shape_.stops[1] = around ? around->recordEnd.front() : shape_.fieldEnd;
}

void TextCheck::Begin(std::uint64_t offset, std::uint64_t collection,
                      const std::optional<std::string>& keyName) {
  collection_ = collection;
  keyName_ = keyName;
  record_ = 0;
  expected_ = 0;
  names_.clear();
  keyColumns_.clear();
  tail_ = {};
  BeginRecord(offset);
  if (keys_ != nullptr) keys_->Begin(collection);
}

void TextCheck::BeginRecord(std::uint64_t offset) {
  recordOffset_ = offset;
  fieldOffset_ = offset;
  fields_ = 0;
  rest_ = Rest::kNothing;
  isAtRecordStart_ = true;
  hasKey_ = false;
  isInKey_ = false;
}

// ---- Tokens ------------------------------------------------------------------------------------

void TextCheck::SkipValidRecords(Tokenizer& tokenizer) {
  if (!isAtRecordStart_) return;
  isAtRecordStart_ = false;
  const bool mayBeSkipped = canSkip_ && expected_ > 0 && keyColumns_.empty();
  for (;;) {
    for (Token token; tokenizer.NextLineBreak(token);) Take(token);
    if (!mayBeSkipped) return;
    const ValidPrefix prefix = FindValidPrefix(tokenizer.Ahead(), shape_);
    if (prefix.bytes == 0) return;
    record_ += prefix.records;
    tokenizer.SkipRecords(prefix.bytes);
    BeginRecord(tokenizer.Offset());
    isAtRecordStart_ = false;
  }
}

void TextCheck::Take(const Token& token) {
  if (token.kind == Token::Kind::kLineBreak) {
    recordOffset_ = fieldOffset_ = token.End();
    return;
  }
  isAtRecordStart_ = false;
  if (!token.bytes.empty()) TakeBytes(token.bytes, token.offset);
  switch (token.kind) {
    case Token::Kind::kField:
      return EndField(token.End());
    case Token::Kind::kRecord:
      return EndRecord(token.End());
    case Token::Kind::kEnd:
      return EndText(token.End());
    default:
      return;
  }
}

void TextCheck::TakeChecked(std::uint64_t length) {
  if (length > 0) rest_ = Rest::kText;
}

void TextCheck::TakeBytes(std::string_view bytes, std::uint64_t offset) {
  if (rest_ != Rest::kText) rest_ = IsTail(bytes) ? Rest::kTail : Rest::kText;
  if (IsHeader()) {
    const std::size_t room = kMostOfAName - std::min(kMostOfAName, nameBytes_.size());
    if (names_.size() < kMostNames) nameBytes_.append(bytes.substr(0, room));
  } else if (!keyColumns_.empty()) {
    TakeKey(bytes, offset);
  }
  if (!shape_.allowsHighBytes) CheckCharacters(bytes, offset);
}

void TextCheck::EndField(std::uint64_t offset) {
  if (IsHeader()) EndName();
  if (isInKey_) hasKey_ = true;
  isInKey_ = false;
  ++fields_;
  fieldOffset_ = offset + markers_.fieldEnd.size();
  if (fields_ == expected_) surplusOffset_ = fieldOffset_;
  rest_ = Rest::kNothing;
}

void TextCheck::EndRecord(std::uint64_t offset) {
  isInKey_ = false;
  if (IsHeader()) {
    EndHeader(offset);
  } else {
    CheckRecord(offset);
    CheckKey();
  }
  ++record_;
  BeginRecord(offset + markers_.recordEnd.size());
}

void TextCheck::EndText(std::uint64_t offset) {
  if (IsHeader()) {
    // An empty text is an empty collection.
    if (fields_ == 0 && rest_ == Rest::kNothing) return;
    return ReportRefusal(DefectKind::kNoRecordEnd, offset, 0, "there is no record end in the text",
                         SplitReports(restore_line::kSplitRecords));
  }
  if (fields_ > 0 || rest_ == Rest::kText) {
    return Report(DefectKind::kNoRecordEnd, recordOffset_, 0, "the last record has no record end",
                  kDropped);
  }
  tail_ = ExtentOf(recordOffset_, offset);
  if (record_ > 1 || expected_ == 0) return;
  Report(DefectKind::kNoRecords, offset, 0, "a header without records", kNoCollection);
}

// ---- Defects -----------------------------------------------------------------------------------

void TextCheck::Report(DefectKind kind, std::uint64_t offset, std::uint64_t field, std::string what,
                       std::string does) {
  handler_({kind, offset, record_, field, collection_, std::move(what), std::move(does)});
}

void TextCheck::ReportRefusal(DefectKind kind, std::uint64_t offset, std::uint64_t field,
                              std::string what, std::vector<PredictedReport> reports) {
  std::string does = "the component refuses " + WholeText(role_);
  for (const PredictedReport& report : reports) {
    does += (&report == &reports.front() ? ": " : ", then ") + Described(report);
  }
  handler_({kind, offset, record_, field, collection_, std::move(what), std::move(does),
            std::move(reports)});
}

void TextCheck::CheckCharacters(std::string_view bytes, std::uint64_t offset) {
  const bool isUtf8 = encoding_.GetForm() == Encoding::Form::kUtf8;
  const std::string what = isUtf8 ? "are ill-formed " : "are an unpaired surrogate of ";
  for (;;) {
    const std::size_t valid = encoding_.ValidLength(bytes);
    bytes.remove_prefix(valid);
    offset += valid;
    if (bytes.empty()) return;
    // The bytes do not end within a character that goes on after them.
    const std::size_t unfinished = encoding_.UnfinishedLength(bytes);
    const std::size_t length = unfinished == bytes.size() ? unfinished : encoding_.BadLength(bytes);
    Report(DefectKind::kCharacter, offset, fields_ + 1,
           "the bytes " + Hexadecimal(bytes.substr(0, length), " ") + " " + what + encoding_.Name(),
           isUtf8 ? "the component gets what the program that reads the file puts in their place"
                  : "the component passes it on as it is");
    bytes.remove_prefix(length);
    offset += length;
  }
}

void TextCheck::EndName() {
  if (names_.size() < kMostNames) {
    Name name{{}, fieldOffset_};
    // An ill-formed sequence is reported already.
    encoding_.ToUtf8(nameBytes_, name.utf8);
    names_.push_back(std::move(name));
  }
  nameBytes_.clear();
}

void TextCheck::CheckName(const Name& name, std::uint64_t field) {
  if (name.utf8.front() != '\r' && name.utf8.front() != '\n') return;
  Report(DefectKind::kBreakInName, name.offset, field,
         "the name " + Quoted(name.utf8) + " begins with a line break",
         "the component takes it for a part of the name and skips the column");
}

void TextCheck::CheckNames() {
  FoldedNameMap<std::uint64_t> seen;
  for (std::size_t column = 0; column < names_.size(); ++column) {
    const Name& name = names_[column];
    const std::uint64_t field = column + 1;
    if (name.utf8.find_first_not_of(" \t") == std::string::npos) {
      Report(DefectKind::kBlankName, name.offset, field, "a blank name in the header",
             "the component skips the column");
      continue;
    }
    CheckName(name, field);
    const auto [first, isNew] = seen.emplace(Utf16OfUtf8(name.utf8), field);
    if (isNew) continue;
    Report(DefectKind::kDuplicateName, name.offset, field,
           fmt::format("the name {} is also that of field {}", Quoted(name.utf8), first->second),
           "the component sets the property from both, so that the later column wins, and its "
           "FieldNamesCollection raises error 457");
  }
}

void TextCheck::EndHeader(std::uint64_t offset) {
  if (fields_ == 0) {
    Report(DefectKind::kNoFieldEnd, recordOffset_, 0, "the header has no field end", kNoCollection);
  } else if (rest_ != Rest::kNothing) {
    Report(DefectKind::kTextAfterFieldEnd, fieldOffset_, fields_ + 1,
           "text after the last field end of the header", kDropped);
  }
  nameBytes_.clear();
  CheckNames();
  expected_ = fields_;
  surplusOffset_ = offset;
  shape_.fields = expected_;
  if (keys_ == nullptr || !keyName_) return;
  for (std::size_t column = 0; column < names_.size(); ++column) {
    if (names_[column].utf8 == *keyName_) keyColumns_.push_back(column);
  }
}

void TextCheck::ReportEmptyRecord() {
  ReportRefusal(DefectKind::kNoFieldEnd, recordOffset_, 0,
                rest_ == Rest::kNothing ? "an empty record" : "a record without a field end",
                SplitReports(restore_line::kSplitFields));
}

void TextCheck::ReportFieldCount(std::uint64_t offset) {
  const bool isSurplus = fields_ > expected_;
  ReportRefusal(DefectKind::kFieldCount, isSurplus ? surplusOffset_ : offset,
                (isSurplus ? expected_ : fields_) + 1,
                fmt::format("{} where the header has {}", Counted(fields_, "field"), expected_),
                {{Utf8OfUtf16(kRestoreCaption), error_number::kNone, 0,
                  Utf8OfUtf16(kFieldCountDescription) + std::to_string(record_)}});
}

void TextCheck::CheckRecord(std::uint64_t offset) {
  // Below a header without fields the component reads no record.
  if (expected_ == 0) return;
  if (fields_ == 0) return ReportEmptyRecord();
  if (fields_ != expected_) ReportFieldCount(offset);
  if (rest_ == Rest::kNothing) return;
  Report(DefectKind::kTextAfterFieldEnd, fieldOffset_, fields_ + 1, "text after the last field end",
         kDropped);
}

// ---- Keys --------------------------------------------------------------------------------------

void TextCheck::TakeKey(std::string_view bytes, std::uint64_t offset) {
  if (!isInKey_) {
    // The first value that is not empty is the key.
    if (hasKey_ || !std::binary_search(keyColumns_.begin(), keyColumns_.end(), fields_)) return;
    isInKey_ = true;
    key_ = {};
    keyText_.clear();
    keyOffset_ = offset;
    keyField_ = fields_ + 1;
  }
  std::string text;
  const std::size_t valid = encoding_.ToUtf8(bytes, text);
  // What the rest should have been cannot be known: each byte is compared by itself.
  text.append(bytes.substr(valid));
  key_.MixUtf8(text);
  if (keyText_.size() < kMostOfAKey) keyText_.append(text.substr(0, kMostOfAKey));
}

void TextCheck::CheckKey() {
  if (!hasKey_) return;
  const auto earlier = keys_->Add(key_, record_);
  if (!earlier) return;
  const bool isName = role_ == TextRole::kOuterLayer;
  ReportRefusal(DefectKind::kDuplicateKey, keyOffset_, keyField_,
                fmt::format("the {} {} is also that of record {}",
                            isName ? "collection name" : "key", Quoted(keyText_), *earlier),
                {RestoreReport(error_number::kKeyInUse, restore_line::kAddRecord)});
}

}  // namespace brindlex::cli
