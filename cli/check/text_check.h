#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/check/defects.h"
#include "cli/check/key_check.h"
#include "cli/format/tokenizer.h"
#include "cli/format/validator.h"
#include "cli/text/encoding.h"

namespace brindlex::cli {

/// Which text is checked, for the defects that depend on it.
enum class TextRole {
  kSingle,
  /// The outer layer of a file of several collections, and the text of one of them.
  kOuterLayer,
  kCollection,
};

/// Finds every defect of one text in one layer, in one pass over its tokens and in bounded memory.
/// Valid records are skipped wherever nothing else has to be known about them.
class TextCheck {
 public:
  /// `keys`, which may be null, must outlive it. `around` are the markers of the
  /// layer in which the text is a value.
  TextCheck(const Encoding& encoding, const ByteMarkers& markers, TextRole role,
            DefectHandler handler, KeyCheck* keys,
            const std::optional<ByteMarkers>& around = std::nullopt);
  TextCheck(const TextCheck&) = delete;
  TextCheck& operator=(const TextCheck&) = delete;

  /// A text begins at `offset`, that of the collection of that number, or 0. Keys are the values of
  /// the columns that are called exactly `keyName`, as the component takes them.
  void Begin(std::uint64_t offset, std::uint64_t collection,
             const std::optional<std::string>& keyName);

  /// If a record starts at the next token: passes `tokenizer` over the valid records that come
  /// next.
  void SkipValidRecords(Tokenizer& tokenizer);

  /// The next token of the text; kEnd ends it.
  void Take(const Token& token);

  /// Part of a field that something else has checked.
  void TakeChecked(std::uint64_t length);

  /// The records so far, without the header, and the names in the header.
  std::uint64_t Records() const { return record_ == 0 ? 0 : record_ - 1; }
  std::uint64_t Fields() const { return expected_; }
  bool HasKeyColumn() const { return !keyColumns_.empty(); }

  /// The record and field (from 0) that the next token belongs to, and whether that starts there.
  std::uint64_t Record() const { return record_; }
  std::uint64_t Field() const { return fields_; }
  bool IsAtFieldStart() const { return rest_ == Rest::kNothing; }

  /// After kEnd: what follows the last record end and is no record; shorter than 1 for nothing.
  const Extent& Tail() const { return tail_; }

 private:
  /// One name of the header.
  struct Name {
    std::string utf8;
    std::uint64_t offset = 0;
  };
  /// What follows the last field end.
  enum class Rest { kNothing, kTail, kText };

  bool IsHeader() const { return record_ == 0; }
  void BeginRecord(std::uint64_t offset);
  void TakeBytes(std::string_view bytes, std::uint64_t offset);
  void EndField(std::uint64_t offset);
  void EndRecord(std::uint64_t offset);
  void EndText(std::uint64_t offset);
  void CheckCharacters(std::string_view bytes, std::uint64_t offset);
  void EndName();
  void EndHeader(std::uint64_t offset);
  void CheckNames();
  void CheckName(const Name& name, std::uint64_t field);
  void CheckRecord(std::uint64_t offset);
  void TakeKey(std::string_view bytes, std::uint64_t offset);
  void CheckKey();
  void ReportEmptyRecord();
  void ReportFieldCount(std::uint64_t offset);
  void Report(DefectKind kind, std::uint64_t offset, std::uint64_t field, std::string what,
              std::string does);
  void ReportRefusal(DefectKind kind, std::uint64_t offset, std::uint64_t field, std::string what,
                     std::vector<PredictedReport> reports);

  Encoding encoding_;
  ByteMarkers markers_;
  TextRole role_;
  DefectHandler handler_;
  KeyCheck* keys_;
  RecordShape shape_;
  bool canSkip_;

  std::uint64_t collection_ = 0;
  std::optional<std::string> keyName_;
  /// 0 in the header; else the number of the present record.
  std::uint64_t record_ = 0;
  std::uint64_t recordOffset_ = 0;
  bool isAtRecordStart_ = false;
  /// Field ends of the present record.
  std::uint64_t fields_ = 0;
  std::uint64_t fieldOffset_ = 0;
  Rest rest_ = Rest::kNothing;
  std::uint64_t surplusOffset_ = 0;
  Extent tail_;

  std::uint64_t expected_ = 0;
  std::vector<Name> names_;
  std::string nameBytes_;

  /// Counted from 0.
  std::vector<std::uint64_t> keyColumns_;
  bool hasKey_ = false;
  bool isInKey_ = false;
  KeyHash key_;
  std::uint64_t keyOffset_ = 0;
  std::uint64_t keyField_ = 0;
  std::string keyText_;
};

}  // namespace brindlex::cli
