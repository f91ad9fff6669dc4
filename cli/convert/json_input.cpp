#include "cli/convert/json_input.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/convert/json_parser.h"
#include "cli/format/name_tables.h"
#include "cli/io/failure.h"
#include "cli/text/escape.h"

namespace brindlex::cli {
namespace {

/// The members of an object that carries the form of a file.
constexpr std::string_view kFormat = "format";
constexpr std::string_view kRecords = "records";

/// What is kept of a row whose values come in another order than the names of the header.
constexpr std::size_t kMostKept = std::size_t{16} * 1024 * 1024;

/// Makes rows of the parser's events.
class TableReader : public JsonHandler {
 public:
  TableReader(const ReadAt& source, const JsonStyle& style, const WriterMaker& makeWriter)
      : source_(source), style_(style), makeWriter_(makeWriter), parser_(source, *this) {}

  void Read() {
    while (parser_.HasMore()) {
      if (writer_ != nullptr && within_ != Within::kLines) {
        throw ConversionError("byte " + std::to_string(parser_.Offset()) +
                              ": something follows the end of the JSON");
      }
      try {
        parser_.ParseValue();
      } catch (const RefusedValue& refused) {
        throw ConversionError(refused.At(Place()));
      }
    }
    if (writer_ == nullptr) BeginCollection({}, Within::kLines);
    if (within_ == Within::kLines) writer_->EndCollection();
  }

  void Null() override {
    if (!style_.null && within_ != Within::kScan) {
      Fail("a null, which has no text; --null TEXT gives it one");
    }
    Text(style_.null.value_or(std::string()), true, true);
  }
  void Flag(bool value) override { Text(value ? "True" : "False", true, true); }
  void Number(std::string_view text) override { Text(text == "-0" ? "0" : text, true, true); }

  void StartObject() override {
    objectOffset_ = parser_.Offset() - 1;
    switch (within_) {
      case Within::kNothing:
        within_ = Within::kObject;
        return;
      case Within::kObject:
        if (name_ != kFormat) FailObject();
        form_.emplace();
        within_ = Within::kForm;
        return;
      case Within::kWrapped:
        return BeginNamed();
      case Within::kLines:
      case Within::kRows:
        return BeginRow(/*byName=*/true);
      case Within::kScanStart:
        within_ = Within::kScan;
        return;
      default:
        FailObject();
    }
  }

  void Key(std::string_view name) override {
    if (within_ == Within::kWrapped && (writer_ != nullptr || name != kRecords)) {
      Fail("something other than the records after a format");
    }
    if (within_ == Within::kScan) {
      AddName(name);
    } else if (within_ == Within::kRow) {
      FindName(name);
    } else {
      name_ = name;
    }
  }

  void EndObject() override {
    switch (within_) {
      case Within::kObject:
        // Nothing is in it: no collection at all.
        BeginNamed();
        within_ = Within::kNothing;
        return;
      case Within::kNamed:
        within_ = form_ ? Within::kWrapped : Within::kNothing;
        return;
      case Within::kForm:
        within_ = Within::kWrapped;
        return;
      case Within::kWrapped:
        if (writer_ == nullptr) Fail("a format without records");
        within_ = Within::kNothing;
        return;
      case Within::kScan:
        return;
      default:
        EndRow();
    }
  }

  void StartArray() override {
    switch (within_) {
      case Within::kNothing:
      case Within::kWrapped:
        return BeginCollection({}, Within::kRows);
      case Within::kObject:
        BeginNamed();
        return BeginCollection(name_, Within::kRows);
      case Within::kNamed:
        return BeginCollection(name_, Within::kRows);
      case Within::kRows:
      case Within::kLines:
        return BeginRow(/*byName=*/false);
      default:
        Fail("an array where a value is expected: a value is a text, a number, true or false");
    }
  }

  void EndArray() override {
    if (within_ != Within::kRows) return EndRow();
    writer_->EndCollection();
    within_ = named_ ? Within::kNamed : form_ ? Within::kWrapped : Within::kNothing;
  }

