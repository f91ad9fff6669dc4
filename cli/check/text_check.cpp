#include "cli/check/text_check.h"

#include <fmt/format.h>

#include <algorithm>

#include "automation/text.h"
#include "cli/format/name_tables.h"
#include "cli/text/escape.h"
#include "cli/text/utf.h"

namespace brindlex::tool {
namespace {

/// A header whose end is missing can be a whole file; no more of it is kept.
constexpr std::size_t kMostNames = 20'000;
constexpr std::size_t kMostOfAName = 256;
constexpr std::size_t kMostOfAKey = 200;

bool IsBreaks(std::string_view bytes) {
  return bytes.find_first_not_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

std::string InHexadecimal(std::string_view bytes) {
  std::string digits;
  for (const char byte : bytes) {
    digits += fmt::format("{}{:02X}", digits.empty() ? "" : " ", static_cast<unsigned char>(byte));
  }
  return digits;
}

std::string Counted(std::uint64_t count, std::string_view what) {
  return fmt::format("{} {}{}", count, what, count == 1 ? "" : "s");
}

}  // namespace

TextCheck::TextCheck(const Encoding& encoding, const ByteMarkers& markers, TextRole role,
                     DefectSink& sink, KeyCheck* keys, FieldListener* listener)
    : encoding_(encoding),
      role_(role),
      sink_(sink),
      keys_(keys),
      listener_(listener),
      walk_(markers),
      characters_(encoding),
      decoder_(encoding) {
  const auto isPlain = [](const std::string& marker) {
    return marker.size() == 1 && marker != "\r" && marker != "\n";
  };
  canSkim_ = isPlain(markers.fieldEnd) && isPlain(markers.recordEnd) && listener == nullptr;
  sound_.fieldEnd = markers.fieldEnd.front();
  sound_.recordEnd = markers.recordEnd.front();
  const bool isPage = encoding.GetForm() == Encoding::Form::kCodePage;
  for (unsigned byte = 0x80; byte < 0x100; ++byte) {
    sound_.mayHold[byte] = isPage && encoding.HasCharacter(static_cast<unsigned char>(byte));
  }
}

void TextCheck::Begin(std::uint64_t at, std::uint64_t collection,
                      const std::optional<std::string>& keyName) {
  collection_ = collection;
  keyName_ = keyName;
  record_ = 0;
  expected_ = 0;
  names_.clear();
  keyColumns_.clear();
  walk_.Restart(at);
  BeginRecord(at);
  if (keys_ != nullptr) keys_->Begin(collection);
}

void TextCheck::BeginRecord(std::uint64_t at) {
  recordAt_ = at;
  fieldAt_ = at;
  fields_ = 0;
  rest_ = Rest::kNothing;
  isAtStart_ = true;
  hasKey_ = false;
  isInKey_ = false;
}

// ---- Walking -----------------------------------------------------------------------------------

void TextCheck::StopAt(const ByteMarkers& around) {
  for (const std::string& marker : {around.fieldEnd, around.recordEnd}) {
    const auto byte = static_cast<unsigned char>(marker.front());
    // Below 128 no byte is looked at for itself.
    canPassOver_ = canPassOver_ && marker.size() == 1 && byte >= 0x80;
    sound_.mayHold[byte] = false;
  }
}

std::size_t TextCheck::PassOver(std::string_view piece, std::uint64_t at) {
  const bool mayBeSound = canSkim_ && canPassOver_ && isAtStart_ && expected_ > 0;
  if (!mayBeSound || !keyColumns_.empty()) return 0;
  const Skimmed skimmed = Skim(piece, sound_);
  if (skimmed.bytes == 0) return 0;
  record_ += skimmed.records;
  walk_.RestartBehindRecordEnd(at + skimmed.bytes);
  BeginRecord(at + skimmed.bytes);
  return skimmed.bytes;
}

std::size_t TextCheck::BeforeNextPassOver(std::string_view piece) const {
  if (!canSkim_) return piece.size();
  const std::size_t end = piece.find(sound_.recordEnd);
  return end == std::string_view::npos ? piece.size() : end + 1;
}

void TextCheck::Feed(std::string_view piece, std::uint64_t at) {
  while (!piece.empty()) {
    std::size_t passed = PassOver(piece, at);
    if (passed == 0 && listener_ != nullptr && rest_ == Rest::kText && !walk_.IsHolding()) {
      passed = listener_->PassOver(piece, at);
      if (passed > 0) walk_.RestartWithin(at + passed);
    }
    if (passed == 0) {
      // One record, so that the next one may be passed over again.
      passed =
          listener_ != nullptr ? listener_->BeforeNextPassOver(piece) : BeforeNextPassOver(piece);
      isAtStart_ = false;
      walk_.Feed(piece.substr(0, passed), *this);
    }
    piece.remove_prefix(passed);
    at += passed;
  }
}

void TextCheck::FieldPiece(std::string_view bytes, std::uint64_t at) {
  isAtStart_ = false;
  if (rest_ == Rest::kNothing) rest_ = Rest::kBreaks;
  if (rest_ == Rest::kBreaks && !IsBreaks(bytes)) rest_ = Rest::kText;
  if (IsHeader()) {
    const std::size_t room = kMostOfAName - std::min(kMostOfAName, nameBytes_.size());
    if (names_.size() < kMostNames) nameBytes_.append(bytes.substr(0, room));
  } else {
    if (listener_ != nullptr && listener_->TakePiece(fields_ + 1, bytes, at)) return;
    if (isInKey_ || !keyColumns_.empty()) TakeKeyPiece(bytes, at);
  }
  CheckCharacters(bytes, at);
}

void TextCheck::LineBreak(std::uint64_t at) {
  recordAt_ = at + walk_.Markers().lineBreak.size();
  fieldAt_ = recordAt_;
}

void TextCheck::FieldEnd(std::uint64_t at) {
  isAtStart_ = false;
  EndCharacters();
  if (IsHeader()) {
    EndName(at);
  } else {
    if (listener_ != nullptr) listener_->TakeFieldEnd(fields_ + 1, at);
    EndKeyField();
  }
  ++fields_;
  fieldAt_ = at + walk_.Markers().fieldEnd.size();
  if (fields_ == expected_) surplusAt_ = fieldAt_;
  rest_ = Rest::kNothing;
}

void TextCheck::RecordEnd(std::uint64_t at) {
  EndCharacters();
  isInKey_ = false;
  if (IsHeader()) {
    EndHeader(at);
  } else {
    if (listener_ != nullptr) listener_->TakeRecordEnd(record_, at);
    CheckRecord(at);
    CheckKey();
  }
  ++record_;
  BeginRecord(at + walk_.Markers().recordEnd.size());
}

void TextCheck::Finish(std::uint64_t end) {
  walk_.Finish(*this);
  EndCharacters();
  isInKey_ = false;
  if (!IsHeader() && listener_ != nullptr && (fields_ > 0 || rest_ != Rest::kNothing)) {
    listener_->TakeRecordEnd(record_, end);
  }
  FinishRest(end);
}

// ---- What is wrong -----------------------------------------------------------------------------

std::string TextCheck::Whole() const {
  switch (role_) {
    case TextRole::kBlocks:
      return "the whole text with all its collections";
    case TextRole::kCollection:
      return "this collection";
    case TextRole::kAlone:
      break;
  }
  return "the whole text";
}

void TextCheck::Tell(DefectKind kind, std::uint64_t at, std::uint64_t field, std::string what,
                     std::string does) {
  sink_.Take({kind, at, record_, field, collection_, std::move(what), std::move(does)});
}

void TextCheck::CheckCharacters(std::string_view bytes, std::uint64_t at) {
  characters_.Feed(bytes, at, [&](std::uint64_t badAt, std::string_view bad) {
    const std::string& name = encoding_.Name();
    const std::string digits = InHexadecimal(bad);
    switch (encoding_.GetForm()) {
      case Encoding::Form::kCodePage:
        return Tell(
            DefectKind::kCharacter, badAt, fields_ + 1,
            "the byte " + digits + " is no character of " + name,
            "the component gets what Windows makes up for it, a control or private character");
      case Encoding::Form::kUtf8:
        return Tell(DefectKind::kCharacter, badAt, fields_ + 1,
                    "the bytes " + digits + " are no character of utf-8",
                    "the component gets what the program that reads the file puts in their place");
      default:
        return Tell(DefectKind::kCharacter, badAt, fields_ + 1,
                    "the bytes " + digits + " are half a character of " + name,
                    "the component passes on such a half as it is");
    }
  });
}

void TextCheck::EndCharacters() {
  // A field that ends within a character: what is left is told as if other bytes followed.
  characters_.Finish([&](std::uint64_t at, std::string_view bad) {
    Tell(DefectKind::kCharacter, at, fields_ + 1,
         "the bytes " + InHexadecimal(bad) + " are a part of a character of " + encoding_.Name(),
         "the component gets what the program that reads the file puts in their place");
  });
}

void TextCheck::EndName(std::uint64_t) {
  if (names_.size() < kMostNames) {
    Name name{{}, fieldAt_};
    // Where a character is missing, that is told already.
    encoding_.ToUtf8(nameBytes_, name.utf8);
    names_.push_back(std::move(name));
  }
  nameBytes_.clear();
}

void TextCheck::CheckNames() {
  FoldedNameMap<std::uint64_t> seen;
  for (std::size_t column = 0; column < names_.size(); ++column) {
    const auto& [utf8, at] = names_[column];
    const std::uint64_t field = column + 1;
    if (utf8.find_first_not_of(" \t") == std::string::npos) {
      Tell(DefectKind::kBlankName, at, field, "a blank name in the header",
           "the component skips the column");
      continue;
    }
    if (utf8.front() == '\r' || utf8.front() == '\n') {
      Tell(DefectKind::kBreakInName, at, field,
           "the name " + Quoted(utf8) + " begins with a line break",
           "the component takes it for a part of the name and skips the column");
    }
    const auto [first, isNew] = seen.emplace(Utf16OfUtf8(utf8), field);
    if (isNew) continue;
    Tell(DefectKind::kDuplicateName, at, field,
         fmt::format("the name {} is also that of field {}", Quoted(utf8), first->second),
         "the component sets the property from both, so that the later column wins, and its "
         "FieldNamesCollection raises error 457");
  }
}

void TextCheck::EndHeader(std::uint64_t at) {
  if (fields_ == 0) {
    Tell(DefectKind::kNoFieldEnd, recordAt_, 0, "the header has no field end",
         "the component returns no collection, without a report");
  } else if (rest_ != Rest::kNothing) {
    Tell(DefectKind::kTextBehindFieldEnd, fieldAt_, fields_ + 1,
         "text behind the last field end of the header", "the component drops it without a report");
  }
  nameBytes_.clear();
  CheckNames();
  expected_ = fields_;
  surplusAt_ = at;
  sound_.fields = expected_;
  if (keys_ == nullptr || !keyName_) return;
  for (std::size_t column = 0; column < names_.size(); ++column) {
    if (names_[column].utf8 == *keyName_) keyColumns_.push_back(column + 1);
  }
}

void TextCheck::CheckRecord(std::uint64_t at) {
  // Below a header without fields the component reads no record.
  if (expected_ == 0) return;
  if (fields_ == 0) {
    Tell(DefectKind::kNoFieldEnd, recordAt_, 0,
         rest_ == Rest::kNothing ? "an empty record" : "a record without a field end",
         "the component refuses " + Whole() +
             ": \"Application Error\", number 5, in SplitString, then \"Error ADTC\", number 9, "
             "line 6");
    return;
  }
  if (fields_ != expected_) {
    const bool isSurplus = fields_ > expected_;
    Tell(DefectKind::kFieldCount, isSurplus ? surplusAt_ : at,
         (isSurplus ? expected_ : fields_) + 1,
         Counted(fields_, "field") + fmt::format(" where the header has {}", expected_),
         "the component refuses " + Whole() +
             fmt::format(
                 ": \"Error ADTC\", \"Fields in record don't match field list, record number "
                 "{}\"",
                 record_));
  }
  if (rest_ == Rest::kNothing) return;
  Tell(DefectKind::kTextBehindFieldEnd, fieldAt_, fields_ + 1, "text behind the last field end",
       "the component drops it without a report");
}

void TextCheck::FinishRest(std::uint64_t end) {
  if (IsHeader()) {
    // An empty text is an empty collection.
    if (fields_ == 0 && rest_ == Rest::kNothing) return;
    Tell(DefectKind::kNoRecordEnd, end, 0, "there is no record end in the text",
         "the component refuses " + Whole() +
             ": \"Application Error\", number 5, in SplitString, then \"Error ADTC\", number 9, "
             "line 4");
    return;
  }
  if (fields_ > 0 || rest_ == Rest::kText) {
    Tell(DefectKind::kNoRecordEnd, recordAt_, 0, "the last record has no record end",
         "the component drops it without a report");
  } else if (record_ == 1 && expected_ > 0) {
    Tell(DefectKind::kNoRecords, end, 0, "a header without records",
         "the component returns no collection, without a report");
  }
}

// ---- Keys --------------------------------------------------------------------------------------

void TextCheck::TakeKeyPiece(std::string_view bytes, std::uint64_t at) {
  if (!isInKey_) {
    // The first value that is not empty is the key.
    if (hasKey_ || !std::binary_search(keyColumns_.begin(), keyColumns_.end(), fields_ + 1)) return;
    isInKey_ = true;
    key_ = {};
    keyText_.clear();
    keyAt_ = at;
    keyField_ = fields_ + 1;
    decoder_.Restart();
  }
  std::string text;
  std::uint64_t badAt = 0;
  if (!decoder_.Feed(bytes, at, text, badAt)) {
    // The bytes from there on, each by itself; what they should have been cannot be known.
    decoder_.Restart();
    if (badAt >= at) text.append(bytes.substr(static_cast<std::size_t>(badAt - at)));
  }
  key_.MixUtf8(text);
  if (keyText_.size() < kMostOfAKey) keyText_.append(text.substr(0, kMostOfAKey));
}

void TextCheck::EndKeyField() {
  if (!isInKey_) return;
  isInKey_ = false;
  hasKey_ = true;
}

void TextCheck::CheckKey() {
  if (!hasKey_) return;
  const auto earlier = keys_->Add(key_, record_);
  if (!earlier) return;
  const bool isBlock = role_ == TextRole::kBlocks;
  Tell(DefectKind::kDuplicateKey, keyAt_, keyField_,
       fmt::format("the {} {} is also that of record {}", isBlock ? "block name" : "key",
                   Quoted(keyText_), *earlier),
       "the component refuses " + Whole() + ": \"Error ADTC\", number 457, line 8");
}

}  // namespace brindlex::tool
