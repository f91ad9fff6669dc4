#include "cli/check/file_check.h"

#include <algorithm>

#include "cli/check/key_check.h"
#include "cli/check/text_check.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

void CheckTokens(Tokenizer& tokenizer, TextCheck& check) {
  Token token;
  do {
    check.SkipValidRecords(tokenizer);
    token = tokenizer.Next();
    check.Take(token);
  } while (token.kind != Token::Kind::kEnd);
}

/// One pass over a file.
class Pass {
 public:
  Pass(Input& input, const FileFormat& format, const std::optional<std::string>& keyName,
       const DefectHandler& handler, bool isFirst)
      : format_(format),
        keyName_(keyName),
        // Of further passes duplicate keys alone are news.
        handler_([&handler, isFirst](const Defect& defect) {
          if (isFirst || defect.kind == DefectKind::kDuplicateKey) handler(defect);
        }),
        progress_(isFirst ? "checking" : "comparing keys", input.Size()),
        window_(input, format.Text(), &progress_),
        tokenizer_(window_, format.encoding, format.markers) {}

  CheckedFile RunSingle(KeyCheck& keys) {
    TextCheck check(format_.encoding, format_.markers, TextRole::kSingle, handler_, &keys);
    check.Begin(format_.markBytes, 0, keyName_);
    CheckTokens(tokenizer_, check);
    ReportNoKeyColumn(check.HasKeyColumn());
    return {check.Records(), 0, check.Tail()};
  }

  CheckedFile RunNamed(KeyCheck& names, KeyCheck& keys) {
    TextCheck inner(format_.encoding, *format_.inner, TextRole::kCollection, handler_, &keys,
                    format_.markers);
    TextCheck outer(format_.encoding, format_.markers, TextRole::kOuterLayer, handler_, &names);
    ReportSpelling();
    outer.Begin(format_.markBytes, 0, std::string(kNameColumn));
    CheckedFile checked;
    bool hasKeyColumn = false;
    Token token;
    do {
      outer.SkipValidRecords(tokenizer_);
      const bool isRecord = outer.Record() > 0 && outer.IsAtFieldStart();
      if (isRecord && outer.Field() == format_.named->data && CheckCollection(outer, inner)) {
        checked.records += inner.Records();
        hasKeyColumn = hasKeyColumn || inner.HasKeyColumn();
      }
      token = tokenizer_.Next();
      if (isRecord && outer.Field() == format_.named->name) CheckName(outer, token);
      outer.Take(token);
    } while (token.kind != Token::Kind::kEnd);
    ReportNoKeyColumn(hasKeyColumn);
    checked.collections = outer.Records();
    checked.tail = outer.Tail();
    return checked;
  }

 private:
  /// Checks the text of a collection, at which the tokenizer is; false if it has none.
  bool CheckCollection(TextCheck& outer, TextCheck& inner) {
    const std::uint64_t begin = tokenizer_.Offset();
    tokenizer_.Yield();
    Tokenizer tokenizer(window_, format_.encoding, *format_.inner, format_.markers);
    const Token first = tokenizer.Next();
    bool isText = first.kind != Token::Kind::kEnd;
    if (!isText) {
      // A tail of the file is no text of a collection.
      tokenizer.Yield();
      tokenizer_.Resume();
      const bool isField = tokenizer_.Ahead().starts_with(format_.markers.fieldEnd);
      isText = !first.bytes.empty() && (isField || !IsTail(first.bytes));
    }
    if (!isText) return false;
    inner.Begin(begin, outer.Record(), keyName_);
    inner.Take(first);
    if (first.kind != Token::Kind::kEnd) {
      CheckTokens(tokenizer, inner);
      tokenizer.Yield();
      tokenizer_.Resume();
    }
    outer.TakeChecked(tokenizer_.Offset() - begin);
    return true;
  }

  void CheckName(const TextCheck& outer, const Token& token) {
    if (token.kind != Token::Kind::kField || !token.bytes.empty()) return;
    handler_({DefectKind::kBlankCollectionName, token.offset, outer.Record(), outer.Field() + 1, 0,
              "a collection without a name", "the component never finds it again"});
  }

  void ReportSpelling() {
    if (format_.named->isNameExact) return;
    handler_(
        {DefectKind::kCollectionNameSpelling, format_.markBytes, 0, format_.named->name + 1, 0,
         "the header does not spell its column exactly Name",
         "the component finds no collection by its name, and stores a second one in its place"});
  }

  void ReportNoKeyColumn(bool hasKeyColumn) {
    if (!keyName_ || hasKeyColumn) return;
    handler_({DefectKind::kNoKeyColumn, format_.markBytes, 0, 0, 0,
              "no column is called exactly " + Quoted(*keyName_),
              "the component adds every record without a key"});
  }

  const FileFormat& format_;
  const std::optional<std::string>& keyName_;
  DefectHandler handler_;
  Progress progress_;
  InputWindow window_;
  Tokenizer tokenizer_;
};

}  // namespace

CheckedFile CheckFile(Input& input, const FileFormat& format,
                      const std::optional<std::string>& keyName, const DefectHandler& handler,
                      std::size_t keySlots) {
  // Collections are fewer than records.
  KeyCheck names(std::max<std::size_t>(keySlots / 16, 8));
  KeyCheck keys(keySlots);
  const auto run = [&](bool isFirst) {
    Pass pass(input, format, keyName, handler, isFirst);
    return format.named ? pass.RunNamed(names, keys) : pass.RunSingle(keys);
  };
  const CheckedFile checked = run(true);
  while (names.NeedsPass() || keys.NeedsPass()) {
    names.NextPass();
    keys.NextPass();
    run(false);
  }
  return checked;
}

}  // namespace brindlex::cli