  void Text(std::string_view piece, bool isFirst, bool isLast) override {
    switch (within_) {
      case Within::kScan:
        return;
      case Within::kForm:
        return TakeFormMember(piece, isFirst, isLast);
      case Within::kObject:
        // An object that is not in an array and holds a value is the first of rows without one.
        BeginCollection({}, Within::kLines);
        BeginRow(/*byName=*/true);
        FindName(name_);
        return Value(piece, isFirst, isLast);
      case Within::kRow:
        return headed_ ? Value(piece, isFirst, isLast) : TakeName(piece, isFirst, isLast);
      default:
        Fail("a value where a row or a collection is expected");
    }
  }

  std::string PlaceAt(std::uint64_t offset) const override {
    std::string where = "byte " + std::to_string(offset);
    if (rows_ == 0) return where;
    where += ", row " + std::to_string(rows_);
    if (named_) where += " of " + Quoted(collection_);
    return where;
  }

 private:
  /// What the next event is in.
  enum class Within {
    kNothing,
    /// An object of which it is not known yet whether it is a row or holds named collections.
    kObject,
    kNamed,
    kRows,
    /// Rows without an array around them.
    kLines,
    kRow,
    /// The members of a form, and the object that it is in.
    kForm,
    kWrapped,
    /// The first row, of which only the names are wanted, and the object of which it will be.
    kScan,
    kScanStart,
  };

  [[noreturn]] void FailObject() const {
    if (within_ == Within::kNamed && name_ == kFormat) {
      Fail("the format of a file after its records; it has to come first");
    }
    Fail("an object where a value is expected: a value is a text, a number, true or false");
  }

  [[noreturn]] void Fail(const std::string& what) const {
    throw ConversionError(Place() + ": " + what);
  }

  std::string Place() const {
    return PlaceAt(scan_ != nullptr ? scan_->Offset() : parser_.Offset());
  }

  void MakeWriter() {
    if (writer_ == nullptr) writer_ = &makeWriter_(form_ ? &*form_ : nullptr);
  }

  void BeginNamed() {
    MakeWriter();
    named_ = true;
    within_ = Within::kNamed;
    writer_->BeginNamed();
  }

  void BeginCollection(const std::string& name, Within within) {
    rows_ = 0;
    names_.clear();
    nameBytes_ = 0;
    indices_.clear();
    headed_ = false;
    collection_ = name;
    within_ = within;
    MakeWriter();
    writer_->BeginCollection(name);
  }

  /// A further name; false if it came before.
  void AddName(std::string_view name) {
    nameBytes_ += name.size();
    names_.emplace_back(name);
    if (IsHeaderTooLarge(names_.size(), nameBytes_)) Fail(kHeaderTooLarge);
    if (byName_ && !indices_.emplace(names_.back(), names_.size() - 1).second) {
      Fail(Quoted(name) + " twice in one object");
    }
  }

  /// Takes a piece of a name in a row of names.
  void TakeName(std::string_view piece, bool isFirst, bool isLast) {
    if (isFirst) name_.clear();
    name_ += piece;
    if (IsHeaderTooLarge(names_.size(), nameBytes_ + name_.size())) Fail(kHeaderTooLarge);
    if (isLast) AddName(name_);
  }

  /// Reads the names of the row that has begun, whose values may be of any length.
  void ScanNames() {
    within_ = Within::kScanStart;
    JsonParser scan(source_, *this, objectOffset_);
    scan_ = &scan;
    scan.ParseValue();
    scan_ = nullptr;
    within_ = Within::kRow;
  }

  void TakeHeader() {
    if (names_.empty()) Fail("the first row has no names");
    headed_ = true;
    values_.resize(names_.size());
    writer_->Header(names_, 0);
  }

  void BeginRow(bool byName) {
    if (rows_ > 0 && byName != byName_) Fail("objects and arrays as rows of one collection");
    byName_ = byName;
    ++rows_;
    outer_ = within_;
    within_ = Within::kRow;
    if (!headed_ && !byName) return;
    if (!headed_) {
      ScanNames();
      TakeHeader();
    }
    next_ = 0;
    written_ = 0;
    keptBytes_ = 0;
    isKept_.assign(names_.size(), false);
    writer_->BeginRow();
  }

  /// Finds the column of the value that comes next, in a row with names.
  void FindName(std::string_view name) {
    // The usual order needs no look-up.
    if (next_ >= names_.size() || names_[next_] != name) {
      const auto found = indices_.find(std::string(name));
      if (found == indices_.end()) Fail(Quoted(name) + ", which the first row does not have");
      next_ = found->second;
    }
    if (next_ < written_ || isKept_[next_]) Fail(Quoted(name) + " twice in one object");
  }

  void Value(std::string_view piece, bool isFirst, bool isLast) {
    if (next_ >= names_.size()) {
      Fail("more than " + std::to_string(names_.size()) +
           " values, which is what the first row has");
    }
    if (next_ == written_) {
      writer_->Value(piece, isFirst, isLast);
      if (isLast) WriteKept();
    } else {
      Keep(piece, isFirst, isLast);
    }
    if (isLast) ++next_;
  }

  /// Writes the values that came before the one that is written, and follow it.
  void WriteKept() {
    for (++written_; written_ < isKept_.size() && isKept_[written_]; ++written_) {
      writer_->Value(values_[written_], /*isFirst=*/true, /*isLast=*/true);
    }
  }

  void Keep(std::string_view piece, bool isFirst, bool isLast) {
    keptBytes_ += piece.size();
    if (keptBytes_ > kMostKept) {
      Fail(
          "more than 16 MB of values in another order than in the first row, which would take more "
          "memory than the program allows itself");
    }
    std::string& value = values_[next_];
    if (isFirst) value.clear();
    value += piece;
    if (isLast) isKept_[next_] = true;
  }

  void EndRow() {
    within_ = outer_;
    if (!headed_) return TakeHeader();
    if (written_ < names_.size()) Fail("lacks the value of " + Quoted(names_[written_]));
    writer_->EndRow();
  }

  void TakeFormMember(std::string_view piece, bool isFirst, bool isLast) {
    constexpr std::size_t kMost = std::size_t{1024} * 1024;
    if (isFirst) formValue_.clear();
    formValue_ += piece;
    if (formValue_.size() > kMost) Fail("a format of more than 1 MB");
    if (isLast) SetFormMember(*form_, name_, formValue_);
  }

  const ReadAt& source_;
  const JsonStyle& style_;
  const WriterMaker& makeWriter_;
  TableWriter* writer_ = nullptr;
  JsonParser parser_;
  /// The parser of the first row's names, while it runs.
  const JsonParser* scan_ = nullptr;
  std::optional<DelimitedForm> form_;
  std::string formValue_;
  Within within_ = Within::kNothing;
  Within outer_ = Within::kNothing;
  bool named_ = false;
  /// The last key outside rows, and the collection that is being read.
  std::string name_;
  std::string collection_;
  std::uint64_t rows_ = 0;
  /// Where the last object starts.
  std::uint64_t objectOffset_ = 0;
  /// Whether the names are known, and whether the rows are objects.
  bool headed_ = false;
  bool byName_ = false;
  std::vector<std::string> names_;
  std::size_t nameBytes_ = 0;
  NameMap<std::size_t> indices_;
  // The present row: the column of the next value, how many values are written, and which of the
  // others came already.
  std::size_t next_ = 0;
  std::size_t written_ = 0;
  std::vector<std::string> values_;
  std::vector<bool> isKept_;
  std::size_t keptBytes_ = 0;
};

}  // namespace

void ReadJson(const ReadAt& source, const JsonStyle& style, const WriterMaker& makeWriter) {
  TableReader(source, style, makeWriter).Read();
}

}  // namespace brindlex::cli
